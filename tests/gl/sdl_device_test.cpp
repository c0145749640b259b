#include <GL/gl.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kelo/colors.h"
#include "platform/sdl/sdl_platform.h"
#include "shapes/vram.h"
#include "tests/support/enumerated.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/pixels.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::Rgba;

// Lets SDL deliver what the window system sends back for a window change.
void PumpEventsFor(int milliseconds) {
  for (int waited = 0; waited < milliseconds; waited += 10) {
    SDL_PumpEvents();
    SDL_Delay(10);
  }
}

// The device on the real SDL platform, as a host drives it: its own window,
// and every context made by the device itself.
class SdlDeviceTest : public ::testing::Test {
protected:
  static constexpr unsigned kSize = 48;

  void SetUp() override {
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
    ASSERT_EQ(SDL_GL_LoadLibrary(nullptr), 0) << SDL_GetError();
    Support::RequestDeviceFramebuffer();
    window = SDL_CreateWindow("kelo-sdl-test", 0, 0, kSize, kSize,
                              SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE);
    ASSERT_NE(window, nullptr) << SDL_GetError();
    ASSERT_TRUE(device.Init());
    DeviceDescription main{};
    ASSERT_TRUE(device.GetDefaultDevice(DEV_SUBCLASS_DISPLAY, main));
    unsigned long handle = 0;
    ASSERT_TRUE(device.InitDevice(main, handle));
  }
  void TearDown() override {
    device.ReleaseDevice(0);
    SDL_DestroyWindow(window);
  }
  bool Windowed() { return device.SetDisplayMode(window, {kSize, kSize, 32, true, 60}, false); }

  SDL_Window* window = nullptr;
  IOpenGL device;
  Support::LogCapture log;
};

// Every call makes a new context that shares objects with the old one, so
// shapes and textures made before still draw; the storage starts once.
TEST_F(SdlDeviceTest, ObjectsMadeBeforeASecondModeStillDrawAfterIt) {
  EXPECT_FALSE(device.IsReady());
  ASSERT_TRUE(Windowed()) << SDL_GetError();
  ASSERT_NE(VRAMManager, nullptr);
  OGLVRAM* storage = VRAMManager;
  unsigned long texture = 0, shape = 0;
  ASSERT_TRUE(device.CreateTexture(texture, IMAGE_RGBA8888, Support::kCheckerTexels, 2, 2));
  const Point quad[] = {{-24, -24}, {24, -24}, {-24, 24}, {24, 24}};
  const Point corners[] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
  ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1.0f, quad, corners));
  SDL_GLContext first = SDL_GL_GetCurrentContext();
  ASSERT_TRUE(Windowed());
  EXPECT_TRUE(device.IsReady());
  EXPECT_NE(SDL_GL_GetCurrentContext(), first);
  EXPECT_EQ(VRAMManager, storage);
  int storageLines = 0;
  for (const std::string& line : log.Lines()) {
    storageLines += line.rfind("[kelo-opengl] Will use", 0) == 0;
  }
  EXPECT_EQ(storageLines, 1);
  EXPECT_EQ(device.GetWidthTexture(texture), 2) << "the new context sees the texture";
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  device.SelectShape(shape);
  device.DrawShape();
  EXPECT_PIXEL_NEAR(24, 24, (Rgba{255, 255, 255, 255}), 0);
  // Texture combining spends the texture environment on the colour, so a
  // stored textured draw shows the texture only on the program paths.
  if (Support::ExpectedColorPath() != Support::ColorPath::TextureCombine) {
    device.BeginTextureBatch(texture);
    device.DrawShape();
    device.EndTextureBatch();
    EXPECT_PIXEL_NEAR(12, 12, (Rgba{255, 0, 0, 255}), 0);
    EXPECT_PIXEL_NEAR(36, 12, (Rgba{0, 255, 0, 255}), 0);
  }
  device.EndRender();
  device.ReleaseShape(shape);
  device.ReleaseTexture(texture);
}

TEST_F(SdlDeviceTest, OnlyASizeChangeRestartsOpenGLAtTheNewSize) {
  ASSERT_TRUE(Windowed());
  log.Clear();
  SDL_SetWindowPosition(window, 17, 23);
  PumpEventsFor(100);
  EXPECT_EQ(log.StartUps(), 0);
  SDL_SetWindowSize(window, 40, 30);
  PumpEventsFor(100);
  EXPECT_EQ(log.StartUps(), 1);
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_EQ(viewport[2], 40);
  EXPECT_EQ(viewport[3], 30);
  DisplayMode mode{};
  device.GetDisplayMode(mode);
  EXPECT_EQ(mode.width, kSize) << "the mode in use stays as requested";
}

TEST_F(SdlDeviceTest, ADestroyedDeviceHearsNoMoreWindowEvents) {
  auto* gone = new IOpenGL;
  ASSERT_TRUE(gone->Init());
  gone->displayId = device.displayId;
  ASSERT_TRUE(gone->SetDisplayMode(window, DisplayMode{kSize, kSize, 32, true, 60}, false));
  // Destroyed without ReleaseDevice: its context stays current for the
  // fixture's device to release.
  delete gone;
  log.Clear();
  SDL_SetWindowSize(window, 30, 30);
  PumpEventsFor(100);
  EXPECT_EQ(log.StartUps(), 0);
}

TEST_F(SdlDeviceTest, ReleaseDeviceLeavesNoContextAndNoStorage) {
  ASSERT_TRUE(Windowed());
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(device.ReleaseDevice(0));
    EXPECT_EQ(SDL_GL_GetCurrentContext(), nullptr);
    EXPECT_EQ(VRAMManager, nullptr);
    EXPECT_FALSE(device.IsReady());
  }
}

TEST_F(SdlDeviceTest, RefusesAWindowThatIsGone) {
  SDL_Window* gone = SDL_CreateWindow("gone", 0, 0, 8, 8, SDL_WINDOW_OPENGL);
  SDL_DestroyWindow(gone);
  EXPECT_FALSE(device.SetDisplayMode(gone, {8, 8, 32, true, 60}, false));
  EXPECT_EQ(log.Lines(), std::vector<std::string>{"[kelo-agl] invalid window handle.\n"});
  EXPECT_FALSE(device.IsReady());
}

TEST_F(SdlDeviceTest, ListsTheDisplaysAndModesSDLReports) {
  std::vector<DeviceDescription> devices;
  ASSERT_TRUE(device.EnumerateDevices(DEV_SUBCLASS_NONE, Support::CollectInto<DeviceDescription>,
                                      &devices));
  ASSERT_EQ(static_cast<int>(devices.size()), SDL_GetNumVideoDisplays());
  for (size_t i = 0; i < devices.size(); ++i) {
    const char* name = SDL_GetDisplayName(static_cast<int>(i));
    EXPECT_STREQ(devices[i].name, name ? name : "Unknown video");
    EXPECT_EQ(devices[i].displayId, i + 1);
  }
  std::vector<DisplayMode> modes, expected;
  ASSERT_TRUE(device.EnumerateDisplayModes(devices[0], Support::CollectInto<DisplayMode>, &modes));
  for (int i = 0; i < SDL_GetNumDisplayModes(0); ++i) {
    SDL_DisplayMode mode;
    SDL_GetDisplayMode(0, i, &mode);
    // Depth counts the bytes a pixel takes; the offscreen driver's one 0-bit
    // mode is never offered.
    const unsigned bits = SDL_BYTESPERPIXEL(mode.format) * 8u;
    if (bits <= 8) continue;
    expected.push_back({static_cast<unsigned>(mode.w), static_cast<unsigned>(mode.h), bits, false,
                        mode.refresh_rate > 0 ? static_cast<unsigned>(mode.refresh_rate) : 60u});
  }
  EXPECT_EQ(modes, expected);
}

// Display ids count from 1; 0 and ids past SDL's displays name nothing.
TEST_F(SdlDeviceTest, TheSeamAnswersOnlyForDisplaysSDLHas) {
  SdlPlatform seam;
  const unsigned count = static_cast<unsigned>(SDL_GetNumVideoDisplays());
  const int attributes[] = {AGL_RGBA, AGL_DOUBLEBUFFER, AGL_NONE};
  for (unsigned display : {0u, 1u, count, count + 1}) {
    const bool known = display >= 1 && display <= count;
    SCOPED_TRACE(display);
    int index = -2;
    EXPECT_EQ(seam.GraphicsDevice(display, index), known);
    EXPECT_EQ(index, known ? static_cast<int>(display) - 1 : -1);
    std::vector<char> name;
    EXPECT_EQ(seam.ModelName(display, name), known);
    std::vector<ListedMode> listed;
    EXPECT_EQ(seam.DisplayModes(display, listed), known);
    DisplayMode best{};
    bool exact = false;
    EXPECT_EQ(seam.BestModeWithRefreshRate(display, 32, 8, 8, 0.0, best, exact), known);
    EXPECT_EQ(seam.BestMode(display, 32, 8, 8, best), known);
    const int device = static_cast<int>(display) - 1;
    void* format = seam.ChoosePixelFormat(&device, attributes);
    EXPECT_EQ(format != nullptr, known);
    if (format) seam.DestroyPixelFormat(format);
    seam.CaptureDisplay(display);
    EXPECT_TRUE(seam.IsDisplayCaptured(display));
    seam.ReleaseDisplay(display);
    EXPECT_FALSE(seam.IsDisplayCaptured(display));
  }
  int notAContext = 0;
  EXPECT_FALSE(seam.MakeCurrent(&notAContext));
}

TEST_F(SdlDeviceTest, GoesFullScreenOnlyInAModeTheDisplayHasAndBack) {
  SDL_DisplayMode desktop;
  ASSERT_EQ(SDL_GetDesktopDisplayMode(0, &desktop), 0);
  const unsigned bytes = SDL_BYTESPERPIXEL(desktop.format);
  const unsigned bits = bytes ? bytes * 8 : 24;
  const DisplayMode fullScreen{static_cast<unsigned>(desktop.w), static_cast<unsigned>(desktop.h),
                               bits, false, 60};
  ASSERT_TRUE(Windowed());
  SDL_GLContext windowed = SDL_GL_GetCurrentContext();
  log.Clear();
  DisplayMode unsupported = fullScreen;
  unsupported.bitsPerPixel = 16;
  EXPECT_FALSE(device.SetDisplayMode(window, unsupported, false));
  EXPECT_EQ(log.Lines(),
            std::vector<std::string>{"[kelo-agl] mode " + std::to_string(desktop.w) + "x" +
                                     std::to_string(desktop.h) + "x16@60Hz not supported\n"});
  EXPECT_EQ(SDL_GL_GetCurrentContext(), windowed);

  ASSERT_TRUE(device.SetDisplayMode(window, fullScreen, false)) << SDL_GetError();
  EXPECT_TRUE(SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN);
  EXPECT_TRUE(device.IsReady());
  ASSERT_TRUE(Windowed());
  EXPECT_FALSE(SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN);
}

}  // namespace
}  // namespace Kelo
