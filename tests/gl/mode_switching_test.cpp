#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "shapes/vram.h"
#include "tests/support/enumerated.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/scripted_platform.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::ScriptedPlatform;
using Lines = std::vector<std::string>;

constexpr unsigned kDisplay = 2;
const DisplayMode kWindowed{320, 240, 24, true, 60};
const DisplayMode kFullScreen{1024, 768, 32, false, 85};

std::vector<int> Viewport() {
  std::vector<int> viewport(4);
  glGetIntegerv(GL_VIEWPORT, viewport.data());
  return viewport;
}

// The platform answers through the double; GL start-up runs on the suite's
// real context.
class ModeSwitchingTest : public Support::GLTest {
protected:
  void SetUp() override {
    GLTest::SetUp();
    platform.windows = {&window, &otherWindow};
    platform.contentSizes = {{&window, {200, 100}}, {&otherWindow, {50, 40}}};
    ASSERT_TRUE(device.Init());
    device.displayId = kDisplay;
  }
  void TearDown() override {
    device.ReleaseDevice(kDisplay);
    GLTest::TearDown();
  }
  bool Set(const DisplayMode& mode, void* target = nullptr) {
    return device.SetDisplayMode(target ? target : &window, mode, true);
  }
  ScriptedPlatform::Context& Current() { return ScriptedPlatform::Made(platform.context); }

  int window = 0, otherWindow = 0;
  ScriptedPlatform platform;
  IOpenGL device;
  Support::LogCapture log;
};

// The storage starts once and stays while modes change, so shapes outlive them.
TEST_F(ModeSwitchingTest, EveryTransitionMakesANewSharingContextAndDestroysTheOld) {
  device.ReleaseDevice(kDisplay);
  EXPECT_FALSE(device.SetDisplayMode(nullptr, kWindowed, false));
  EXPECT_EQ(VRAMManager, nullptr) << "a failed call starts nothing";
  const DisplayMode k16Bits{800, 600, 16, false, 60};
  const DisplayMode kDesktop{1280, 800, 32, false, 60};
  const struct {
    std::optional<DisplayMode> from;
    DisplayMode request;
    bool vsync;
    std::map<unsigned, DisplayMode> switches;
  } cases[] = {
      {std::nullopt, kWindowed, false, {}},
      {std::nullopt, kFullScreen, true, {{kDisplay, kFullScreen}}},
      {kWindowed, kWindowed, true, {}},
      {kWindowed, kFullScreen, false, {{kDisplay, kFullScreen}}},
      {kFullScreen, kWindowed, false, {{kDisplay, kDesktop}}},
      {kFullScreen, k16Bits, true, {{kDisplay, k16Bits}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << (c.from ? *c.from : DisplayMode{}) << " to " << c.request);
    ASSERT_TRUE(!c.from || Set(*c.from));
    platform.switchedModes.clear();
    log.Clear();
    void* old = platform.context;
    OGLVRAM* storage = VRAMManager;
    ASSERT_TRUE(device.SetDisplayMode(&window, c.request, c.vsync));
    ASSERT_NE(platform.context, old);
    // One stencil bit for clipping, two samples, no depth, on the display's
    // device in full screen.
    // clang-format off
    std::vector<int> preferred{AGL_RGBA, AGL_NO_RECOVERY, AGL_DOUBLEBUFFER, AGL_ACCELERATED,
        AGL_WINDOW, AGL_LEVEL, 0, AGL_DEPTH_SIZE, 0, AGL_STENCIL_SIZE, 1, AGL_SAMPLE_BUFFERS_ARB, 1,
        AGL_SAMPLES_ARB, 2, AGL_MULTISAMPLE, AGL_PIXEL_SIZE, int(c.request.bitsPerPixel)};
    // clang-format on
    if (!c.request.windowed) preferred[4] = AGL_FULLSCREEN;
    const auto& now = Current();
    EXPECT_EQ(std::tie(now.format, now.share, now.window, now.fullScreen, now.swapInterval),
              std::make_tuple(preferred, old, static_cast<void*>(&window), !c.request.windowed,
                              std::optional<int>(c.vsync)));
    EXPECT_EQ(now.device, c.request.windowed ? std::nullopt : std::optional<int>(kDisplay));
    EXPECT_TRUE(!old || ScriptedPlatform::Made(old).destroyed);
    EXPECT_TRUE(platform.formats.empty()) << "every format is freed";
    EXPECT_EQ(platform.IsDisplayCaptured(kDisplay), !c.request.windowed);
    EXPECT_EQ(platform.switchedModes, c.switches);
    EXPECT_EQ(device.currentMode, c.request);
    EXPECT_EQ(Viewport(), (std::vector<int>{0, 0, static_cast<int>(c.request.width),
                                            static_cast<int>(c.request.height)}));
    EXPECT_EQ(log.StartUps(), 1);
    EXPECT_TRUE(VRAMManager && (!storage || VRAMManager == storage));
    device.ReleaseDevice(kDisplay);
    EXPECT_EQ(VRAMManager, nullptr);
  }
}

TEST_F(ModeSwitchingTest, WithoutAStencilFormatFallsBackToAnyAcceleratedOne) {
  platform.refused = {"StencilFormat"};
  for (const DisplayMode& mode : {kFullScreen, kWindowed}) {
    ASSERT_TRUE(Set(mode));
    EXPECT_EQ(Current().format,
              (std::vector<int>{AGL_RGBA, AGL_NO_RECOVERY, AGL_DOUBLEBUFFER, AGL_ACCELERATED,
                                mode.windowed ? AGL_WINDOW : AGL_FULLSCREEN}));
  }
}

TEST_F(ModeSwitchingTest, EveryFailureSaysWhyAndKeepsTheOldContextCurrent) {
  const std::string kNoFormat = "[kelo-agl] no valid PixelFormat found.\n";
  const std::string kNoFullScreen = "[kelo-agl] failed to initialize fullscreen context.\n";
  const std::string kNoWindowed = "[kelo-agl] failed to initialze window context.\n";
  const DisplayMode kWin = kWindowed, kFull = kFullScreen;
  const struct {
    const char* refused;  // none: the window is dead
    DisplayMode from, request;
    Lines lines;
    bool capturedAfter, modeRecorded;
    std::size_t handlersAdded = 0;
  } cases[] = {
      // clang-format off
      {nullptr, kWin, kWin, {"[kelo-agl] invalid window handle.\n"}, true, false},
      {"BestModeWithRefreshRate", kWin, kFull, {"[kelo-agl] mode invalid.\n"}, false, false},
      {"ExactMode", kWin, kFull, {"[kelo-agl] mode 1024x768x32@85Hz not supported\n"}, false, false},
      {"SwitchToMode", kWin, kFull, {"[kelo-agl] cannot switch to mode.\n"}, false, false},
      {"GraphicsDevice", kWin, kFull, {"[kero-agl] cannot get GDHandle.\n", kNoFullScreen}, false, false},
      {"ChoosePixelFormat", kWin, kFull, {kNoFormat, kNoFullScreen}, false, false},
      {"CreateContext", kWin, kFull, {kNoFullScreen}, false, false},
      {"BestMode", kFull, kWin, {"[kelo-agl] no suitable mode found.\n"}, false, false},
      {"SwitchToMode", kFull, kWin, {"[kelo-agl] cannot switch to mode\n"}, false, false},
      {"ChoosePixelFormat", kWin, kWin, {kNoFormat, kNoWindowed}, true, false},
      {"CreateContext", kWin, kWin, {kNoWindowed}, true, false},
      {"AttachToWindow", kWin, kWin, {"[kelo-agl] failed to attach context to window: [invalid drawable]\n"}, true, true},
      {"SetFullScreen", kWin, kFull, {"[kelo-agl] cannot switch to fullscreen.\n"}, false, true},
      {"MakeCurrent", kWin, kWin, {"[kelo-agl] cannot switch to context.\n"}, false, true, 1},
      // clang-format on
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.refused ? c.refused : "dead window");
    ASSERT_TRUE(Set(c.from));
    log.Clear();
    void* old = platform.context;
    // A display taken beforehand shows whether the failure gives it back.
    platform.CaptureDisplay(kDisplay);
    const std::size_t handlers = platform.handlers.size();
    int deadWindow = 0;
    if (c.refused) platform.refused = {c.refused};
    EXPECT_FALSE(Set(c.request, c.refused ? &window : &deadWindow));
    EXPECT_EQ(log.Lines(), c.lines);
    EXPECT_EQ(platform.context, old);
    EXPECT_EQ(platform.IsDisplayCaptured(kDisplay), c.capturedAfter);
    EXPECT_EQ(device.currentMode, c.modeRecorded ? c.request : c.from);
    EXPECT_EQ(platform.handlers.size(), handlers + c.handlersAdded);
    for (const auto& made : platform.contexts) {
      EXPECT_EQ(made->destroyed, made.get() != old) << "a context never made current is leaked";
    }
    device.ReleaseDevice(kDisplay);
    platform.refused.clear();
  }
}

// Each successful call installs a handler of its own: a resize starts OpenGL
// up once per handler. Only a size change of a live window does, and a
// detach detaches a windowed context only.
TEST_F(ModeSwitchingTest, WindowEventsRestartOncePerSuccessfulCall) {
  ASSERT_TRUE(Set(kWindowed));
  platform.refused = {"ExactMode"};
  EXPECT_FALSE(Set(kFullScreen));
  platform.refused.clear();
  ASSERT_TRUE(Set(kFullScreen));
  IOpenGL::windowEventHandler({kEventWindowDetach, &window, std::nullopt}, &device);
  EXPECT_EQ(Current().window, &window) << "full screen stays attached";
  ASSERT_TRUE(Set(kWindowed));
  ASSERT_TRUE(Set(kWindowed, &otherWindow));
  for (auto [target, startUps, width, height] :
       {std::tuple(&window, 3, 200, 100), std::tuple(&otherWindow, 1, 50, 40)}) {
    log.Clear();
    platform.Send({kEventWindowBoundsChanged, target, kWindowBoundsChangeSizeChanged});
    EXPECT_EQ(log.StartUps(), startUps);
    EXPECT_EQ(Viewport(), (std::vector<int>{0, 0, width, height}));
  }
  EXPECT_EQ(device.currentMode, kWindowed) << "a resize does not change the mode in use";
  int unknown = 0;
  platform.contentSizes[&unknown] = {10, 10};
  const unsigned kSized = kWindowBoundsChangeSizeChanged, kChanged = kEventWindowBoundsChanged;
  const struct {
    WindowEvent event;
    int startUps;
  } cases[] = {
      {{kChanged, &window, kSized}, 1},
      {{kEventWindowBoundsChanging, &window, kSized}, 1},
      {{kChanged, &window, kWindowBoundsChangeOriginChanged}, 0},
      {{kChanged, &window, std::nullopt}, 0},
      {{kChanged, std::nullopt, kSized}, 0},
      {{kChanged, nullptr, kSized}, 0},
      {{kChanged, &unknown, kSized}, 0},
      {{kEventWindowBoundsChanging - 1, &window, kSized}, 0},
      {{kChanged + 1, &window, kSized}, 0},
      {{kEventWindowDetach, &window, std::nullopt}, 0},
  };
  for (const auto& c : cases) {
    log.Clear();
    EXPECT_EQ(IOpenGL::windowEventHandler(c.event, &device), kEventNotHandled);
    EXPECT_EQ(log.StartUps(), c.startUps) << "case " << &c - cases;
  }
  EXPECT_EQ(Current().window, nullptr) << "the windowed context is detached";
}

TEST(DeviceInitRefreshRate, AnUnknownDesktopRateReadsAs60) {
  for (double rate : {std::nan(""), -75.0, -0.5, 5e9}) {
    ScriptedPlatform platform;
    platform.desktop =
        ModeRecord{ModeValue::Of(640), ModeValue::Of(480), ModeValue::Of(32), ModeValue::Of(rate)};
    IOpenGL device;
    ASSERT_TRUE(device.Init());
    EXPECT_EQ(device.currentMode.refreshRate, 60u) << rate;
  }
}

}  // namespace
}  // namespace Kelo
