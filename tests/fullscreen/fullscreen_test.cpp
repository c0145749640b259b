#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <tuple>
#include <vector>

#include "kelo/colors.h"
#include "tests/support/enumerated.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/pixels.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

// SDL's current mode and the one xrandr marks with '*', its rate rounded as SDL rounds it:
// "WxH@Hz, WxH@Hz".
std::string Screens() {
  SDL_DisplayMode mode{};
  SDL_GetCurrentDisplayMode(0, &mode);
  char screens[128];
  int length = std::snprintf(screens, 64, "%dx%d@%d, ", mode.w, mode.h, mode.refresh_rate);
  FILE* xrandr = popen(
      "xrandr --current | awk '{for (i = 2; i <= NF; i++) if ($i ~ /\\*/) printf \"%s@%.0f\", "
      "$1, $i}'",
      "r");
  length += static_cast<int>(fread(screens + length, 1, sizeof screens - 1 - length, xrandr));
  pclose(xrandr);
  return std::string(screens, static_cast<std::size_t>(length));
}

long ResidentKiB() {
  long pages = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * sysconf(_SC_PAGESIZE) / 1024;
}

// On an X server without a window manager, so the window keeps its size. A switch starts OpenGL
// once by itself; a host's resize reaches the handler each SetDisplayMode installed.
TEST(FullScreen, TakesAndGivesBackEachListedModeAndRefusesOthersInBoundedMemory) {
  constexpr int kWidth = 320, kHeight = 240;
  ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
  ASSERT_STREQ(SDL_GetCurrentVideoDriver(), "x11");
  Support::RequestDeviceFramebuffer();
  SDL_Window* window = SDL_CreateWindow("kelo", 0, 0, kWidth, kHeight, SDL_WINDOW_OPENGL);
  ASSERT_NE(window, nullptr) << SDL_GetError();
  const std::string desktop = Screens();
  IOpenGL device;
  Support::LogCapture log;
  DeviceDescription main{};
  unsigned long handle = 0, texture = 0, shape = 0;
  std::vector<DisplayMode> offered;
  ASSERT_TRUE(device.Init() && device.GetDefaultDevice(DEV_SUBCLASS_DISPLAY, main) &&
              device.InitDevice(main, handle) &&
              device.EnumerateDisplayModes(main, Support::CollectInto<DisplayMode>, &offered));
  const auto set = [&](DisplayMode mode) { return device.SetDisplayMode(window, mode, false); };
  const DisplayMode kWindowed{kWidth, kHeight, 32, true, 60};
  const auto enter = [&](const DisplayMode& mode) {
    ASSERT_TRUE(set(mode)) << mode;
    const std::string screen = std::to_string(mode.width) + "x" + std::to_string(mode.height) +
                               "@" + std::to_string(mode.refreshRate);
    EXPECT_EQ(Screens(), screen + ", " + screen);
    EXPECT_TRUE(SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN);
  };
  const auto expectDesktop = [&](int windowWidth, int windowHeight) {
    int width = 0, height = 0;
    SDL_GetWindowSize(window, &width, &height);
    EXPECT_EQ(std::make_tuple(Screens(), width, height,
                              SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN),
              std::make_tuple(desktop, windowWidth, windowHeight, 0u));
  };
  // The checker on a 200 x 200 quad 60 pixels in and 20 up; start-up leaves the host no error.
  const auto expectPicture = [&](int width, int height) {
    std::vector<GLint> seen{0, 0, 0, 0, static_cast<GLint>(glGetError())};
    glGetIntegerv(GL_VIEWPORT, seen.data());
    EXPECT_EQ(seen, (std::vector<GLint>{0, 0, width, height, GL_NO_ERROR}));
    device.SetWorldTransform({{1, 0, 60 - width / 2.0f, 0, 1, 20 - height / 2.0f}});
    device.SetColor(WHITE, 1.0f);
    device.Clear(BLACK);
    device.BeginTextureBatch(texture);
    device.SelectShape(shape);
    device.DrawShape();
    device.EndTextureBatch();
    const Support::Rgba red{255, 0, 0, 255}, white{255, 255, 255, 255}, black{0, 0, 0, 255};
    EXPECT_PIXEL_NEAR(110, 70, red, 0);
    EXPECT_PIXEL_NEAR(210, 170, white, 0);
    for (auto [x, y] : {std::pair{30, 120}, {290, 120}, {160, 230}})
      EXPECT_PIXEL_NEAR(x, y, black, 0);
  };
  // clang-format off
  const DisplayMode listed[] = {{1280, 720, 32, false, 60}, {800, 600, 32, false, 72},
      {640, 480, 32, false, 60}, {1920, 1080, 32, false, 60}, {1024, 768, 32, false, 60}};
  // clang-format on
  const Point quad[] = {{0, 0}, {200, 0}, {0, 200}, {200, 200}};
  const Point corners[] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
  log.Clear();
  for (int i = 0; i < 90; ++i) ASSERT_TRUE(set(i % 2 ? listed[i / 2 % 5] : kWindowed));
  ASSERT_TRUE(device.CreateTexture(texture, IMAGE_RGBA8888, Support::kCheckerTexels, 2, 2));
  ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1.0f, quad, corners));
  for (const DisplayMode& mode : listed) {
    std::printf("[     mode ] %ux%u@%uHz\n", mode.width, mode.height, mode.refreshRate);
    EXPECT_NE(std::find(offered.begin(), offered.end(), mode), offered.end());
    enter(mode);
    expectPicture(static_cast<int>(mode.width), static_cast<int>(mode.height));
    ASSERT_TRUE(set(kWindowed));
    expectDesktop(kWidth, kHeight);
    expectPicture(kWidth, kHeight);
  }
  device.ReleaseShape(shape);
  device.ReleaseTexture(texture);
  SDL_SetWindowSize(window, 200, 150);
  for (int i = 0; i < 20; ++i, SDL_Delay(10)) SDL_PumpEvents();
  EXPECT_EQ(log.StartUps(), 200) << "one a switch, then one for each of their handlers";
  const auto state = [&] {
    return std::make_tuple(Screens(), SDL_GetWindowFlags(window), SDL_GL_GetCurrentContext(),
                           device.currentMode);
  };
  for (bool fromFullScreen : {false, true}) {
    if (fromFullScreen) enter(listed[1]);
    const auto before = state();
    // clang-format off
    for (const DisplayMode& mode : {DisplayMode{1280, 721, 32, false, 60}, {1280, 720, 16, false, 60},
                                    {1280, 720, 24, false, 60}, {1280, 720, 32, false, 75}}) {
      // clang-format on
      log.Clear();
      EXPECT_FALSE(set(mode));
      char line[64];
      std::snprintf(line, sizeof line, "[kelo-agl] mode %ux%ux%u@%uHz not supported\n", mode.width,
                    mode.height, mode.bitsPerPixel, mode.refreshRate);
      EXPECT_EQ(log.Lines(), std::vector<std::string>{line});
      EXPECT_EQ(state(), before) << mode << (fromFullScreen ? " from full screen" : "");
    }
  }
  // A start-up keeps its colour program (10 KiB); a context left behind costs megabytes a switch.
  std::vector<unsigned char> pixels(64 * 64 * 4, 0x80);
  const long before = ResidentKiB();
  for (unsigned i = 0; i < 10000; ++i) {
    const unsigned smaller = i / 10 % 2;
    ASSERT_TRUE((i % 10 || set({800 - smaller * 160, 600 - smaller * 120, 32, false, 60})) &&
                device.CreateTexture(handle, IMAGE_RGBA8888, pixels.data(), 64, 64) &&
                device.ReleaseTexture(handle));
  }
  EXPECT_LT(ResidentKiB() - before, 64 * 1024);
  device.ReleaseDevice(0);
  expectDesktop(200, 150);
  SDL_DestroyWindow(window);
}

}  // namespace
}  // namespace Kelo
