#include <GL/gl.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kelo/colors.h"
#include "shapes/vram.h"
#include "tests/support/enumerated.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/pixels.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::Rgba;

// The device on the real SDL platform, as a host drives it: its own window,
// and every context made by the device itself.
class SdlDeviceTest : public ::testing::Test {
protected:
  static constexpr int kSize = 48;

  void SetUp() override {
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
    ASSERT_EQ(SDL_GL_LoadLibrary(nullptr), 0) << SDL_GetError();
    Kelo::Support::RequestDeviceFramebuffer();
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
  bool Windowed(int width = kSize, int height = kSize) {
    const DisplayMode mode{static_cast<unsigned>(width), static_cast<unsigned>(height), 32, true,
                           60};
    return device.SetDisplayMode(window, mode, false);
  }

  SDL_Window* window = nullptr;
  IOpenGL device;
  Kelo::Support::LogCapture log;
};

TEST_F(SdlDeviceTest, AWindowedModeMakesACurrentContextAndStartsOpenGLAndStorageOnce) {
  EXPECT_FALSE(device.IsReady());
  ASSERT_TRUE(Windowed()) << SDL_GetError();
  EXPECT_TRUE(device.IsReady());
  EXPECT_NE(SDL_GL_GetCurrentContext(), nullptr);
  ASSERT_NE(VRAMManager, nullptr);
  OGLVRAM* storage = VRAMManager;
  ASSERT_TRUE(Windowed());
  EXPECT_EQ(VRAMManager, storage);
  int storageLines = 0;
  for (const std::string& line : log.Lines()) {
    storageLines += line.rfind("[kelo-opengl] Will use", 0) == 0;
  }
  EXPECT_EQ(storageLines, 1) << "the storage starts once";

  device.Clear(RED);
  EXPECT_PIXEL_NEAR(kSize / 2, kSize / 2, (Rgba{255, 0, 0, 255}), 0);
  device.EndRender();
}

TEST_F(SdlDeviceTest, ShapesMadeBeforeASecondModeStillDrawAfterIt) {
  ASSERT_TRUE(Windowed());
  const Point quad[] = {{-24, -24}, {24, -24}, {-24, 24}, {24, 24}};
  unsigned long shape = 0;
  ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, BLUE, 1.0f, quad, nullptr));
  SDL_GLContext first = SDL_GL_GetCurrentContext();
  ASSERT_TRUE(Windowed());
  EXPECT_NE(SDL_GL_GetCurrentContext(), first) << "every call makes a new context";
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  device.SelectShape(shape);
  device.DrawShape();
  EXPECT_PIXEL_NEAR(kSize / 2, kSize / 2, (Rgba{0, 0, 255, 255}), 0);
  EXPECT_TRUE(device.ReleaseShape(shape));
}

TEST_F(SdlDeviceTest, ResizingTheWindowRestartsOpenGLAtTheNewSize) {
  ASSERT_TRUE(Windowed());
  SDL_SetWindowSize(window, 40, 30);
  SDL_PumpEvents();
  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  EXPECT_EQ(viewport[2], 40);
  EXPECT_EQ(viewport[3], 30);
  DisplayMode mode{};
  device.GetDisplayMode(mode);
  EXPECT_EQ(mode.width, static_cast<unsigned>(kSize)) << "the mode in use stays as requested";
}

TEST_F(SdlDeviceTest, ReleaseDeviceLeavesNoContextAndNoStorage) {
  ASSERT_TRUE(Windowed());
  EXPECT_TRUE(device.ReleaseDevice(0));
  EXPECT_EQ(SDL_GL_GetCurrentContext(), nullptr);
  EXPECT_EQ(VRAMManager, nullptr);
  EXPECT_FALSE(device.IsReady());
  EXPECT_TRUE(device.ReleaseDevice(0)) << "releasing again finds nothing to do";
}

TEST_F(SdlDeviceTest, RefusesAWindowThatIsGone) {
  SDL_Window* gone = SDL_CreateWindow("gone", 0, 0, 8, 8, SDL_WINDOW_OPENGL);
  SDL_DestroyWindow(gone);
  const DisplayMode mode{8, 8, 32, true, 60};
  EXPECT_FALSE(device.SetDisplayMode(gone, mode, false));
  ASSERT_EQ(log.Lines().size(), 1u);
  EXPECT_EQ(log.Lines()[0], "[kelo-agl] invalid window handle.\n");
  EXPECT_FALSE(device.IsReady());
}

TEST_F(SdlDeviceTest, ListsTheDisplaysAndModesSDLReports) {
  std::vector<DeviceDescription> devices;
  ASSERT_TRUE(device.EnumerateDevices(DEV_SUBCLASS_NONE, Support::CollectInto<DeviceDescription>,
                                      &devices));
  ASSERT_EQ(static_cast<int>(devices.size()), SDL_GetNumVideoDisplays());
  for (size_t i = 0; i < devices.size(); ++i) {
    EXPECT_EQ(devices[i].deviceClass, static_cast<unsigned>(DEV_CLASS_VIDEO));
    EXPECT_EQ(devices[i].subClass, DEV_SUBCLASS_DISPLAY);
    const char* name = SDL_GetDisplayName(static_cast<int>(i));
    EXPECT_STREQ(devices[i].name, name ? name : "Unknown video");
  }
  std::vector<DisplayMode> modes;
  ASSERT_TRUE(device.EnumerateDisplayModes(devices[0], Support::CollectInto<DisplayMode>, &modes));
  std::vector<DisplayMode> expected;
  for (int i = 0; i < SDL_GetNumDisplayModes(0); ++i) {
    SDL_DisplayMode mode;
    SDL_GetDisplayMode(0, i, &mode);
    // Depth counts the bytes a pixel takes; modes of 8 bits or fewer (the
    // offscreen driver's one 0-bit mode) are never offered.
    const unsigned bits = SDL_BYTESPERPIXEL(mode.format) * 8u;
    if (bits <= 8) continue;
    expected.push_back({static_cast<unsigned>(mode.w), static_cast<unsigned>(mode.h), bits, false,
                        mode.refresh_rate > 0 ? static_cast<unsigned>(mode.refresh_rate) : 60u});
  }
  ASSERT_EQ(modes.size(), expected.size());
  for (size_t i = 0; i < modes.size(); ++i) {
    EXPECT_EQ(modes[i].width, expected[i].width);
    EXPECT_EQ(modes[i].height, expected[i].height);
    EXPECT_EQ(modes[i].bitsPerPixel, expected[i].bitsPerPixel);
    EXPECT_FALSE(modes[i].windowed);
    EXPECT_EQ(modes[i].refreshRate, expected[i].refreshRate);
  }
}

}  // namespace
}  // namespace Kelo

namespace Kelo {
namespace {

int StartUps(const Support::LogCapture& log) {
  int count = 0;
  for (const std::string& line : log.Lines()) {
    count += line.rfind("[kelo-opengl] will use", 0) == 0 ||
             line.rfind("[kelo-opengl] no vertex shader", 0) == 0;
  }
  return count;
}

// Lets SDL deliver what the X server sends back for a window change.
void PumpEventsFor(int milliseconds) {
  for (int waited = 0; waited < milliseconds; waited += 10) {
    SDL_PumpEvents();
    SDL_Delay(10);
  }
}

TEST_F(SdlDeviceTest, TexturesMadeBeforeASecondModeStillDrawAfterIt) {
  ASSERT_TRUE(Windowed());
  const unsigned char red[2 * 2 * 4] = {255, 0, 0, 255, 255, 0, 0, 255,
                                        255, 0, 0, 255, 255, 0, 0, 255};
  unsigned long texture = 0;
  ASSERT_TRUE(device.CreateTexture(texture, IMAGE_RGBA8888, red, 2, 2));
  const Point quad[] = {{-24, -24}, {24, -24}, {-24, 24}, {24, 24}};
  const Point corners[] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
  unsigned long shape = 0;
  ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1.0f, quad, corners));
  ASSERT_TRUE(Windowed());
  EXPECT_EQ(device.GetWidthTexture(texture), 2) << "the new context sees the texture";
  EXPECT_EQ(device.GetHeightTexture(texture), 2);
  // Texture combining spends the texture environment on the colour, so a
  // stored textured draw shows the texture only on the program paths.
  if (Support::ExpectedColorPath() != Support::ColorPath::TextureCombine) {
    device.SetColor(WHITE, 1.0f);
    device.Clear(BLACK);
    device.BeginTextureBatch(texture);
    device.SelectShape(shape);
    device.DrawShape();
    device.EndTextureBatch();
    EXPECT_PIXEL_NEAR(kSize / 2, kSize / 2, (Rgba{255, 0, 0, 255}), 0);
  }
  device.ReleaseShape(shape);
  device.ReleaseTexture(texture);
}

TEST_F(SdlDeviceTest, AMoveThatKeepsTheSizeDoesNotRestartOpenGL) {
  ASSERT_TRUE(Windowed());
  log.Clear();
  SDL_SetWindowPosition(window, 17, 23);
  PumpEventsFor(100);
  EXPECT_EQ(StartUps(log), 0);
  SDL_SetWindowSize(window, 36, 20);
  PumpEventsFor(100);
  EXPECT_EQ(StartUps(log), 1);
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
  EXPECT_EQ(StartUps(log), 0);
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
