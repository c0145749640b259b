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

DisplayMode FullScreen(unsigned width, unsigned height, unsigned hz, unsigned bits = 32) {
  return {width, height, bits, false, hz};
}

// SDL's current mode and the one xrandr marks with '*', its rate rounded as
// SDL rounds it: "WxH@Hz, WxH@Hz".
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
  std::ifstream statm("/proc/self/statm");
  long pages = 0, resident = 0;
  statm >> pages >> resident;
  return resident * sysconf(_SC_PAGESIZE) / 1024;
}

// The device full screen on an X server that switches modes, drawing into a
// 320 x 240 window that keeps its size there, as no window manager resizes it.
class FullScreenTest : public ::testing::Test {
protected:
  static constexpr unsigned kWidth = 320, kHeight = 240;

  void SetUp() override {
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
    ASSERT_STREQ(SDL_GetCurrentVideoDriver(), "x11");
    Support::RequestDeviceFramebuffer();
    window = SDL_CreateWindow("kelo-fullscreen", 0, 0, kWidth, kHeight, SDL_WINDOW_OPENGL);
    ASSERT_NE(window, nullptr) << SDL_GetError();
    desktop = Screens();
    DeviceDescription main{};
    unsigned long handle = 0;
    ASSERT_TRUE(device.Init() && device.GetDefaultDevice(DEV_SUBCLASS_DISPLAY, main) &&
                device.InitDevice(main, handle) &&
                device.EnumerateDisplayModes(main, Support::CollectInto<DisplayMode>, &offered));
    ASSERT_TRUE(Windowed());
  }
  void TearDown() override {
    device.ReleaseDevice(0);
    ExpectDesktop();
    SDL_DestroyWindow(window);
  }
  bool Windowed() { return device.SetDisplayMode(window, {kWidth, kHeight, 32, true, 60}, false); }
  void Enter(const DisplayMode& mode) {
    ASSERT_TRUE(device.SetDisplayMode(window, mode, false)) << mode;
    const std::string screen = std::to_string(mode.width) + "x" + std::to_string(mode.height) +
                               "@" + std::to_string(mode.refreshRate);
    EXPECT_EQ(Screens(), screen + ", " + screen);
    EXPECT_TRUE(SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN);
  }
  void ExpectDesktop() {
    int width = 0, height = 0;
    SDL_GetWindowSize(window, &width, &height);
    EXPECT_EQ(Screens(), desktop);
    EXPECT_EQ(std::make_tuple(width, height, SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN),
              std::make_tuple(int{kWidth}, int{kHeight}, 0u));
  }
  void MakeScene() {
    const Point quad[] = {{0, 0}, {200, 0}, {0, 200}, {200, 200}};
    const Point corners[] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
    ASSERT_TRUE(device.CreateTexture(texture, IMAGE_RGBA8888, Support::kCheckerTexels, 2, 2));
    ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1.0f, quad, corners));
  }
  // The checker on a 200 x 200 quad, 60 pixels in from the left and 20 up
  // from the bottom when the camera, the viewport and the mode agree.
  void ExpectPicture(int width, int height) {
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR)) << "left for the host";
    std::vector<GLint> viewport(4);
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    EXPECT_EQ(viewport, (std::vector<GLint>{0, 0, width, height}));
    device.SetWorldTransform({{1, 0, 60 - width / 2.0f, 0, 1, 20 - height / 2.0f}});
    device.SetColor(WHITE, 1.0f);
    device.Clear(BLACK);
    device.BeginTextureBatch(texture);
    device.SelectShape(shape);
    device.DrawShape();
    device.EndTextureBatch();
    const struct {
      int x, y;
      Support::Rgba colour;
    } probes[] = {{110, 70, {255, 0, 0, 255}},  {210, 70, {0, 255, 0, 255}},
                  {110, 170, {0, 0, 255, 255}}, {210, 170, {255, 255, 255, 255}},
                  {30, 120, {0, 0, 0, 255}},    {290, 120, {0, 0, 0, 255}},
                  {160, 230, {0, 0, 0, 255}}};
    for (const auto& probe : probes) EXPECT_PIXEL_NEAR(probe.x, probe.y, probe.colour, 0);
  }
  // Lets SDL hear what the X server sends back for the changes made so far.
  static void PumpEvents() {
    for (int i = 0; i < 20; ++i, SDL_Delay(10)) SDL_PumpEvents();
  }

  SDL_Window* window = nullptr;
  IOpenGL device;
  std::string desktop;
  std::vector<DisplayMode> offered;
  unsigned long texture = 0, shape = 0;
  Support::LogCapture log;
};

TEST_F(FullScreenTest, EachListedModeIsTakenAndGivenBack) {
  for (const DisplayMode& mode :
       {FullScreen(1280, 720, 60), FullScreen(800, 600, 72), FullScreen(640, 480, 60),
        FullScreen(1920, 1080, 60), FullScreen(1024, 768, 60)}) {
    SCOPED_TRACE(::testing::Message() << mode);
    EXPECT_NE(std::find(offered.begin(), offered.end(), mode), offered.end());
    MakeScene();
    Enter(mode);
    ExpectPicture(static_cast<int>(mode.width), static_cast<int>(mode.height));
    ASSERT_TRUE(Windowed());
    ExpectDesktop();
    ExpectPicture(kWidth, kHeight);
    Enter(mode);
    device.ReleaseShape(shape);
    device.ReleaseTexture(texture);
    device.ReleaseDevice(0);
    ExpectDesktop();
    ASSERT_TRUE(Windowed());
  }
}

// Refusals touch nothing, from a window or from full screen alike.
TEST_F(FullScreenTest, RefusesModesTheDisplayDoesNotOffer) {
  for (bool fromFullScreen : {false, true}) {
    if (fromFullScreen) Enter(FullScreen(800, 600, 60));
    const std::string screens = Screens();
    const Uint32 flags = SDL_GetWindowFlags(window);
    SDL_GLContext context = SDL_GL_GetCurrentContext();
    const DisplayMode inUse = device.currentMode;
    for (const DisplayMode& mode : {FullScreen(1280, 721, 60), FullScreen(1280, 720, 60, 16),
                                    FullScreen(1280, 720, 60, 24), FullScreen(1280, 720, 75)}) {
      SCOPED_TRACE(::testing::Message() << mode << (fromFullScreen ? " from full screen" : ""));
      log.Clear();
      EXPECT_FALSE(device.SetDisplayMode(window, mode, false));
      char line[64];
      std::snprintf(line, sizeof line, "[kelo-agl] mode %ux%ux%u@%uHz not supported\n", mode.width,
                    mode.height, mode.bitsPerPixel, mode.refreshRate);
      EXPECT_EQ(log.Lines(), std::vector<std::string>{line});
      EXPECT_EQ(Screens(), screens);
      EXPECT_EQ(SDL_GetWindowFlags(window), flags);
      EXPECT_EQ(SDL_GL_GetCurrentContext(), context);
      EXPECT_EQ(device.currentMode, inUse);
    }
  }
  ASSERT_TRUE(Windowed());
}

// Entering, leaving and changing full screen resize the host's window; those
// resizes belong to the switch, which starts OpenGL up once by itself. Shapes
// and textures survive every round trip.
TEST_F(FullScreenTest, ASwitchRunsStartUpOnceAndAHostResizeOncePerHandler) {
  const DisplayMode modes[] = {
      FullScreen(1280, 720, 60), FullScreen(800, 600, 60), {kWidth, kHeight, 32, true, 60}};
  MakeScene();
  log.Clear();
  for (int i = 0; i < 99; ++i) ASSERT_TRUE(device.SetDisplayMode(window, modes[i % 3], false));
  Enter(modes[1]);
  PumpEvents();
  EXPECT_EQ(log.StartUps(), 100);
  ExpectPicture(800, 600);
  ASSERT_TRUE(Windowed());
  ExpectPicture(kWidth, kHeight);
  PumpEvents();
  log.Clear();
  SDL_SetWindowSize(window, 200, 150);
  PumpEvents();
  EXPECT_EQ(log.StartUps(), 102) << "one for each SetDisplayMode";
  SDL_SetWindowSize(window, kWidth, kHeight);
  PumpEvents();
}

// Each start-up keeps the colour program it made, on purpose: about 10 KiB a
// switch here, twice that under ASan. A context left behind, or start-up run
// once per installed handler, costs megabytes a switch, and a texture left
// behind 16 KiB.
TEST_F(FullScreenTest, ResidentMemoryStaysBounded) {
  std::vector<unsigned char> pixels(64 * 64 * 4, 0x80);
  for (int workload = 0, count = 1000; workload < 2; ++workload, count = 10000) {
    const auto run = [&](int i) {
      unsigned long handle = 0;
      if (workload == 0)
        return device.SetDisplayMode(window, FullScreen(800 - i % 2 * 160, 600 - i % 2 * 120, 60),
                                     false);
      return device.CreateTexture(handle, IMAGE_RGBA8888, pixels.data(), 64, 64) &&
             device.ReleaseTexture(handle);
    };
    for (int i = 0; i < 20; ++i) ASSERT_TRUE(run(i));
    const long before = ResidentKiB();
    for (int i = 0; i < count; ++i) ASSERT_TRUE(run(i));
    std::printf("[   memory ] %d runs of workload %d: %ld KiB resident before, %ld KiB after\n",
                count, workload, before, ResidentKiB());
    EXPECT_LT(ResidentKiB() - before, 64 * 1024) << "workload " << workload;
  }
  ASSERT_TRUE(Windowed());
}

}  // namespace
}  // namespace Kelo
