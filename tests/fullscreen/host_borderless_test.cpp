#include <SDL.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/support/gl_fixture.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

// A host's own borderless full screen, taken full screen by the device and then left by a
// windowed mode or by ReleaseDevice, is the host's again.
TEST(HostBorderless, IsTheHostsAgainOnceTheDeviceLeavesItsFullScreen) {
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
  ASSERT_STREQ(SDL_GetCurrentVideoDriver(), "x11");
  Support::RequestDeviceFramebuffer();
  SDL_Window* window = SDL_CreateWindow("kelo", 0, 0, 320, 240, SDL_WINDOW_OPENGL);
  ASSERT_NE(window, nullptr) << SDL_GetError();
  IOpenGL device;
  DeviceDescription display{};
  unsigned long handle = 0;
  ASSERT_TRUE(device.Init() && device.GetDefaultDevice(DEV_SUBCLASS_DISPLAY, display) &&
              device.InitDevice(display, handle));
  const auto flags = [&] { return SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN_DESKTOP; };
  for (bool byWindowedMode : {true, false}) {
    ASSERT_EQ(SDL_SetWindowFullscreen(window, SDL_WINDOW_FULLSCREEN_DESKTOP), 0);
    ASSERT_TRUE(device.SetDisplayMode(window, {800, 600, 32, false, 60}, false));
    EXPECT_EQ(flags(), Uint32{SDL_WINDOW_FULLSCREEN});
    EXPECT_TRUE(byWindowedMode ? device.SetDisplayMode(window, {320, 240, 32, true, 60}, false)
                               : device.ReleaseDevice(handle));
    EXPECT_EQ(flags(), Uint32{SDL_WINDOW_FULLSCREEN_DESKTOP})
        << (byWindowedMode ? "after a windowed mode" : "after ReleaseDevice");
  }
  SDL_DestroyWindow(window);
}

}  // namespace
}  // namespace Kelo
