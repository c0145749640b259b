#include <GL/gl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
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

enum class From { NoContext, Windowed, FullScreen };

std::vector<int> Viewport() {
  std::vector<int> viewport(4);
  glGetIntegerv(GL_VIEWPORT, viewport.data());
  return viewport;
}

// The value that follows `token` in a chosen attribute list, or -1.
int ValueOf(const std::vector<int>& attributes, int token) {
  const auto found = std::find(attributes.begin(), attributes.end(), token);
  return found + 1 < attributes.end() ? found[1] : -1;
}

// The platform answers through the double; GL start-up runs on the suite's
// real context.
class ModeSwitchingTest : public Support::GLTest {
protected:
  void SetUp() override {
    GLTest::SetUp();
    platform.windows = {&window, &otherWindow};
    platform.contentSizes[&window] = {200, 100};
    ASSERT_TRUE(device.Init());
    DeviceDescription description{};
    description.displayId = kDisplay;
    unsigned long handle = 0;
    device.InitDevice(description, handle);
  }
  void TearDown() override {
    device.ReleaseDevice(kDisplay);
    GLTest::TearDown();
  }
  // Brings the device into a state with a successful call; the log starts
  // empty afterwards.
  void Reach(From state) {
    if (state != From::NoContext) {
      ASSERT_TRUE(
          device.SetDisplayMode(&window, state == From::Windowed ? kWindowed : kFullScreen, true));
    }
    log.Clear();
  }
  ScriptedPlatform::Context& Current() { return ScriptedPlatform::Made(platform.context); }

  int window = 0;
  int otherWindow = 0;
  ScriptedPlatform platform;
  IOpenGL device;
  Support::LogCapture log;
};

TEST_F(ModeSwitchingTest, EveryTransitionMakesANewSharingContextAndDestroysTheOld) {
  const DisplayMode k16Bits{800, 600, 16, false, 60};
  // clang-format off
  const struct {
    const char* name;
    From from;
    DisplayMode request;
    bool vsync;
    std::optional<DisplayMode> displaySwitchedTo;
  } cases[] = {
      {"no context to windowed", From::NoContext, kWindowed, false, std::nullopt},
      {"no context to full screen", From::NoContext, kFullScreen, true, kFullScreen},
      {"windowed to windowed", From::Windowed, kWindowed, true, std::nullopt},
      {"windowed to full screen", From::Windowed, kFullScreen, false, kFullScreen},
      {"full screen to windowed: back to the desktop's size and depth", From::FullScreen, kWindowed,
       false, DisplayMode{1280, 800, 32, false, 60}},
      {"full screen to full screen", From::FullScreen, k16Bits, true, k16Bits},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Reach(c.from);
    platform.switchedModes.clear();
    void* old = platform.context;
    ASSERT_TRUE(device.SetDisplayMode(&window, c.request, c.vsync));
    EXPECT_TRUE(device.IsReady());
    ASSERT_NE(platform.context, old);
    EXPECT_EQ(Current().share, old);
    EXPECT_EQ(Current().window, &window);
    EXPECT_EQ(Current().fullScreen, !c.request.windowed);
    EXPECT_EQ(Current().swapInterval, c.vsync ? 1 : 0);
    EXPECT_TRUE(!old || ScriptedPlatform::Made(old).destroyed);
    EXPECT_EQ(platform.IsDisplayCaptured(kDisplay), !c.request.windowed);
    EXPECT_EQ(platform.switchedModes.count(kDisplay)
                  ? std::optional(platform.switchedModes[kDisplay])
                  : std::nullopt,
              c.displaySwitchedTo);
    DisplayMode inUse{};
    device.GetDisplayMode(inUse);
    EXPECT_EQ(inUse, c.request);
    EXPECT_EQ(Viewport(), (std::vector<int>{0, 0, static_cast<int>(c.request.width),
                                            static_cast<int>(c.request.height)}));
    EXPECT_EQ(log.StartUps(), 1);
    // The preferred format: one stencil bit for clipping, two samples, the
    // requested depth, on the display's device when full screen.
    const auto& format = Current().format;
    EXPECT_EQ(format.attributes[4], c.request.windowed ? AGL_WINDOW : AGL_FULLSCREEN);
    EXPECT_EQ(ValueOf(format.attributes, AGL_STENCIL_SIZE), 1);
    EXPECT_EQ(ValueOf(format.attributes, AGL_SAMPLES_ARB), 2);
    EXPECT_EQ(ValueOf(format.attributes, AGL_PIXEL_SIZE), static_cast<int>(c.request.bitsPerPixel));
    EXPECT_EQ(format.device, c.request.windowed ? std::nullopt : std::optional<int>(kDisplay));
    EXPECT_TRUE(platform.formats.empty()) << "every format is freed";
    device.ReleaseDevice(kDisplay);
  }
}

TEST_F(ModeSwitchingTest, WithoutTheStencilFormatFallsBackToAnyAcceleratedOne) {
  platform.answers.stencilFormats = false;
  for (const DisplayMode& mode : {kFullScreen, kWindowed}) {
    ASSERT_TRUE(device.SetDisplayMode(&window, mode, false));
    EXPECT_EQ(Current().format.attributes,
              (std::vector<int>{AGL_RGBA, AGL_NO_RECOVERY, AGL_DOUBLEBUFFER, AGL_ACCELERATED,
                                mode.windowed ? AGL_WINDOW : AGL_FULLSCREEN}));
  }
}

TEST_F(ModeSwitchingTest, EveryFailureSaysWhyAndKeepsTheOldContextCurrent) {
  using Answers = ScriptedPlatform::Answers;
  const DisplayMode kUnsupported{1024, 768, 32, false, 85};
  const std::string kNoFormat = "[kelo-agl] no valid PixelFormat found.\n";
  const std::string kNoFullScreen = "[kelo-agl] failed to initialize fullscreen context.\n";
  const std::string kNoWindowed = "[kelo-agl] failed to initialze window context.\n";
  // clang-format off
  const struct {
    const char* name;
    From from;
    bool Answers::*refused;  // none: the window is dead
    DisplayMode request;
    Lines lines;
    bool capturedAfter, modeRecorded;
    std::size_t handlersAdded = 0;
  } cases[] = {
      {"dead window", From::Windowed, nullptr, kWindowed,
       {"[kelo-agl] invalid window handle.\n"}, true, false},
      {"no best mode", From::Windowed, &Answers::hasBestMode, kFullScreen,
       {"[kelo-agl] mode invalid.\n"}, false, false},
      {"best mode not exact", From::Windowed, &Answers::bestModeExact, kUnsupported,
       {"[kelo-agl] mode 1024x768x32@85Hz not supported\n"}, false, false},
      {"switch refused", From::Windowed, &Answers::switchSucceeds, kFullScreen,
       {"[kelo-agl] cannot switch to mode.\n"}, false, false},
      {"no graphics device", From::Windowed, &Answers::hasGraphicsDevice, kFullScreen,
       {"[kero-agl] cannot get GDHandle.\n", kNoFullScreen}, false, false},
      {"no full-screen pixel format", From::Windowed, &Answers::anyFormat, kFullScreen,
       {kNoFormat, kNoFullScreen}, false, false},
      {"no full-screen context", From::Windowed, &Answers::contextCreationSucceeds, kFullScreen,
       {kNoFullScreen}, false, false},
      {"no mode near the desktop", From::FullScreen, &Answers::hasModeNearDesktop, kWindowed,
       {"[kelo-agl] no suitable mode found.\n"}, false, false},
      {"desktop mode refused", From::FullScreen, &Answers::switchSucceeds, kWindowed,
       {"[kelo-agl] cannot switch to mode\n"}, false, false},
      {"no windowed pixel format", From::Windowed, &Answers::anyFormat, kWindowed,
       {kNoFormat, kNoWindowed}, true, false},
      {"no windowed context", From::Windowed, &Answers::contextCreationSucceeds, kWindowed,
       {kNoWindowed}, true, false},
      {"window refuses the context", From::Windowed, &Answers::attachSucceeds, kWindowed,
       {"[kelo-agl] failed to attach context to window: [invalid drawable]\n"}, true, true},
      {"full screen refused", From::Windowed, &Answers::fullScreenSucceeds, kFullScreen,
       {"[kelo-agl] cannot switch to fullscreen.\n"}, false, true},
      {"new context cannot be made current", From::Windowed, &Answers::makeCurrentSucceeds,
       kWindowed, {"[kelo-agl] cannot switch to context.\n"}, false, true, 1},
  };
  // clang-format on
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Reach(c.from);
    void* old = platform.context;
    ASSERT_NE(old, nullptr);
    // A display taken beforehand shows whether the failure gives it back.
    platform.CaptureDisplay(kDisplay);
    const DisplayMode before = device.currentMode;
    const std::size_t handlers = platform.handlers.size();
    int deadWindow = 0;
    if (c.refused) platform.answers.*c.refused = false;
    EXPECT_FALSE(device.SetDisplayMode(c.refused ? &window : &deadWindow, c.request, true));
    EXPECT_EQ(log.Lines(), c.lines);
    EXPECT_EQ(platform.context, old);
    EXPECT_FALSE(ScriptedPlatform::Made(old).destroyed);
    EXPECT_EQ(platform.IsDisplayCaptured(kDisplay), c.capturedAfter);
    EXPECT_EQ(device.currentMode, c.modeRecorded ? c.request : before);
    EXPECT_EQ(platform.handlers.size(), handlers + c.handlersAdded)
        << "the handler is installed just before the context is made current";
    for (const auto& made : platform.contexts) {
      EXPECT_TRUE(made.get() == old || made->destroyed) << "a context never made current";
    }
    device.ReleaseDevice(kDisplay);
    platform.answers = {};
  }
}

TEST_F(ModeSwitchingTest, EachSuccessfulCallAddsAHandlerThatRestartsOnResize) {
  ASSERT_TRUE(device.SetDisplayMode(&window, kWindowed, false));
  platform.answers.bestModeExact = false;
  EXPECT_FALSE(device.SetDisplayMode(&window, kFullScreen, false));
  platform.answers.bestModeExact = true;
  ASSERT_TRUE(device.SetDisplayMode(&window, kFullScreen, false));
  ASSERT_TRUE(device.SetDisplayMode(&window, kWindowed, false));
  ASSERT_TRUE(device.SetDisplayMode(&otherWindow, kWindowed, false));
  platform.contentSizes[&otherWindow] = {50, 40};
  const struct {
    void* window;
    int startUps;
    std::vector<int> viewport;
  } cases[] = {{&window, 3, {0, 0, 200, 100}}, {&otherWindow, 1, {0, 0, 50, 40}}};
  for (const auto& c : cases) {
    log.Clear();
    platform.Send(c.window, {kEventWindowBoundsChanged, c.window, kWindowBoundsChangeSizeChanged});
    EXPECT_EQ(log.StartUps(), c.startUps) << "one start-up a successful call";
    EXPECT_EQ(Viewport(), c.viewport);
    EXPECT_EQ(device.currentMode, kWindowed) << "a resize does not change the mode in use";
  }
}

TEST_F(ModeSwitchingTest, OnlySizeChangesOfALiveWindowRestart) {
  ASSERT_TRUE(device.SetDisplayMode(&window, kWindowed, false));
  int unknown = 0;
  platform.contentSizes[&unknown] = {10, 10};
  const unsigned kSized = kWindowBoundsChangeSizeChanged;
  // clang-format off
  const struct {
    const char* name;
    WindowEvent event;
    bool startsUp;
  } cases[] = {
      {"size changed", {kEventWindowBoundsChanged, &window, kSized}, true},
      {"size changing", {kEventWindowBoundsChanging, &window, kSized}, true},
      {"moved", {kEventWindowBoundsChanged, &window, kWindowBoundsChangeOriginChanged}, false},
      {"no attributes", {kEventWindowBoundsChanged, &window, std::nullopt}, false},
      {"no window", {kEventWindowBoundsChanged, std::nullopt, kSized}, false},
      {"null window", {kEventWindowBoundsChanged, nullptr, kSized}, false},
      {"unknown window", {kEventWindowBoundsChanged, &unknown, kSized}, false},
      {"an earlier kind", {25, &window, kSized}, false},
      {"a later kind", {28, &window, kSized}, false},
  };
  // clang-format on
  for (const auto& c : cases) {
    log.Clear();
    EXPECT_EQ(IOpenGL::windowEventHandler(c.event, &device), kEventNotHandled) << c.name;
    EXPECT_EQ(log.StartUps(), c.startsUp ? 1 : 0) << c.name;
  }
}

TEST_F(ModeSwitchingTest, DetachEventDetachesOnlyAWindowedContext) {
  for (const DisplayMode& mode : {kFullScreen, kWindowed}) {
    ASSERT_TRUE(device.SetDisplayMode(&window, mode, false));
    EXPECT_EQ(IOpenGL::windowEventHandler({kEventWindowDetach, &window, std::nullopt}, &device),
              kEventNotHandled);
    EXPECT_EQ(Current().window, mode.windowed ? nullptr : &window) << mode;
  }
}

TEST_F(ModeSwitchingTest, StartsTheVertexStorageOnceAndKeepsIt) {
  ASSERT_EQ(VRAMManager, nullptr);
  EXPECT_FALSE(device.SetDisplayMode(nullptr, kWindowed, false));
  EXPECT_EQ(VRAMManager, nullptr) << "a failed call starts nothing";
  ASSERT_TRUE(device.SetDisplayMode(&window, kWindowed, false));
  OGLVRAM* storage = VRAMManager;
  ASSERT_NE(storage, nullptr);
  const Lines said =
      Support::ExpectedStorage() == "ram"
          ? Lines{"[kelo-opengl] Will use vertex arrays ", " with no storage optimization.\n"}
          : Lines{"[kelo-opengl] Will use [GL_ARB_vertex_buffer_object]\n"};
  EXPECT_EQ(Lines(log.Lines().end() - said.size(), log.Lines().end()), said);
  EXPECT_EQ(storage->bufferCount, 1u);
  ASSERT_TRUE(device.SetDisplayMode(&window, kFullScreen, false));
  EXPECT_EQ(VRAMManager, storage) << "shapes survive a mode change";
  device.ReleaseDevice(kDisplay);
  EXPECT_EQ(VRAMManager, nullptr);
}

}  // namespace
}  // namespace Kelo
