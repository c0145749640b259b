#include <GL/gl.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

#include "kelo/colors.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/pixels.h"
#include "tests/support/scripted_platform.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::Rgba;

constexpr Rgba kGreen{0, 255, 0, 255};

// What a host does around the device on the SDL platform: its own window,
// the device bound to the main display.
class HostRobustnessTest : public ::testing::Test {
protected:
  static constexpr int kSize = 48;

  void SetUp() override {
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
    ASSERT_EQ(SDL_GL_LoadLibrary(nullptr), 0) << SDL_GetError();
    Support::RequestDeviceFramebuffer();
    window =
        SDL_CreateWindow("kelo-host", 0, 0, kSize, kSize, SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE);
    ASSERT_NE(window, nullptr) << SDL_GetError();
    ASSERT_TRUE(device.Init());
    DeviceDescription main{};
    unsigned long handle = 0;
    ASSERT_TRUE(device.GetDefaultDevice(DEV_SUBCLASS_DISPLAY, main));
    ASSERT_TRUE(device.InitDevice(main, handle));
  }
  void TearDown() override {
    device.ReleaseDevice(0);
    SDL_DestroyWindow(window);
    SDL_GL_ResetAttributes();
  }
  bool Windowed(SDL_Window* target = nullptr) {
    return device.SetDisplayMode(target ? target : window, DisplayMode{kSize, kSize, 32, true, 60},
                                 false);
  }
  void Resize(int size) {
    SDL_SetWindowSize(window, size, size);
    SDL_PumpEvents();
  }
  // Draws a stored quad of `colour` spanning x from `left` to `right`, full height.
  void DrawStoredQuad(float left, float right, const Color& colour, bool clip = false) {
    const Point quad[] = {{left, -kSize}, {right, -kSize}, {left, kSize}, {right, kSize}};
    unsigned long shape = 0;
    ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, colour, 1.0f, quad, nullptr));
    device.SelectShape(shape);
    clip ? device.ClipShape() : device.DrawShape();
    device.ReleaseShape(shape);
  }
  int StartUps() const {
    int count = 0;
    for (const std::string& line : log.Lines()) {
      count += line.rfind("[kelo-opengl] will use", 0) == 0 ||
               line.rfind("[kelo-opengl] no vertex shader", 0) == 0;
    }
    return count;
  }

  SDL_Window* window = nullptr;
  IOpenGL device;
  Support::LogCapture log;
};

TEST_F(HostRobustnessTest, AResizeAfterReleaseDeviceChangesNothingUntilTheNextMode) {
  ASSERT_TRUE(Windowed());
  device.ReleaseDevice(0);
  log.Clear();
  Resize(40);
  EXPECT_EQ(StartUps(), 0);
  ASSERT_TRUE(Windowed());
  EXPECT_EQ(StartUps(), 1);
}

TEST_F(HostRobustnessTest, ACoreProfileAskedForByTheHostIsNotTheDevicesAndIsPutBack) {
  const std::pair<SDL_GLattr, int> hosts[] = {
      {SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE},
      {SDL_GL_CONTEXT_MAJOR_VERSION, 3},
      {SDL_GL_CONTEXT_MINOR_VERSION, 3},
      {SDL_GL_CONTEXT_FLAGS, SDL_GL_CONTEXT_FORWARD_COMPATIBLE_FLAG}};
  for (const auto& [attribute, value] : hosts) SDL_GL_SetAttribute(attribute, value);
  ASSERT_TRUE(Windowed()) << SDL_GetError();
  device.Clear(BLACK);
  device.SetColor(WHITE, 1.0f);
  DrawStoredQuad(-kSize, kSize, LIME);
  EXPECT_PIXEL_NEAR(kSize / 2, kSize / 2, kGreen, 0);
  for (const auto& [attribute, value] : hosts) {
    int now = -1;
    SDL_GL_GetAttribute(attribute, &now);
    EXPECT_EQ(now, value) << "attribute " << attribute;
  }
}

// The overlap of two clips is covered twice and stays open as well.
TEST_F(HostRobustnessTest, OverlappingClipsStayOpen) {
  ASSERT_TRUE(Windowed());
  device.Clear(BLACK);
  device.SetColor(WHITE, 1.0f);
  device.BeginShapeBatch();
  DrawStoredQuad(-16, 4, BLUE, true);
  DrawStoredQuad(-4, 16, BLUE, true);
  DrawStoredQuad(-kSize, kSize, LIME);
  device.EndShapeBatch();
  for (int x : {12, 20, 24, 36}) EXPECT_PIXEL_NEAR(x, kSize / 2, kGreen, 0);
  EXPECT_PIXEL_NEAR(44, kSize / 2, (Rgba{0, 0, 0, 255}), 0);
}

TEST_F(HostRobustnessTest, TheFirstUnstoredDrawOfANewContextShowsTheColour) {
  ASSERT_TRUE(Windowed());
  device.Clear(BLACK);
  device.SetColor(LIME, 1.0f);
  const Point quad[] = {{-kSize, -kSize}, {kSize, -kSize}, {-kSize, kSize}, {kSize, kSize}};
  device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, quad, nullptr);
  EXPECT_PIXEL_NEAR(kSize / 2, kSize / 2, kGreen, 0);
}

// A resize reruns start-up on the host's context: start-up's own errors go,
// the host's stays for it to read.
TEST_F(HostRobustnessTest, NoErrorOfTheDeviceIsLeftForTheHost) {
  ASSERT_TRUE(Windowed());
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  Resize(40);
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  const struct {
    GLenum error;
    void (*raise)();
    int size;
  } hosts[] = {{GL_INVALID_ENUM, [] { glEnable(0); }, 30},
               {GL_INVALID_VALUE, [] { glLineWidth(-1.0f); }, 20},
               {GL_INVALID_OPERATION, [] { glEnd(); }, 10}};
  for (const auto& host : hosts) {
    host.raise();
    Resize(host.size);
    EXPECT_EQ(glGetError(), host.error);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  }
}

TEST_F(HostRobustnessTest, AcceptsAWindowWhoseIdIsPast65536) {
  ASSERT_TRUE(Windowed()) << "the device has seen the ids below";
  while (true) {
    SDL_Window* hidden = SDL_CreateWindow("id", 0, 0, 1, 1, SDL_WINDOW_HIDDEN);
    ASSERT_NE(hidden, nullptr) << SDL_GetError();
    const Uint32 id = SDL_GetWindowID(hidden);
    SDL_DestroyWindow(hidden);
    if (id > 65536) break;
  }
  SDL_Window* late = SDL_CreateWindow("late", 0, 0, kSize, kSize, SDL_WINDOW_OPENGL);
  ASSERT_NE(late, nullptr) << SDL_GetError();
  EXPECT_TRUE(Windowed(late));
  device.ReleaseDevice(0);
  SDL_DestroyWindow(late);
}

TEST(DeviceInitRefreshRate, AnUnknownDesktopRateReadsAs60) {
  for (double rate : {std::nan(""), -75.0, -0.5, 5e9}) {
    Support::ScriptedPlatform platform;
    platform.desktop =
        ModeRecord{ModeValue::Of(640), ModeValue::Of(480), ModeValue::Of(32), ModeValue::Of(rate)};
    IOpenGL device;
    ASSERT_TRUE(device.Init());
    EXPECT_EQ(device.currentMode.refreshRate, 60u) << rate;
  }
}

}  // namespace
}  // namespace Kelo
