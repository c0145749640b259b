#include <GL/gl.h>
#include <gtest/gtest.h>

#include <functional>
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

using Support::GLTest;
using Support::LogCapture;
using Support::ScriptedPlatform;
using Lines = std::vector<std::string>;

constexpr unsigned kDisplay = 2;
const DisplayMode kWindowed{320, 240, 24, true, 60};
const DisplayMode kFullScreen{1024, 768, 32, false, 85};
const DisplayMode kDesktopSizeAndDepth{1280, 800, 32, false, 60};

enum class From { NoContext, Windowed, FullScreen };

// The colour-path lines that start-up writes, which tell how often it ran.
int StartUps(const Lines& lines) {
  int count = 0;
  for (const std::string& line : lines) {
    count += line.rfind("[kelo-opengl] will use", 0) == 0 ||
             line.rfind("[kelo-opengl] no vertex shader", 0) == 0;
  }
  return count;
}

std::vector<int> Viewport() {
  std::vector<int> viewport(4);
  glGetIntegerv(GL_VIEWPORT, viewport.data());
  return viewport;
}

// The platform answers through the double; GL start-up runs on the suite's
// real context.
class ModeSwitchingTest : public GLTest {
protected:
  void SetUp() override {
    GLTest::SetUp();
    // Start-up's Apple hint is refused by Mesa.
    ExpectGLErrorLeft();
    platform.desktop =
        ModeRecord{ModeValue::Of(1280), ModeValue::Of(800), ModeValue::Of(32), ModeValue::Of(60)};
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
      const DisplayMode& mode = state == From::Windowed ? kWindowed : kFullScreen;
      ASSERT_TRUE(device.SetDisplayMode(&window, mode, true));
    }
    log.Clear();
  }
  ScriptedPlatform::Context& Current() { return platform.Made(platform.context); }

  int window = 0;
  int otherWindow = 0;
  ScriptedPlatform platform;
  IOpenGL device;
  LogCapture log;
};

TEST_F(ModeSwitchingTest, EveryTransitionMakesANewSharingContextAndDestroysTheOld) {
  const struct {
    const char* name;
    From from;
    DisplayMode request;
    bool captured;
    std::optional<DisplayMode> displaySwitchedTo;
  } cases[] = {
      {"no context to windowed", From::NoContext, kWindowed, false, std::nullopt},
      {"no context to full screen", From::NoContext, kFullScreen, true, kFullScreen},
      {"windowed to windowed", From::Windowed, kWindowed, false, std::nullopt},
      {"windowed to full screen", From::Windowed, kFullScreen, true, kFullScreen},
      {"full screen to windowed: back to the desktop's size and depth", From::FullScreen, kWindowed,
       false, kDesktopSizeAndDepth},
      {"full screen to full screen", From::FullScreen, DisplayMode{800, 600, 16, false, 60}, true,
       DisplayMode{800, 600, 16, false, 60}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Reach(c.from);
    platform.switchedModes.clear();
    void* old = platform.context;
    ASSERT_TRUE(device.SetDisplayMode(&window, c.request, false));
    EXPECT_TRUE(device.IsReady());
    ASSERT_NE(platform.context, old);
    EXPECT_EQ(Current().share, old);
    EXPECT_EQ(Current().window, &window);
    EXPECT_EQ(Current().fullScreen, !c.request.windowed);
    if (old) {
      EXPECT_TRUE(platform.Made(old).destroyed);
    }
    EXPECT_EQ(platform.IsDisplayCaptured(kDisplay), c.captured);
    if (c.displaySwitchedTo) {
      EXPECT_EQ(platform.switchedModes[kDisplay], *c.displaySwitchedTo);
    } else {
      EXPECT_TRUE(platform.switchedModes.empty());
    }
    DisplayMode inUse{};
    device.GetDisplayMode(inUse);
    EXPECT_EQ(inUse, c.request);
    EXPECT_EQ(Viewport(), (std::vector<int>{0, 0, static_cast<int>(c.request.width),
                                            static_cast<int>(c.request.height)}));
    EXPECT_EQ(StartUps(log.Lines()), 1);
    device.ReleaseDevice(kDisplay);
  }
}

TEST_F(ModeSwitchingTest, EveryFailureSaysWhyAndKeepsTheOldContextCurrent) {
  const DisplayMode kUnsupported{1024, 768, 32, false, 85};
  const struct {
    const char* name;
    From from;
    std::function<void(ScriptedPlatform&)> script;
    DisplayMode request;
    Lines lines;
    bool capturedAfter;
    bool modeRecorded;
    std::size_t handlersAdded = 0;
  } cases[] = {
      {"dead window",
       From::Windowed,
       [](ScriptedPlatform& p) { p.windows.clear(); },
       kWindowed,
       {"[kelo-agl] invalid window handle.\n"},
       true,
       false},
      {"no best mode",
       From::Windowed,
       [](ScriptedPlatform& p) { p.answers.hasBestMode = false; },
       kFullScreen,
       {"[kelo-agl] mode invalid.\n"},
       false,
       false},
      {"best mode not exact",
       From::Windowed,
       [](ScriptedPlatform& p) { p.answers.bestModeExact = false; },
       kUnsupported,
       {"[kelo-agl] mode 1024x768x32@85Hz not supported\n"},
       false,
       false},
      {"switch refused",
       From::Windowed,
       [](ScriptedPlatform& p) { p.answers.switchSucceeds = false; },
       kFullScreen,
       {"[kelo-agl] cannot switch to mode.\n"},
       false,
       false},
      {"no graphics device",
       From::Windowed,
       [](ScriptedPlatform& p) { p.answers.hasGraphicsDevice = false; },
       kFullScreen,
       {"[kero-agl] cannot get GDHandle.\n",
        "[kelo-agl] failed to initialize fullscreen context.\n"},
       false,
       false},
      {"no full-screen pixel format",
       From::Windowed,
       [](ScriptedPlatform& p) { p.answers.anyFormat = false; },
       kFullScreen,
       {"[kelo-agl] no valid PixelFormat found.\n",
        "[kelo-agl] failed to initialize fullscreen context.\n"},
       false,
       false},
      {"no full-screen context",
       From::Windowed,
       [](ScriptedPlatform& p) { p.answers.contextCreationSucceeds = false; },
       kFullScreen,
       {"[kelo-agl] failed to initialize fullscreen context.\n"},
       false,
       false},
      {"no mode near the desktop",
       From::FullScreen,
       [](ScriptedPlatform& p) { p.answers.hasModeNearDesktop = false; },
       kWindowed,
       {"[kelo-agl] no suitable mode found.\n"},
       false,
       false},
      {"desktop mode refused",
       From::FullScreen,
       [](ScriptedPlatform& p) { p.answers.switchSucceeds = false; },
       kWindowed,
       {"[kelo-agl] cannot switch to mode\n"},
       false,
       false},
      {"no windowed pixel format",
       From::Windowed,
       [](ScriptedPlatform& p) { p.answers.anyFormat = false; },
       kWindowed,
       {"[kelo-agl] no valid PixelFormat found.\n",
        "[kelo-agl] failed to initialze window context.\n"},
       true,
       false},
      {"no windowed context",
       From::Windowed,
       [](ScriptedPlatform& p) { p.answers.contextCreationSucceeds = false; },
       kWindowed,
       {"[kelo-agl] failed to initialze window context.\n"},
       true,
       false},
      {"window refuses the context",
       From::Windowed,
       [](ScriptedPlatform& p) { p.answers.attachSucceeds = false; },
       kWindowed,
       {"[kelo-agl] failed to attach context to window: [invalid drawable]\n"},
       true,
       true},
      {"full screen refused",
       From::Windowed,
       [](ScriptedPlatform& p) { p.answers.fullScreenSucceeds = false; },
       kFullScreen,
       {"[kelo-agl] cannot switch to fullscreen.\n"},
       false,
       true},
      {"new context cannot be made current",
       From::Windowed,
       [](ScriptedPlatform& p) { p.answers.makeCurrentSucceeds = false; },
       kWindowed,
       {"[kelo-agl] cannot switch to context.\n"},
       false,
       true,
       1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Reach(c.from);
    void* old = platform.context;
    ASSERT_NE(old, nullptr);
    // A display taken beforehand shows whether the failure gives it back.
    platform.CaptureDisplay(kDisplay);
    const DisplayMode before = device.currentMode;
    const std::size_t handlers = platform.handlers.size();
    c.script(platform);
    EXPECT_FALSE(device.SetDisplayMode(&window, c.request, true));
    EXPECT_EQ(log.Lines(), c.lines);
    EXPECT_EQ(platform.context, old);
    EXPECT_FALSE(platform.Made(old).destroyed);
    EXPECT_EQ(platform.IsDisplayCaptured(kDisplay), c.capturedAfter);
    EXPECT_EQ(device.currentMode, c.modeRecorded ? c.request : before);
    EXPECT_EQ(platform.handlers.size(), handlers + c.handlersAdded)
        << "the handler is installed just before the context is made current";
    for (const auto& made : platform.contexts) {
      if (made.get() != old) {
        EXPECT_TRUE(made->destroyed) << "a context that never became current is not kept";
      }
    }
    device.ReleaseDevice(kDisplay);
    platform.answers = {};
    platform.windows = {&window, &otherWindow};
  }
}

TEST_F(ModeSwitchingTest, ChoosesThePreferredPixelFormatElseTheFallBack) {
  const std::vector<int> preferred = {AGL_RGBA,
                                      AGL_NO_RECOVERY,
                                      AGL_DOUBLEBUFFER,
                                      AGL_ACCELERATED,
                                      AGL_WINDOW,
                                      AGL_LEVEL,
                                      0,
                                      AGL_DEPTH_SIZE,
                                      0,
                                      AGL_STENCIL_SIZE,
                                      1,
                                      AGL_SAMPLE_BUFFERS_ARB,
                                      1,
                                      AGL_SAMPLES_ARB,
                                      2,
                                      AGL_MULTISAMPLE,
                                      AGL_PIXEL_SIZE,
                                      24};
  std::vector<int> preferredFullScreen = preferred;
  preferredFullScreen[4] = AGL_FULLSCREEN;
  preferredFullScreen[17] = 32;
  const struct {
    const char* name;
    DisplayMode request;
    bool stencilFormats;
    std::vector<int> attributes;
    std::optional<int> device;
  } cases[] = {
      {"windowed", kWindowed, true, preferred, std::nullopt},
      {"full screen on the display's device", kFullScreen, true, preferredFullScreen, kDisplay},
      {"windowed fall-back",
       kWindowed,
       false,
       {AGL_RGBA, AGL_NO_RECOVERY, AGL_DOUBLEBUFFER, AGL_ACCELERATED, AGL_WINDOW},
       std::nullopt},
      {"full-screen fall-back",
       kFullScreen,
       false,
       {AGL_RGBA, AGL_NO_RECOVERY, AGL_DOUBLEBUFFER, AGL_ACCELERATED, AGL_FULLSCREEN},
       kDisplay},
      {"windowed again", kWindowed, true, preferred, std::nullopt},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    platform.answers.stencilFormats = c.stencilFormats;
    ASSERT_TRUE(device.SetDisplayMode(&window, c.request, false));
    EXPECT_EQ(Current().format.attributes, c.attributes);
    EXPECT_EQ(Current().format.device, c.device);
    EXPECT_TRUE(platform.formats.empty()) << "every format is freed";
  }
}

TEST_F(ModeSwitchingTest, SetsTheSwapIntervalFromVsync) {
  for (bool vsync : {false, true, false}) {
    ASSERT_TRUE(device.SetDisplayMode(&window, kWindowed, vsync));
    EXPECT_EQ(Current().swapInterval, vsync ? 1 : 0);
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
    EXPECT_EQ(StartUps(log.Lines()), c.startUps) << "one start-up a successful call";
    EXPECT_EQ(Viewport(), c.viewport);
    EXPECT_EQ(device.currentMode, kWindowed) << "a resize does not change the mode in use";
  }
}

TEST_F(ModeSwitchingTest, OnlySizeChangesOfALiveWindowRestart) {
  ASSERT_TRUE(device.SetDisplayMode(&window, kWindowed, false));
  int unknown = 0;
  const struct {
    const char* name;
    WindowEvent event;
    bool startsUp;
  } cases[] = {
      {"size changed", {kEventWindowBoundsChanged, &window, kWindowBoundsChangeSizeChanged}, true},
      {"size changing",
       {kEventWindowBoundsChanging, &window, kWindowBoundsChangeSizeChanged},
       true},
      {"moved", {kEventWindowBoundsChanged, &window, kWindowBoundsChangeOriginChanged}, false},
      {"no attributes", {kEventWindowBoundsChanged, &window, std::nullopt}, false},
      {"no window",
       {kEventWindowBoundsChanged, std::nullopt, kWindowBoundsChangeSizeChanged},
       false},
      {"null window", {kEventWindowBoundsChanged, nullptr, kWindowBoundsChangeSizeChanged}, false},
      {"unknown window",
       {kEventWindowBoundsChanged, &unknown, kWindowBoundsChangeSizeChanged},
       false},
      {"an earlier kind", {25, &window, kWindowBoundsChangeSizeChanged}, false},
      {"a later kind", {28, &window, kWindowBoundsChangeSizeChanged}, false},
  };
  for (const auto& c : cases) {
    log.Clear();
    EXPECT_EQ(IOpenGL::windowEventHandler(c.event, &device), kEventNotHandled) << c.name;
    EXPECT_EQ(StartUps(log.Lines()), c.startsUp ? 1 : 0) << c.name;
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

TEST_F(ModeSwitchingTest, ADestroyedDeviceLeavesNoHandlerBehind) {
  {
    IOpenGL other;
    other.Init();
    ASSERT_TRUE(other.SetDisplayMode(&window, kWindowed, false));
    ASSERT_TRUE(device.SetDisplayMode(&window, kWindowed, false));
    ASSERT_EQ(platform.handlers.size(), 2u);
  }
  ASSERT_EQ(platform.handlers.size(), 1u);
  EXPECT_EQ(platform.handlers[0].user, &device);
}

}  // namespace
}  // namespace Kelo

namespace Kelo {
namespace {

TEST_F(ModeSwitchingTest, StartsTheVertexStorageOnceAndKeepsIt) {
  ASSERT_EQ(VRAMManager, nullptr);
  EXPECT_FALSE(device.SetDisplayMode(nullptr, kWindowed, false));
  EXPECT_EQ(VRAMManager, nullptr) << "a failed call starts nothing";
  ASSERT_TRUE(device.SetDisplayMode(&window, kWindowed, false));
  OGLVRAM* storage = VRAMManager;
  ASSERT_NE(storage, nullptr);
  EXPECT_EQ(storage->bufferCount, 1u);
  ASSERT_TRUE(device.SetDisplayMode(&window, kFullScreen, false));
  EXPECT_EQ(VRAMManager, storage) << "shapes survive a mode change";
  device.ReleaseDevice(kDisplay);
  EXPECT_EQ(VRAMManager, nullptr);
}

}  // namespace
}  // namespace Kelo
