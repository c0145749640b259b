#include <SDL.h>
#include <gtest/gtest.h>

#include "tests/support/gl_fixture.h"
#include "tests/support/pixels.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

// A host that keeps a texture's handle past ReleaseDevice may still release it; the texture the
// next context made under the same OpenGL name is not its to delete.
TEST(KeptHandles, ATextureReleasedAfterItsContextLeavesTheNextContextsTexturesAlone) {
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
  Support::RequestDeviceFramebuffer();
  SDL_Window* window = SDL_CreateWindow("kelo", 0, 0, 32, 32, SDL_WINDOW_OPENGL);
  ASSERT_NE(window, nullptr) << SDL_GetError();
  IOpenGL device;
  ASSERT_TRUE(device.Init());
  device.displayId = 1;
  const DisplayMode windowed{32, 32, 32, true, 60};
  unsigned long kept = 0, next = 0;
  ASSERT_TRUE(device.SetDisplayMode(window, windowed, false) &&
              device.CreateTexture(kept, IMAGE_RGBA8888, Support::kCheckerTexels, 2, 2));
  device.ReleaseDevice(0);
  ASSERT_TRUE(device.SetDisplayMode(window, windowed, false) &&
              device.CreateTexture(next, IMAGE_RGBA8888, Support::kCheckerTexels, 2, 1));
  EXPECT_TRUE(device.ReleaseTexture(kept));
  EXPECT_EQ(device.GetWidthTexture(next), 2);
  device.ReleaseTexture(next);
  device.ReleaseDevice(0);
  SDL_DestroyWindow(window);
}

}  // namespace
}  // namespace Kelo
