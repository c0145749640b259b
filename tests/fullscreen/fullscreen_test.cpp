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

// Each connected output as xrandr has it now, with the rate of its mode:
// "DUMMY0 1920x1080+0+0@60, DUMMY1 1024x768+1920+0@85". Once SDL has looked, the server marks
// both modes of one name current.
std::string Outputs() {
  FILE* xrandr = popen(
      "xrandr --current | awk '/ connected/ {name = $1; at = ($3 == \"primary\" ? $4 : $3)} "
      "/^   / {for (i = 2; i <= NF; i++) if ($i ~ /\\*/ && !seen[name]++) printf \"%s%s %s@%.0f\", "
      "(n++ ? \", \" : \"\"), name, at, $i}'",
      "r");
  char outputs[256];
  const std::size_t length = fread(outputs, 1, sizeof outputs, xrandr);
  pclose(xrandr);
  return std::string(outputs, length);
}

long ResidentKiB() {
  long pages = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return resident * sysconf(_SC_PAGESIZE) / 1024;
}

constexpr int kWidth = 320, kHeight = 240;
const Point kQuad[] = {{0, 0}, {200, 0}, {0, 200}, {200, 200}};
const Point kCorners[] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};

// The checker on a 200 x 200 quad 60 pixels in and 20 up; start-up leaves the host no error.
void ExpectChecker(IOpenGL& device, unsigned long texture, unsigned long shape, int width,
                   int height) {
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
}

// A host on the X server: windows with the device's framebuffer, and a device bound to a display.
class XorgHost : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
    ASSERT_STREQ(SDL_GetCurrentVideoDriver(), "x11");
    Support::RequestDeviceFramebuffer();
    ASSERT_TRUE(device.Init() &&
                device.EnumerateDevices(DEV_SUBCLASS_DISPLAY,
                                        Support::CollectInto<DeviceDescription>, &displays));
  }
  void TearDown() override {
    device.ReleaseDevice(0);
    for (SDL_Window* window : windows) SDL_DestroyWindow(window);
  }
  SDL_Window* Window() {
    windows.push_back(SDL_CreateWindow("kelo", 0, 0, kWidth, kHeight, SDL_WINDOW_OPENGL));
    return windows.back();
  }
  static bool FullScreen(SDL_Window* window) {
    return SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN;
  }

  IOpenGL device;
  Support::LogCapture log;
  std::vector<DeviceDescription> displays;
  std::vector<SDL_Window*> windows;
  const DisplayMode kWindowed{kWidth, kHeight, 32, true, 60};
};

// Full screen through one window, then a mode through another: the display returns to the
// desktop through the first, and one window at most is full screen.
TEST_F(XorgHost, OnlyTheWindowTheDeviceMadeFullScreenLeavesIt) {
  unsigned long handle = 0;
  ASSERT_TRUE(device.InitDevice(displays[0], handle));
  SDL_Window *first = Window(), *second = Window();
  const std::string desktop = Screens(), full = "800x600@60, 800x600@60";
  const DisplayMode kFull{800, 600, 32, false, 60};
  // clang-format off
  const struct { DisplayMode then; std::string screens; bool firstFull, secondFull; } cases[] = {
      {kWindowed, desktop, false, false}, {kFull, full, false, true}};
  // clang-format on
  for (const auto& c : cases) {
    ASSERT_TRUE(device.SetDisplayMode(first, kFull, false));
    ASSERT_TRUE(device.SetDisplayMode(second, c.then, false));
    EXPECT_EQ(std::make_tuple(Screens(), FullScreen(first), FullScreen(second)),
              std::make_tuple(c.screens, c.firstFull, c.secondFull))
        << "then " << c.then;
    device.ReleaseDevice(handle);
    EXPECT_EQ(std::make_tuple(Screens(), FullScreen(first), FullScreen(second)),
              std::make_tuple(desktop, false, false))
        << "released after " << c.then;
  }
}

// Two outputs side by side, the host's window on the first. Full screen on the second moves the
// window there and switches that output alone; a mode SDL's screen resize would leave the output
// no room for is refused, not an X error that ends the host.
class TwoOutputs : public XorgHost {};

TEST_F(TwoOutputs, FullScreenTakesTheBoundDisplayAndLeavesTheOthersAlone) {
  ASSERT_EQ(displays.size(), 2u) << "the two-output server";
  DeviceDescription primary{};
  unsigned long handle = 0, texture = 0, shape = 0;
  ASSERT_TRUE(device.GetDefaultDevice(DEV_SUBCLASS_DISPLAY, primary) &&
              device.InitDevice(displays[1], handle));
  EXPECT_STREQ(primary.name, "DUMMY0");
  SDL_Window* window = Window();
  const std::string desktop = Outputs();
  const std::string kLeft = "DUMMY0 1920x1080+0+0@60";
  EXPECT_EQ(desktop, kLeft + ", DUMMY1 1024x768+1920+0@85");
  for (const DisplayMode& mode : {DisplayMode{800, 600, 32, false, 60},
                                  {1024, 768, 32, false, 60},
                                  {1680, 1050, 32, false, 60}}) {
    ASSERT_TRUE(device.SetDisplayMode(window, mode, false)) << mode;
    EXPECT_EQ(std::make_tuple(Outputs(), SDL_GetWindowDisplayIndex(window), FullScreen(window)),
              std::make_tuple(kLeft + ", DUMMY1 " + std::to_string(mode.width) + "x" +
                                  std::to_string(mode.height) + "+1920+0@60",
                              1, true));
    if (!texture) {
      ASSERT_TRUE(device.CreateTexture(texture, IMAGE_RGBA8888, Support::kCheckerTexels, 2, 2));
      ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1.0f, kQuad, kCorners));
    }
    ExpectChecker(device, texture, shape, static_cast<int>(mode.width),
                  static_cast<int>(mode.height));
    ASSERT_TRUE(device.SetDisplayMode(window, kWindowed, false));
    EXPECT_EQ(std::make_tuple(Outputs(), FullScreen(window)), std::make_tuple(desktop, false));
  }
  log.Clear();
  EXPECT_FALSE(device.SetDisplayMode(window, {1920, 1080, 32, false, 60}, false));
  EXPECT_EQ(log.Lines(), Support::NotSupported({1920, 1080, 32, false, 60}));
  EXPECT_EQ(Outputs(), desktop);
  device.ReleaseShape(shape);
  device.ReleaseTexture(texture);
  ASSERT_TRUE(device.SetDisplayMode(window, {800, 600, 32, false, 60}, false));
  device.ReleaseDevice(handle);
  EXPECT_EQ(std::make_tuple(Outputs(), FullScreen(window)), std::make_tuple(desktop, false));
}

// On an X server without a window manager, so the window keeps its size. A switch starts OpenGL
// once by itself; a host's resize reaches the handler each SetDisplayMode installed.
TEST_F(XorgHost, TakesAndGivesBackEachListedModeAndRefusesOthersInBoundedMemory) {
  SDL_Window* window = Window();
  const std::string desktop = Screens();
  unsigned long handle = 0, texture = 0, shape = 0;
  std::vector<DisplayMode> offered;
  ASSERT_TRUE(
      device.InitDevice(displays[0], handle) &&
      device.EnumerateDisplayModes(displays[0], Support::CollectInto<DisplayMode>, &offered));
  const auto set = [&](DisplayMode mode) { return device.SetDisplayMode(window, mode, false); };
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
  // clang-format off
  const DisplayMode listed[] = {{1280, 720, 32, false, 60}, {800, 600, 32, false, 72},
      {640, 480, 32, false, 60}, {1920, 1080, 32, false, 60}, {1024, 768, 32, false, 60}};
  // clang-format on
  log.Clear();
  for (int i = 0; i < 90; ++i) ASSERT_TRUE(set(i % 2 ? listed[i / 2 % 5] : kWindowed));
  ASSERT_TRUE(device.CreateTexture(texture, IMAGE_RGBA8888, Support::kCheckerTexels, 2, 2));
  ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1.0f, kQuad, kCorners));
  for (const DisplayMode& mode : listed) {
    EXPECT_NE(std::find(offered.begin(), offered.end(), mode), offered.end());
    enter(mode);
    ExpectChecker(device, texture, shape, static_cast<int>(mode.width),
                  static_cast<int>(mode.height));
    ASSERT_TRUE(set(kWindowed));
    expectDesktop(kWidth, kHeight);
    ExpectChecker(device, texture, shape, kWidth, kHeight);
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
      EXPECT_EQ(log.Lines(), Support::NotSupported(mode));
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
}

}  // namespace
}  // namespace Kelo
