#pragma once

#include <GL/gl.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

#include "shapes/vram.h"
#include "tests/support/log_capture.h"
#include "video/opengl_device.h"

namespace Kelo::Support {

// What the CTest entry expects beside its Mesa overrides, from its
// KELO_EXPECT_<what> variable; empty when it does not say.
std::string Expected(const char* what);
enum class ColorPath { Unknown, Shader, ARBShader, ARBProgram, TextureCombine };
ColorPath ExpectedColorPath();
// "vbo" or "ram".
inline std::string ExpectedStorage() { return Expected("STORAGE"); }

// One SDL offscreen window with a current GL context on Mesa's llvmpipe,
// shared by every test of a suite. No test may leave a GL error behind.
class GLTest : public ::testing::Test {
public:
  static constexpr int kWidth = 64;
  static constexpr int kHeight = 64;

protected:
  static void SetUpTestSuite();
  static void TearDownTestSuite();
  void SetUp() override;
  void TearDown() override;

  static SDL_Window* window;
  static SDL_GLContext context;
};

// A device started on the suite's context as SetDisplayMode starts it, with
// fresh vertex storage, a white current colour and a black framebuffer; the
// log holds what start-up said.
class DeviceTest : public GLTest {
protected:
  void SetUp() override;
  void TearDown() override;

  IOpenGL device;
  LogCapture log;
  std::vector<unsigned long> shapes, textures;  // released after the test
};

// Asks SDL for the framebuffer the device expects: one stencil bit and
// 2x multisampling, as any host must before creating its window.
void RequestDeviceFramebuffer();

// Clears every pending GL error. Start-up leaves one on purpose: Mesa refuses
// the Apple-only transform hint.
void DrainGLErrors();

// `count` values of a GL state, as GLfloat or GLint.
template <typename T>
std::vector<T> State(GLenum name, int count) {
  std::vector<T> values(static_cast<size_t>(count));
  if constexpr (std::is_same_v<T, GLfloat>) {
    glGetFloatv(name, values.data());
  } else {
    glGetIntegerv(name, values.data());
  }
  return values;
}

}  // namespace Kelo::Support
