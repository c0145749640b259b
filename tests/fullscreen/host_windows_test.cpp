#include <SDL.h>
#include <gtest/gtest.h>

#include <utility>

#include "tests/support/xorg_host.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

const DisplayMode kFull{800, 600, 32, false, 60}, kWindowed{320, 240, 32, true, 60};

// A device bound to the X server's display and a window of the host's.
class HostWindows : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Support::StartOnXorg(device));
    window = SDL_CreateWindow("kelo", 0, 0, 320, 240, SDL_WINDOW_OPENGL);
    ASSERT_NE(window, nullptr) << SDL_GetError();
    DeviceDescription display{};
    ASSERT_TRUE(device.GetDefaultDevice(DEV_SUBCLASS_DISPLAY, display) &&
                device.InitDevice(display, handle));
  }
  void TearDown() override {
    device.ReleaseDevice(handle);
    SDL_DestroyWindow(window);
  }
  Uint32 FullScreenFlags() const {
    return SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN_DESKTOP;
  }

  SDL_Window* window = nullptr;
  IOpenGL device;
  unsigned long handle = 0;
};

// The host's own borderless full screen, taken full screen by the device and then left by a
// windowed mode or by ReleaseDevice, is the host's again.
TEST_F(HostWindows, ABorderlessWindowIsTheHostsAgainOnceTheDeviceLeavesItsFullScreen) {
  for (bool byWindowedMode : {true, false}) {
    ASSERT_EQ(SDL_SetWindowFullscreen(window, SDL_WINDOW_FULLSCREEN_DESKTOP), 0);
    ASSERT_TRUE(device.SetDisplayMode(window, kFull, false));
    EXPECT_EQ(FullScreenFlags(), Uint32{SDL_WINDOW_FULLSCREEN});
    EXPECT_TRUE(byWindowedMode ? device.SetDisplayMode(window, kWindowed, false)
                               : device.ReleaseDevice(handle));
    EXPECT_EQ(FullScreenFlags(), Uint32{SDL_WINDOW_FULLSCREEN_DESKTOP})
        << (byWindowedMode ? "after a windowed mode" : "after ReleaseDevice");
  }
}

// A full-screen request through a window that is gone fails and leaves the full screen the device
// has through another window as it was.
TEST_F(HostWindows, AFullScreenRequestThroughADestroyedWindowLeavesTheFullScreenAlone) {
  SDL_Window* gone = SDL_CreateWindow("gone", 0, 0, 320, 240, SDL_WINDOW_OPENGL);
  SDL_DestroyWindow(gone);
  ASSERT_TRUE(device.SetDisplayMode(window, kFull, false));
  EXPECT_FALSE(device.SetDisplayMode(gone, {1024, 768, 32, false, 60}, false));
  SDL_DisplayMode now{};
  SDL_GetCurrentDisplayMode(0, &now);
  EXPECT_EQ(std::make_pair(now.w, now.h), std::make_pair(800, 600));
  EXPECT_EQ(FullScreenFlags(), Uint32{SDL_WINDOW_FULLSCREEN});
}

}  // namespace
}  // namespace Kelo
