#include <tuple>
#include <utility>
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

constexpr int kSize = 48;
const Point kWholeWindow[] = {{-kSize, -kSize}, {kSize, -kSize}, {-kSize, kSize}, {kSize, kSize}};

// The device on the real SDL platform, as a host drives it: its own window,
// the device bound to the main display, every context made by the device.
class SdlDeviceTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
    ASSERT_EQ(SDL_GL_LoadLibrary(nullptr), 0) << SDL_GetError();
    Support::RequestDeviceFramebuffer();
    window = SDL_CreateWindow("kelo", 0, 0, kSize, kSize, SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE);
    ASSERT_NE(window, nullptr) << SDL_GetError();
    DeviceDescription main{};
    unsigned long handle = 0;
    ASSERT_TRUE(device.Init() && device.GetDefaultDevice(DEV_SUBCLASS_DISPLAY, main) &&
                device.InitDevice(main, handle));
  }
  void TearDown() override {
    device.ReleaseDevice(0);
    SDL_DestroyWindow(window);
    SDL_GL_ResetAttributes();
  }
  bool Windowed(SDL_Window* target = nullptr) {
    return device.SetDisplayMode(target ? target : window, {kSize, kSize, 32, true, 60}, false);
  }
  // Lets SDL deliver what the window system sends back for the change.
  void Resize(int width, int height) {
    SDL_SetWindowSize(window, width, height);
    for (int i = 0; i < 10; ++i, SDL_Delay(10)) SDL_PumpEvents();
  }

  SDL_Window* window = nullptr;
  IOpenGL device;
  Support::LogCapture log;
};

TEST_F(SdlDeviceTest, ObjectsMadeBeforeASecondModeStillDrawAfterIt) {
  ASSERT_TRUE(Windowed()) << SDL_GetError();
  unsigned long texture = 0, shape = 0;
  const Point corners[] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
  ASSERT_TRUE(device.CreateTexture(texture, IMAGE_RGBA8888, Support::kCheckerTexels, 2, 2));
  ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1, kWholeWindow, corners));
  ASSERT_TRUE(Windowed());
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  device.SelectShape(shape);
  device.DrawShape();
  EXPECT_PIXEL_NEAR(kSize / 2, kSize / 2, (Rgba{255, 255, 255, 255}), 0);
  // Texture combining spends the texture environment on the colour, so a
  // stored textured draw shows the texture only on the program paths.
  if (Support::ExpectedColorPath() != Support::ColorPath::TextureCombine) {
    device.BeginTextureBatch(texture);
    device.DrawShape();
    device.EndTextureBatch();
    EXPECT_PIXEL_NEAR(kSize / 4, kSize / 4, (Rgba{255, 0, 0, 255}), 0);
  }
  device.ReleaseShape(shape);
  device.ReleaseTexture(texture);
}

// A size change starts OpenGL up again at the new size on the current
// context: start-up's own errors go, the host's stays for it to read. A move,
// a destroyed device and a released one start nothing.
TEST_F(SdlDeviceTest, OnlyASizeChangeRestartsOpenGLAndLeavesTheHostsErrorAlone) {
  auto* gone = new IOpenGL;
  gone->displayId = device.displayId;
  ASSERT_TRUE(gone->SetDisplayMode(window, {kSize, kSize, 32, true, 60}, false));
  delete gone;
  ASSERT_TRUE(Windowed());
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  log.Clear();
  SDL_SetWindowPosition(window, 17, 23);
  Resize(kSize, kSize);
  EXPECT_EQ(log.StartUps(), 0);
  const struct {
    GLenum error;
    void (*raise)();
  } hosts[] = {{GL_NO_ERROR, [] {}},
               {GL_INVALID_ENUM, [] { glEnable(0); }},
               {GL_INVALID_VALUE, [] { glLineWidth(-1.0f); }},
               {GL_INVALID_OPERATION, [] { glEnd(); }}};
  for (const auto& host : hosts) {
    const int width = 40 - static_cast<int>(&host - hosts) * 7;
    log.Clear();
    host.raise();
    Resize(width, 30);
    EXPECT_EQ(log.StartUps(), 1);
    std::vector<GLint> viewport(4);
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    EXPECT_EQ(viewport, (std::vector<GLint>{0, 0, width, 30}));
    const GLenum first = glGetError();
    EXPECT_EQ(std::make_pair(first, glGetError()),
              std::make_pair(host.error, static_cast<GLenum>(GL_NO_ERROR)));
  }
  EXPECT_EQ(device.currentMode.width, static_cast<unsigned>(kSize)) << "the mode stays";
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(device.ReleaseDevice(0));
    EXPECT_TRUE(SDL_GL_GetCurrentContext() == nullptr && VRAMManager == nullptr);
  }
  log.Clear();
  Resize(kSize, kSize);
  EXPECT_EQ(log.StartUps(), 0);
  ASSERT_TRUE(Windowed());
  EXPECT_EQ(log.StartUps(), 1);
}

TEST_F(SdlDeviceTest, ListsTheDisplaysAndModesSDLReports) {
  std::vector<DeviceDescription> devices;
  ASSERT_TRUE(device.EnumerateDevices(DEV_SUBCLASS_NONE, Support::CollectInto<DeviceDescription>,
                                      &devices));
  ASSERT_EQ(static_cast<int>(devices.size()), SDL_GetNumVideoDisplays());
  for (unsigned i = 0; i < devices.size(); ++i) {
    const char* name = SDL_GetDisplayName(static_cast<int>(i));
    EXPECT_STREQ(devices[i].name, name ? name : "Unknown video");
    EXPECT_EQ(devices[i].displayId, i + 1);
  }
  std::vector<DisplayMode> modes, expected;
  ASSERT_TRUE(device.EnumerateDisplayModes(devices[0], Support::CollectInto<DisplayMode>, &modes));
  for (int i = 0; i < SDL_GetNumDisplayModes(0); ++i) {
    SDL_DisplayMode mode;
    SDL_GetDisplayMode(0, i, &mode);
    // Depth is the bytes a pixel takes; 8 bits or less is never offered.
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
    std::vector<char> name;
    std::vector<ListedMode> listed;
    DisplayMode best{};
    bool exact = false;
    void* format = nullptr;
    const std::vector<bool> answers{
        seam.GraphicsDevice(display, index),
        seam.ModelName(display, name),
        seam.DisplayModes(display, listed),
        seam.BestModeWithRefreshRate(display, 32, 8, 8, 0.0, best, exact),
        seam.BestMode(display, 32, 8, 8, best),
        seam.SwitchToMode(display, window, best),
        (format = seam.ChoosePixelFormat(&index, attributes)) != nullptr};
    EXPECT_EQ(answers, std::vector<bool>(answers.size(), known));
    EXPECT_EQ(index, known ? static_cast<int>(display) - 1 : -1);
    seam.DestroyPixelFormat(format);
    seam.CaptureDisplay(display);
    EXPECT_TRUE(seam.IsDisplayCaptured(display));
    seam.ReleaseDisplay(display);
    EXPECT_FALSE(seam.IsDisplayCaptured(display));
  }
}

// The framebuffer asked for stays set for the windows the host makes later;
// the context current before stays current until the device says otherwise.
TEST_F(SdlDeviceTest, TheSeamMakesContextsAsAsked) {
  SdlPlatform seam;
  SDL_GLContext host = SDL_GL_CreateContext(window);
  ASSERT_NE(host, nullptr) << SDL_GetError();
  for (SDL_GLattr attribute : {SDL_GL_STENCIL_SIZE, SDL_GL_MULTISAMPLEBUFFERS,
                               SDL_GL_MULTISAMPLESAMPLES, SDL_GL_ACCELERATED_VISUAL}) {
    SDL_GL_SetAttribute(attribute, 0);
  }
  // clang-format off
  const int attributes[] = {AGL_RGBA, AGL_NO_RECOVERY, AGL_DOUBLEBUFFER, AGL_ACCELERATED, AGL_WINDOW,
      AGL_LEVEL, 0, AGL_DEPTH_SIZE, 0, AGL_STENCIL_SIZE, 1, AGL_SAMPLE_BUFFERS_ARB, 1,
      AGL_SAMPLES_ARB, 2, AGL_MULTISAMPLE, AGL_PIXEL_SIZE, 32, AGL_NONE};
  // clang-format on
  void* format = seam.ChoosePixelFormat(nullptr, attributes);
  int unknown = 0, accelerated = 0;
  EXPECT_EQ(seam.CreateContext(format, window, &unknown), nullptr) << "shares only the current";
  void* context = seam.CreateContext(format, window, host);
  seam.DestroyPixelFormat(format);
  ASSERT_NE(context, nullptr) << SDL_GetError();
  EXPECT_EQ(SDL_GL_GetCurrentContext(), host);
  SDL_GL_GetAttribute(SDL_GL_ACCELERATED_VISUAL, &accelerated);
  EXPECT_EQ(accelerated, 1);
  EXPECT_EQ(seam.ContextWindow(context), window);
  EXPECT_TRUE(seam.AttachToWindow(context, nullptr));
  EXPECT_FALSE(seam.MakeCurrent(context)) << "a detached context draws nowhere";
  EXPECT_TRUE(seam.AttachToWindow(context, window) && seam.MakeCurrent(context));
  EXPECT_EQ(SDL_GL_GetCurrentContext(), context);
  EXPECT_TRUE(seam.MakeCurrent(nullptr));
  EXPECT_EQ(SDL_GL_GetCurrentContext(), nullptr);
  EXPECT_FALSE(seam.MakeCurrent(host) || seam.SetFullScreen(host, window));
  EXPECT_STREQ(seam.LastError(), "not a context of this plug-in");
  seam.DestroyContext(context);
  EXPECT_FALSE(seam.OwnsContext(context) || seam.AttachToWindow(context, window));
  SDL_Window* gone = SDL_CreateWindow("gone", 0, 0, 8, 8, SDL_WINDOW_OPENGL);
  SDL_DestroyWindow(gone);
  EXPECT_FALSE(seam.IsValidWindow(gone));
  EXPECT_STREQ(seam.LastError(), "not a window of this process");
  SDL_GL_DeleteContext(host);
  SDL_Window* later = SDL_CreateWindow("later", 0, 0, 8, 8, SDL_WINDOW_OPENGL);
  SDL_GLContext probe = SDL_GL_CreateContext(later);
  GLint stencil = 0, samples = 0;
  glGetIntegerv(GL_STENCIL_BITS, &stencil);
  glGetIntegerv(GL_SAMPLES, &samples);
  EXPECT_TRUE(stencil > 0 && samples > 0) << stencil << " stencil bits, samples " << samples;
  SDL_GL_DeleteContext(probe);
  SDL_DestroyWindow(later);
}

TEST_F(SdlDeviceTest, GoesFullScreenAtTheDesktopModeAndBackToTheWindowsSize) {
  SDL_DisplayMode desktop;
  ASSERT_EQ(SDL_GetDesktopDisplayMode(0, &desktop), 0);
  const unsigned bytes = SDL_BYTESPERPIXEL(desktop.format);
  const unsigned width = static_cast<unsigned>(desktop.w),
                 height = static_cast<unsigned>(desktop.h);
  ASSERT_TRUE(Windowed());
  ASSERT_TRUE(device.SetDisplayMode(window, {width, height, bytes ? bytes * 8 : 24, false, 60}, 0));
  EXPECT_TRUE(SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN);
  ASSERT_TRUE(Windowed());
  int w = 0, h = 0;
  SDL_GetWindowSize(window, &w, &h);
  EXPECT_EQ(std::make_tuple(w, h, SDL_GetWindowFlags(window) & SDL_WINDOW_FULLSCREEN),
            std::make_tuple(kSize, kSize, 0u));
}

// The device's contexts are compatibility contexts whatever the host last
// asked SDL for, and the host's request is put back.
TEST_F(SdlDeviceTest, AHostsCoreProfileIsNotUsedAndTheFirstUnstoredDrawShowsTheColour) {
  const std::pair<SDL_GLattr, int> hosts[] = {
      {SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE},
      {SDL_GL_CONTEXT_MAJOR_VERSION, 3},
      {SDL_GL_CONTEXT_MINOR_VERSION, 3},
      {SDL_GL_CONTEXT_FLAGS, SDL_GL_CONTEXT_FORWARD_COMPATIBLE_FLAG}};
  for (auto [attribute, value] : hosts) SDL_GL_SetAttribute(attribute, value);
  ASSERT_TRUE(Windowed()) << SDL_GetError();
  device.Clear(BLACK);
  device.SetColor(LIME, 1.0f);
  device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, kWholeWindow, nullptr);
  EXPECT_PIXEL_NEAR(kSize / 2, kSize / 2, (Rgba{0, 255, 0, 255}), 0);
  for (auto [attribute, value] : hosts) {
    int now = -1;
    SDL_GL_GetAttribute(attribute, &now);
    EXPECT_EQ(now, value) << "attribute " << attribute;
  }
}

TEST_F(SdlDeviceTest, AcceptsAWindowWhoseIdIsPast65536) {
  ASSERT_TRUE(Windowed()) << "the device has seen the ids below";
  for (Uint32 id = 0; id <= 65536;) {
    SDL_Window* hidden = SDL_CreateWindow("id", 0, 0, 1, 1, SDL_WINDOW_HIDDEN);
    ASSERT_NE(hidden, nullptr) << SDL_GetError();
    id = SDL_GetWindowID(hidden);
    SDL_DestroyWindow(hidden);
  }
  SDL_Window* late = SDL_CreateWindow("late", 0, 0, kSize, kSize, SDL_WINDOW_OPENGL);
  EXPECT_TRUE(Windowed(late));
  device.ReleaseDevice(0);
  SDL_DestroyWindow(late);
}

}  // namespace
}  // namespace Kelo
