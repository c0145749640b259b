#pragma once

#include <GL/gl.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "kelo/colors.h"
#include "shapes/vram.h"
#include "tests/support/log_capture.h"
#include "video/opengl_device.h"

namespace Kelo::Support {

inline std::string Expected(const char* what) {
  const char* value = std::getenv((std::string("KELO_EXPECT_") + what).c_str());
  return value ? value : "";
}
enum class ColorPath { Unknown, Shader, ARBShader, ARBProgram, TextureCombine };
ColorPath ExpectedColorPath();
inline std::string ExpectedStorage() { return Expected("STORAGE"); }
// The Mesa rasteriser the entry runs on: llvmpipe unless it names another.
std::string ExpectedRenderer();

void RequestDeviceFramebuffer();

// Start-up leaves an error on purpose: Mesa refuses Apple's transform hint.
inline void DrainGLErrors() {
  while (glGetError() != GL_NO_ERROR) continue;
}

inline std::vector<GLfloat> State(GLenum name, int count) {
  std::vector<GLfloat> values(static_cast<size_t>(count));
  glGetFloatv(name, values.data());
  return values;
}

// A window with a current GL context on llvmpipe; no test may leave a GL error.
class GLTest : public ::testing::Test {
protected:
  static constexpr int kWidth = 64, kHeight = 64;
  static void SetUpTestSuite();
  static void TearDownTestSuite() {
    if (SDL_GL_GetCurrentContext() == context) SDL_GL_MakeCurrent(window, nullptr);
    SDL_GL_DeleteContext(context);
    SDL_DestroyWindow(window);
  }
  void SetUp() override {
    ASSERT_NE(context, nullptr);
    SDL_GL_MakeCurrent(window, context);
    DrainGLErrors();
  }
  void TearDown() override {
    if (SDL_GL_GetCurrentContext() != context) return;
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    DrainGLErrors();
  }

  static inline SDL_Window* window = nullptr;
  static inline SDL_GLContext context = nullptr;
};

class DeviceTest : public GLTest {
protected:
  // The suite's context stands for one the device made; the device never
  // releases it, since only ReleaseDevice would.
  void SetUp() override {
    GLTest::SetUp();
    device.context = context;
    device.currentMode = {kWidth, kHeight, 32, true, 60};
    device.InitGL(kWidth, kHeight);
    DrainGLErrors();
    if (!VRAMManager) VRAMManager = new OGLVRAM;
    ASSERT_TRUE(VRAMManager->Init());
    device.SetColor(WHITE, 1.0f);
  }
  void TearDown() override {
    for (unsigned long shape : shapes) device.ReleaseShape(shape);
    for (unsigned long texture : textures) device.ReleaseTexture(texture);
    device.ReleaseGL();
    GLTest::TearDown();
  }

  IOpenGL device;
  LogCapture log;
  std::vector<unsigned long> shapes, textures;  // released after the test
};

}  // namespace Kelo::Support
