#pragma once

#include <GL/gl.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include <string>

namespace Kelo::Support {

// The colour path and storage back-end a CTest entry expects, from the
// environment that entry sets beside its Mesa overrides.
enum class ColorPath { Unknown, Shader, ARBShader, ARBProgram, TextureCombine };
ColorPath ExpectedColorPath();
// "vbo", "ram", or empty when the entry does not say.
std::string ExpectedStorage();
// 1 or 0 when the entry says whether non-power-of-two textures exist, else -1.
int ExpectedNonPowerOfTwo();

// One SDL offscreen window with a current GL context on Mesa's llvmpipe,
// shared by every test of a suite. Each test must leave no GL error behind
// unless it declares that the operation under test leaves one.
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

// Asks SDL for the framebuffer the device expects: one stencil bit and
// 2x multisampling, as any host must before creating its window.
void RequestDeviceFramebuffer();

// Clears every pending GL error. Start-up leaves one on purpose: Mesa refuses
// the Apple-only transform hint.
void DrainGLErrors();

}  // namespace Kelo::Support
