#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "kelo/colors.h"
#include "tests/support/enumerated.h"
#include "tests/support/gl_fixture.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

// The whole output as the compositor shows it, from grim: width, height and RGB rows top down.
struct Screenshot {
  int width = 0, height = 0;
  std::vector<unsigned char> rgb;
  std::array<int, 3> At(int x, int y) const {
    const unsigned char* pixel = &rgb[(static_cast<std::size_t>(y) * width + x) * 3];
    return {pixel[0], pixel[1], pixel[2]};
  }
};

Screenshot TakeScreenshot() {
  Screenshot shot;
  FILE* grim = popen("grim -t ppm -", "r");
  int depth = 0;
  if (std::fscanf(grim, "P6 %d %d %d", &shot.width, &shot.height, &depth) == 3 &&
      std::fgetc(grim) != EOF) {
    shot.rgb.resize(static_cast<std::size_t>(shot.width) * shot.height * 3);
    shot.rgb.resize(std::fread(shot.rgb.data(), 1, shot.rgb.size(), grim));
  }
  pclose(grim);
  return shot;
}

// Blue, with the camera's lower left quarter green: a picture that shows its own scale. The
// compositor shows it once it is presented and the events around it handled; every frame is
// drawn anew, since a swap leaves the back buffer undefined.
void ShowQuarter(IOpenGL& device, float width, float height) {
  const Point quarter[] = {{-width / 2, -height / 2}, {0, -height / 2}, {-width / 2, 0}, {0, 0}};
  for (int i = 0; i < 30; ++i, SDL_Delay(20)) {
    device.Clear(BLUE);
    device.SetColor(LIME, 1.0f);
    device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, quarter, nullptr);
    device.EndRender();
    SDL_PumpEvents();
  }
}

// sway's headless output runs at 1024 x 768; SDL emulates smaller modes by scaling the window's
// surface, so the output keeps its own mode and the frame fills it. The window leaves full screen
// once the compositor has shown a frame of the windowed mode.
TEST(Wayland, FullScreenInAnEmulatedModeFillsTheOutput) {
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
  ASSERT_STREQ(SDL_GetCurrentVideoDriver(), "wayland");
  // Mesa stays loaded for the leak checker to name its allocations, as in the GL suite.
  ASSERT_EQ(SDL_GL_LoadLibrary(nullptr), 0) << SDL_GetError();
  Support::RequestDeviceFramebuffer();
  SDL_Window* window = SDL_CreateWindow("kelo", 0, 0, 320, 240, SDL_WINDOW_OPENGL);
  ASSERT_NE(window, nullptr) << SDL_GetError();
  IOpenGL device;
  DeviceDescription display{};
  unsigned long handle = 0;
  std::vector<DisplayMode> modes;
  ASSERT_TRUE(device.Init() && device.GetDefaultDevice(DEV_SUBCLASS_DISPLAY, display) &&
              device.InitDevice(display, handle) &&
              device.EnumerateDisplayModes(display, Support::CollectInto<DisplayMode>, &modes));
  std::printf("[  display ] %s:", display.name);
  for (const DisplayMode& mode : modes)
    std::printf(" %ux%u@%u", mode.width, mode.height, mode.refreshRate);
  std::printf("\n");
  const DisplayMode kEmulated{800, 600, 32, false, 60};
  ASSERT_TRUE(device.SetDisplayMode(window, kEmulated, false));
  ShowQuarter(device, 800, 600);
  EXPECT_TRUE(SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN);
  const Screenshot shot = TakeScreenshot();
  ASSERT_EQ(std::make_pair(shot.width, shot.height), std::make_pair(1024, 768));
  const std::array<int, 3> green{0, 255, 0}, blue{0, 0, 255};
  // Probed clear of the quarter's edge at (512, 384), where scaling blends the two colours.
  const struct {
    int x, y;
    std::array<int, 3> colour;
  } probes[] = {{2, 765, green},  {505, 391, green}, {2, 2, blue},   {519, 391, blue},
                {505, 377, blue}, {1021, 765, blue}, {1021, 2, blue}};
  for (const auto& probe : probes) {
    EXPECT_EQ(shot.At(probe.x, probe.y), probe.colour) << "at " << probe.x << ", " << probe.y;
  }
  ASSERT_TRUE(device.SetDisplayMode(window, {320, 240, 32, true, 60}, false));
  ShowQuarter(device, 320, 240);
  EXPECT_FALSE(SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN);
  device.ReleaseDevice(handle);
  SDL_DestroyWindow(window);
}

}  // namespace
}  // namespace Kelo
