#include <GL/gl.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
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

constexpr unsigned kDisplay = 2;
const DisplayMode kWin{320, 240, 24, true, 60}, kFull{1024, 768, 32, false, 85},
    k16{800, 600, 16, false, 60};

class ModeSwitchingTest : public Support::GLTest {
protected:
  void SetUp() override {
    GLTest::SetUp();
    platform.windows = {&window};
    // The dead window has a size, so only its being dead stops a resize.
    platform.contentSizes = {{&window, {200, 100}}, {&deadWindow, {10, 10}}};
    ASSERT_TRUE(device.Init());
    device.displayId = kDisplay;
  }
  void TearDown() override {
    device.ReleaseDevice(kDisplay);
    GLTest::TearDown();
  }
  bool Set(const DisplayMode& mode) { return device.SetDisplayMode(&window, mode, true); }

  int window = 0, deadWindow = 0;
  ScriptedPlatform platform;
  IOpenGL device;
  Support::LogCapture log;
};

// The storage starts once and stays while modes change, so shapes outlive them.
TEST_F(ModeSwitchingTest, EveryTransitionMakesANewSharingContextAndDestroysTheOld) {
  device.ReleaseDevice(kDisplay);
  // clang-format off
  const struct { std::optional<DisplayMode> from; DisplayMode request; bool vsync, stencil;
                 std::map<unsigned, DisplayMode> switches; } cases[] = {
      {{}, kWin, false, true, {}}, {{}, kFull, true, true, {{kDisplay, kFull}}},
      {{}, kFull, true, false, {{kDisplay, kFull}}}, {kWin, kWin, true, true, {}},
      {kWin, kWin, false, false, {}}, {kWin, kFull, false, true, {{kDisplay, kFull}}},
      {kFull, kWin, false, true, {{kDisplay, {1280, 800, 32, false, 60}}}},
      {kFull, k16, true, true, {{kDisplay, k16}}}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << "case " << &c - cases);
    ASSERT_TRUE(!c.from || Set(*c.from));
    platform.switchedModes.clear();
    platform.refused = {c.stencil ? "" : "StencilFormat"};
    log.Clear();
    void* old = platform.context;
    OGLVRAM* storage = VRAMManager;
    ASSERT_TRUE(device.SetDisplayMode(&window, c.request, c.vsync));
    ASSERT_NE(platform.context, old);
    const bool full = !c.request.windowed;
    std::vector<int> format{AGL_RGBA, AGL_NO_RECOVERY, AGL_DOUBLEBUFFER, AGL_ACCELERATED,
                            full ? AGL_FULLSCREEN : AGL_WINDOW};
    if (c.stencil) {
      format.insert(format.end(), {AGL_LEVEL, 0, AGL_DEPTH_SIZE, 0, AGL_STENCIL_SIZE, 1,
                                   AGL_SAMPLE_BUFFERS_ARB, 1, AGL_SAMPLES_ARB, 2, AGL_MULTISAMPLE,
                                   AGL_PIXEL_SIZE, int(c.request.bitsPerPixel)});
    }
    const auto& now = ScriptedPlatform::Made(platform.context);
    const GLfloat w = c.request.width, h = c.request.height;
    EXPECT_EQ(
        std::make_tuple(now.format, now.device, now.share, now.window, now.fullScreen,
                        now.swapInterval, !old || ScriptedPlatform::Made(old).destroyed,
                        platform.formats.size(), platform.IsDisplayCaptured(kDisplay),
                        platform.switchedModes, device.currentMode, Support::State(GL_VIEWPORT, 4),
                        log.StartUps(), VRAMManager && (!storage || VRAMManager == storage)),
        std::make_tuple(format, full ? std::optional<int>(kDisplay) : std::nullopt, old,
                        static_cast<void*>(&window), full, std::optional<int>(c.vsync), true, 0u,
                        full, c.switches, c.request, std::vector<GLfloat>{0, 0, w, h}, 1, true));
    device.ReleaseDevice(kDisplay);
    EXPECT_EQ(VRAMManager, nullptr);
  }
}

// The host's context is another share group; the device's first context shares with none.
TEST_F(ModeSwitchingTest, AContextOfTheHostsIsNeitherSharedWithNorReplaced) {
  void* host = platform.MakeHostContextCurrent(&window);
  ASSERT_TRUE(Set(kWin));
  EXPECT_EQ(ScriptedPlatform::Made(platform.context).share, nullptr);
  EXPECT_FALSE(ScriptedPlatform::Made(host).destroyed);
}

// A display taken beforehand shows whether a failure gives it back; no refusal: a dead window.
TEST_F(ModeSwitchingTest, EveryFailureSaysWhyAndKeepsTheOldContextCurrent) {
  const std::string kNoFormat = "[kelo-agl] no valid PixelFormat found.\n",
                    kNoFull = "[kelo-agl] failed to initialize fullscreen context.\n",
                    kNoWin = "[kelo-agl] failed to initialze window context.\n";
  // clang-format off
  const struct { const char* refused; DisplayMode from, request; std::vector<std::string> lines;
                 bool capturedAfter, modeRecorded; std::size_t handlersAdded = 0; } cases[] = {
      {nullptr, kWin, kWin, {"[kelo-agl] invalid window handle.\n"}, true, false},
      {"BestModeWithRefreshRate", kWin, kFull, {"[kelo-agl] mode invalid.\n"}, false, false},
      {"ExactMode", kWin, kFull, {"[kelo-agl] mode 1024x768x32@85Hz not supported\n"}, false, false},
      {"SwitchToMode", kWin, kFull, {"[kelo-agl] cannot switch to mode.\n"}, false, false},
      {"GraphicsDevice", kWin, kFull, {"[kero-agl] cannot get GDHandle.\n", kNoFull}, false, false},
      {"ChoosePixelFormat", kWin, kFull, {kNoFormat, kNoFull}, false, false},
      {"CreateContext", kWin, kFull, {kNoFull}, false, false},
      {"BestMode", kFull, kWin, {"[kelo-agl] no suitable mode found.\n"}, false, false},
      {"SwitchToMode", kFull, kWin, {"[kelo-agl] cannot switch to mode\n"}, false, false},
      {"ChoosePixelFormat", kWin, kWin, {kNoFormat, kNoWin}, true, false},
      {"CreateContext", kWin, kWin, {kNoWin}, true, false},
      {"AttachToWindow", kWin, kWin, {"[kelo-agl] failed to attach context to window: [invalid drawable]\n"}, true, true},
      {"SetFullScreen", kWin, kFull, {"[kelo-agl] cannot switch to fullscreen.\n"}, false, true},
      {"MakeCurrent", kWin, kWin, {"[kelo-agl] cannot switch to context.\n"}, false, true, 1}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.refused ? c.refused : "dead window");
    ASSERT_TRUE(Set(c.from));
    log.Clear();
    void* old = platform.context;
    platform.CaptureDisplay(kDisplay);
    const std::size_t handlers = platform.handlers.size();
    platform.refused = {c.refused ? c.refused : ""};
    EXPECT_FALSE(device.SetDisplayMode(c.refused ? &window : &deadWindow, c.request, true));
    EXPECT_EQ(std::make_tuple(log.Lines(), platform.context, device.currentMode,
                              platform.IsDisplayCaptured(kDisplay), platform.handlers.size()),
              std::make_tuple(c.lines, old, c.modeRecorded ? c.request : c.from, c.capturedAfter,
                              handlers + c.handlersAdded));
    for (const auto& made : platform.contexts) EXPECT_EQ(made.destroyed, &made != old);
    device.ReleaseDevice(kDisplay);
    platform.refused.clear();
  }
}

// The display comes back to the desktop through the window made full screen, whichever window
// the next mode names; the desktop is 1280 x 800.
TEST_F(ModeSwitchingTest, OnlyTheWindowTheDeviceMadeFullScreenLeavesIt) {
  int other = 0;
  platform.windows.insert(&other);
  const DisplayMode kDesktop{1280, 800, 32, false, 60};
  // clang-format off
  const struct { DisplayMode second; std::set<void*> fullScreen; DisplayMode shown; } cases[] = {
      {kWin, {}, kDesktop}, {kFull, {&other}, kFull}, {k16, {&other}, k16}};
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::Message() << "then " << c.second);
    ASSERT_TRUE(Set(kFull));
    ASSERT_TRUE(device.SetDisplayMode(&other, c.second, true));
    EXPECT_EQ(std::make_tuple(platform.fullScreenWindows, platform.switchedModes[kDisplay],
                              platform.IsDisplayCaptured(kDisplay)),
              std::make_tuple(c.fullScreen, c.shown, !c.second.windowed));
    device.ReleaseDevice(kDisplay);
    EXPECT_EQ(std::make_tuple(platform.fullScreenWindows, platform.switchedModes[kDisplay]),
              std::make_tuple(std::set<void*>{}, kDesktop));
  }
}

// Each successful call installs a handler of its own, so a resize starts OpenGL up once per
// handler; only a size change of a live window does. Only a windowed context detaches.
TEST_F(ModeSwitchingTest, WindowEventsRestartOncePerSuccessfulCall) {
  ASSERT_TRUE(Set(kFull));
  IOpenGL::windowEventHandler({kEventWindowDetach, &window, std::nullopt}, &device);
  EXPECT_EQ(ScriptedPlatform::Made(platform.context).window, &window) << "full screen stays";
  ASSERT_TRUE(Set(kWin));
  log.Clear();
  platform.Send({kEventWindowBoundsChanged, &window, kWindowBoundsChangeSizeChanged});
  EXPECT_EQ(std::make_pair(log.StartUps(), Support::State(GL_VIEWPORT, 4)),
            std::make_pair(2, std::vector<GLfloat>{0, 0, 200, 100}));
  const unsigned kSized = kWindowBoundsChangeSizeChanged, kChanged = kEventWindowBoundsChanged;
  const std::pair<WindowEvent, int> cases[] = {
      // clang-format off
      {{kChanged, &window, kSized}, 1}, {{kEventWindowBoundsChanging, &window, kSized}, 1},
      {{kChanged, &window, kWindowBoundsChangeOriginChanged}, 0}, {{kChanged, &window, {}}, 0},
      {{kChanged, std::nullopt, kSized}, 0}, {{kChanged, nullptr, kSized}, 0},
      {{kChanged, &deadWindow, kSized}, 0}, {{kEventWindowBoundsChanging - 1, &window, kSized}, 0},
      {{kChanged + 1, &window, kSized}, 0}, {{kEventWindowDetach, &window, std::nullopt}, 0}};
  // clang-format on
  for (const auto& c : cases) {
    log.Clear();
    EXPECT_EQ(IOpenGL::windowEventHandler(c.first, &device), kEventNotHandled);
    EXPECT_EQ(log.StartUps(), c.second) << "case " << &c - cases;
  }
  EXPECT_EQ(ScriptedPlatform::Made(platform.context).window, nullptr) << "windowed detaches";
}

}  // namespace
}  // namespace Kelo
