#include <GL/gl.h>
#include <GL/glext.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "kelo/colors.h"
#include "platform/sdl/sdl_platform.h"
#include "shapes/vram.h"
#include "tests/support/enumerated.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/log_capture.h"
#include "tests/support/pixels.h"
#include "video/gl_errors.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

constexpr int kSize = 48;
const Point kWholeWindow[] = {{-kSize, -kSize}, {kSize, -kSize}, {-kSize, kSize}, {kSize, kSize}};

bool Windowed(IOpenGL& device, SDL_Window* window) {
  return device.SetDisplayMode(window, {kSize, kSize, 32, true, 60}, false);
}

SDL_Window* NewWindow() { return SDL_CreateWindow("kelo", 0, 0, kSize, kSize, SDL_WINDOW_OPENGL); }

::testing::AssertionResult Drawn(IOpenGL& device, unsigned long shape, Support::Rgba colour) {
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  device.SelectShape(shape);
  device.DrawShape();
  return Support::PixelNear(kSize / 2, kSize / 2, colour, 0);
}

// Games re-create their window to change resolution; SDL leaves nothing current once it is gone.
// A shape and a texture made on `window` are used on the one made in its place, where a new
// shape draws too and the old context is gone.
bool KeepsObjectsOnAWindowMadeAnew(IOpenGL& device, SDL_Window*& window) {
  unsigned long shape = 0, texture = 0, later = 0;
  if (!Windowed(device, window) ||
      !device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1, kWholeWindow, nullptr) ||
      !device.CreateTexture(texture, IMAGE_RGBA8888, Support::kCheckerTexels, 2, 2)) {
    return false;
  }
  void* first = SDL_GL_GetCurrentContext();
  SDL_DestroyWindow(window);
  window = NewWindow();
  const bool kept =
      Windowed(device, window) && !CurrentPlatform().OwnsContext(first) &&
      Drawn(device, shape, {255, 255, 255, 255}) && device.GetWidthTexture(texture) == 2 &&
      device.CreateShape(later, SHAPE_TRIANGLE_STRIP, 4, RED, 1, kWholeWindow, nullptr) &&
      Drawn(device, later, {255, 0, 0, 255}) && glGetError() == GL_NO_ERROR;
  device.ReleaseShape(shape);
  device.ReleaseShape(later);
  device.ReleaseTexture(texture);
  return kept;
}

class SdlDeviceTest : public ::testing::Test {
protected:
  void SetUp() override {
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
    ASSERT_EQ(SDL_GL_LoadLibrary(nullptr), 0) << SDL_GetError();
    Support::RequestDeviceFramebuffer();
    window = SDL_CreateWindow("kelo", 0, 0, kSize, kSize, SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE);
    ASSERT_NE(window, nullptr) << SDL_GetError();
    ASSERT_TRUE(device.Init());
    device.displayId = 1;
  }
  void TearDown() override {
    device.ReleaseDevice(0);
    SDL_DestroyWindow(window);
    SDL_GL_ResetAttributes();
  }
  // A compositor takes a window in and out of full screen in its own time, once the window has
  // shown a frame; SDL reports the change once it has been told. The flags of `mask` once they
  // are `expected`, or after half a second of frames.
  Uint32 SettledFlags(Uint32 mask, Uint32 expected) {
    for (int i = 0; i < 50 && (SDL_GetWindowFlags(window) & mask) != expected; ++i) {
      device.EndRender();
      SDL_PumpEvents();
      SDL_Delay(10);
    }
    return SDL_GetWindowFlags(window) & mask;
  }
  void Resize(int width, int height) {
    SDL_SetWindowSize(window, width, height);
    for (int i = 0; i < 10; ++i, SDL_Delay(10)) SDL_PumpEvents();
  }

  SDL_Window* window = nullptr;
  IOpenGL device;
  Support::LogCapture log;
};

// A released and destroyed device's watch, a move and a released device start nothing; a resize
// starts OpenGL at the new size once per SetDisplayMode, clearing start-up's errors but keeping the
// host's.
TEST_F(SdlDeviceTest, KeepsObjectsAndTheHostsStateAcrossModesAndResizes) {
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
  SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
  auto* gone = new IOpenGL;
  ASSERT_TRUE(gone->Init());
  gone->displayId = 1;
  ASSERT_TRUE(Windowed(*gone, window));
  gone->ReleaseDevice(0);
  delete gone;
  ASSERT_TRUE(Windowed(device, window)) << SDL_GetError();
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  device.SetColor(LIME, 1.0f);
  device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, kWholeWindow, nullptr);
  EXPECT_PIXEL_NEAR(kSize / 2, kSize / 2, (Support::Rgba{0, 255, 0, 255}), 0);
  int profile = -1;
  SDL_GL_GetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, &profile);
  EXPECT_EQ(profile, SDL_GL_CONTEXT_PROFILE_CORE) << "the host's request is put back";
  unsigned long shape = 0;
  ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1, kWholeWindow, nullptr));
  ASSERT_TRUE(Windowed(device, window));
  EXPECT_TRUE(Drawn(device, shape, {255, 255, 255, 255}));
  device.ReleaseShape(shape);
  log.Clear();
  SDL_SetWindowPosition(window, 17, 23);
  Resize(kSize, kSize);
  int width = 47;
  for (GLenum error : {GL_NO_ERROR, GL_INVALID_ENUM, GL_INVALID_VALUE, GL_INVALID_OPERATION}) {
    width -= 7;
    RaiseGLError(error);
    Resize(width, 30);
    std::vector<GLint> seen(4);
    glGetIntegerv(GL_VIEWPORT, seen.data());
    const GLenum first = glGetError();
    seen.insert(seen.end(), {log.StartUps(), static_cast<GLint>(first), glGetError() != 0});
    EXPECT_EQ(seen, (std::vector<GLint>{0, 0, width, 30, (47 - width) / 7 * 2,
                                        static_cast<GLint>(error), false}));
  }
  EXPECT_TRUE(device.ReleaseDevice(0) && SDL_GL_GetCurrentContext() == nullptr &&
              VRAMManager == nullptr);
  log.Clear();
  Resize(kSize, kSize);
  ASSERT_TRUE(Windowed(device, window));
  EXPECT_EQ(log.StartUps(), 1);
}

// Xvfb lists its screen's size at 0 Hz, a rate any request fills in; the offscreen driver lists
// one all-zero mode, which is no mode at all. SDL finds a closest mode for the refused request
// on both, so the refusal is the inexact match's.
TEST_F(SdlDeviceTest, TakesOnlyAListedModeFullScreen) {
  SDL_DisplayMode desktop;
  ASSERT_EQ(SDL_GetDesktopDisplayMode(0, &desktop), 0);
  const bool listsDesktop = SDL_GetCurrentVideoDriver() != std::string("offscreen");
  const DisplayMode desktopMode{static_cast<unsigned>(desktop.w), static_cast<unsigned>(desktop.h),
                                SDL_BYTESPERPIXEL(desktop.format) * 8u, false, 60};
  const struct {
    DisplayMode mode;
    bool taken;
  } cases[] = {{{1000, 567, 32, false, 85}, false}, {desktopMode, listsDesktop}};
  for (const auto& c : cases) {
    ASSERT_TRUE(Windowed(device, window));
    log.Clear();
    EXPECT_EQ(device.SetDisplayMode(window, c.mode, false), c.taken) << c.mode;
    if (c.taken)
      EXPECT_EQ(log.StartUps(), 1);
    else
      EXPECT_EQ(log.Lines(), Support::NotSupported(c.mode));
    const Uint32 fullScreen = c.taken ? SDL_WINDOW_FULLSCREEN : 0;
    EXPECT_EQ(SettledFlags(SDL_WINDOW_FULLSCREEN, fullScreen), fullScreen) << c.mode;
  }
}

// A host's borderless full screen is its own: only a full screen the device made is undone.
TEST_F(SdlDeviceTest, AWindowedModeKeepsTheHostsOwnFullScreen) {
  const Uint32 kDesktop = SDL_WINDOW_FULLSCREEN_DESKTOP;
  ASSERT_TRUE(Windowed(device, window));
  ASSERT_EQ(SDL_SetWindowFullscreen(window, kDesktop), 0) << SDL_GetError();
  ASSERT_EQ(SettledFlags(kDesktop, kDesktop), kDesktop);
  ASSERT_TRUE(Windowed(device, window));
  EXPECT_EQ(SettledFlags(kDesktop, 0), kDesktop);
  SDL_SetWindowFullscreen(window, 0);
}

TEST_F(SdlDeviceTest, AnswersForTheDisplaysSDLHasAndMakesContextsAsAsked) {
  std::vector<DeviceDescription> devices;
  ASSERT_TRUE(device.EnumerateDevices(DEV_SUBCLASS_NONE, Support::CollectInto<DeviceDescription>,
                                      &devices));
  const unsigned count = static_cast<unsigned>(SDL_GetNumVideoDisplays());  // ids count from 1
  ASSERT_EQ(devices.size(), count);
  for (unsigned i = 0; i < count; ++i) EXPECT_EQ(devices[i].displayId, i + 1);
  std::vector<DisplayMode> modes, expected;
  ASSERT_TRUE(device.EnumerateDisplayModes(devices[0], Support::CollectInto<DisplayMode>, &modes));
  for (int i = 0; i < SDL_GetNumDisplayModes(0); ++i) {
    SDL_DisplayMode mode;
    SDL_GetDisplayMode(0, i, &mode);
    const unsigned bits = SDL_BYTESPERPIXEL(mode.format) * 8u;
    if (bits > 8)
      expected.push_back({static_cast<unsigned>(mode.w), static_cast<unsigned>(mode.h), bits, false,
                          mode.refresh_rate > 0 ? static_cast<unsigned>(mode.refresh_rate) : 60u});
  }
  EXPECT_EQ(modes, expected);
  SdlPlatform seam;
  for (unsigned display : {0u, 1u, count, count + 1}) {
    const bool known = display >= 1 && display <= count;
    int index = -2;
    std::vector<char> name;
    EXPECT_EQ(std::vector<bool>({seam.GraphicsDevice(display, index), seam.ModelName(display, name),
                                 index == (known ? static_cast<int>(display) - 1 : -1)}),
              std::vector<bool>({known, known, true}));
  }
  const int attributes[] = {AGL_RGBA, AGL_NONE};
  for (int index : {-1, 0, static_cast<int>(count)}) {
    void* format = seam.ChoosePixelFormat(&index, attributes);
    EXPECT_EQ(format != nullptr, index >= 0 && index < static_cast<int>(count)) << index;
    seam.DestroyPixelFormat(format);
  }
  // The device takes a window id past 65536 (slow to reach under X). The seam shares only with a
  // context made there, and leaves current what was.
  ASSERT_TRUE(Windowed(device, window)) << "the device has seen the ids below";
  for (Uint32 id = 0; id <= 65536 && SDL_GetCurrentVideoDriver() == std::string("offscreen");) {
    SDL_Window* hidden = SDL_CreateWindow("id", 0, 0, 1, 1, SDL_WINDOW_HIDDEN);
    id = SDL_GetWindowID(hidden);
    SDL_DestroyWindow(hidden);
  }
  SDL_Window* later = SDL_CreateWindow("later", 0, 0, kSize, kSize, SDL_WINDOW_OPENGL);
  ASSERT_TRUE(Windowed(device, later)) << "id " << SDL_GetWindowID(later);
  SDL_GLContext host = SDL_GL_CreateContext(later);
  void* format = seam.ChoosePixelFormat(nullptr, attributes);
  EXPECT_EQ(seam.CreateContext(format, later, host), nullptr) << "shares only with its own";
  void* context = seam.CreateContext(format, later, nullptr);
  void* sharing = context ? seam.CreateContext(format, later, context) : nullptr;
  seam.DestroyPixelFormat(format);
  ASSERT_TRUE(context && sharing) << SDL_GetError();
  EXPECT_EQ(SDL_GL_GetCurrentContext(), host);
  EXPECT_TRUE(seam.MakeCurrent(context) && SDL_GL_GetCurrentContext() == context);
  EXPECT_TRUE(seam.MakeCurrent(nullptr) && SDL_GL_GetCurrentContext() == nullptr);
  EXPECT_FALSE(seam.MakeCurrent(host));
  EXPECT_STREQ(seam.LastError(), "not a context of this plug-in");
  seam.DestroyContext(sharing);
  seam.DestroyContext(context);
  SDL_GL_DeleteContext(host);
  device.ReleaseDevice(0);
  SDL_DestroyWindow(later);
}

TEST_F(SdlDeviceTest, AWindowMadeAnewKeepsTheObjectsMadeBeforeAndReplacesTheOldContext) {
  EXPECT_TRUE(KeepsObjectsOnAWindowMadeAnew(device, window));
}

TEST_F(SdlDeviceTest, ReleaseDeviceDestroysItsContextAfterItsWindowIsGone) {
  for (int i = 0; i < 20; ++i) {
    SDL_Window* made = NewWindow();
    ASSERT_TRUE(Windowed(device, made));
    void* context = SDL_GL_GetCurrentContext();
    SDL_DestroyWindow(made);
    ASSERT_TRUE(device.ReleaseDevice(0));
    EXPECT_FALSE(CurrentPlatform().OwnsContext(context)) << "window " << i;
  }
}

// The host's own context shares nothing with the device's, so its first buffer names are those
// of the device's storage too.
TEST_F(SdlDeviceTest, ReleaseDeviceLeavesTheHostsContextCurrentWithItsObjects) {
  ASSERT_TRUE(Windowed(device, window));
  void* own = SDL_GL_GetCurrentContext();
  SDL_GLContext host = SDL_GL_CreateContext(window);
  ASSERT_NE(host, nullptr) << SDL_GetError();
  const auto genBuffers =
      reinterpret_cast<PFNGLGENBUFFERSPROC>(SDL_GL_GetProcAddress("glGenBuffers"));
  const auto isBuffer = reinterpret_cast<PFNGLISBUFFERPROC>(SDL_GL_GetProcAddress("glIsBuffer"));
  const auto bindBuffer =
      reinterpret_cast<PFNGLBINDBUFFERPROC>(SDL_GL_GetProcAddress("glBindBuffer"));
  GLuint buffers[8] = {};
  genBuffers(8, buffers);
  for (GLuint buffer : buffers) bindBuffer(GL_ARRAY_BUFFER, buffer);
  device.ReleaseDevice(0);
  ASSERT_EQ(SDL_GL_GetCurrentContext(), host);
  EXPECT_FALSE(CurrentPlatform().OwnsContext(own));
  for (GLuint buffer : buffers) EXPECT_TRUE(isBuffer(buffer)) << "buffer " << buffer;
  SDL_GL_DeleteContext(host);
}

// Kept handles meet the storage that replaced theirs: a shape of the same size lies where theirs
// lay. They draw and clip nothing, and their release gives nothing of it back.
TEST_F(SdlDeviceTest, AShapeKeptPastItsStorageIsSkipped) {
  IOpenGL other;
  ASSERT_TRUE(other.Init());
  other.displayId = 1;
  for (bool byAnother : {false, true}) {
    SCOPED_TRACE(byAnother ? "another device's ReleaseDevice" : "ReleaseDevice");
    unsigned long kept = 0, later = 0, next = 0;
    ASSERT_TRUE(Windowed(device, window));
    ASSERT_TRUE(device.CreateShape(kept, SHAPE_TRIANGLE_STRIP, 4, RED, 1, kWholeWindow, nullptr));
    ASSERT_TRUE(!byAnother || Windowed(other, window));
    (byAnother ? other : device).ReleaseDevice(0);
    ASSERT_TRUE(Windowed(device, window));
    ASSERT_TRUE(device.CreateShape(later, SHAPE_TRIANGLE_STRIP, 4, BLUE, 1, kWholeWindow, nullptr));
    EXPECT_TRUE(Drawn(device, kept, {0, 0, 0, 255}));
    device.ClipShape();
    EXPECT_FALSE(glIsEnabled(GL_STENCIL_TEST));
    EXPECT_PIXEL_NEAR(kSize / 2, kSize / 2, (Support::Rgba{0, 0, 0, 255}), 0);
    EXPECT_TRUE(device.ReleaseShape(kept));
    ASSERT_TRUE(device.CreateShape(next, SHAPE_TRIANGLE_STRIP, 4, LIME, 1, kWholeWindow, nullptr));
    EXPECT_TRUE(Drawn(device, later, {0, 0, 255, 255}));
    device.ReleaseShape(later);
    device.ReleaseShape(next);
  }
}

// SDL sends nothing when a window is destroyed: its handler goes at the next install or event.
TEST_F(SdlDeviceTest, WindowEventHandlersGoWithTheirWindows) {
  auto& sdl = dynamic_cast<SdlPlatform&>(CurrentPlatform());
  SDL_Event event{};
  event.type = SDL_USEREVENT;
  const auto anEvent = [&] {
    SDL_PushEvent(&event);
    SDL_FlushEvent(SDL_USEREVENT);
  };
  anEvent();
  const std::size_t before = sdl.WindowEventHandlerCount();
  for (int i = 0; i < 20; ++i) {
    SDL_Window* made = NewWindow();
    ASSERT_TRUE(Windowed(device, made));
    EXPECT_EQ(sdl.WindowEventHandlerCount(), before + 1) << "window " << i;
    SDL_DestroyWindow(made);
  }
  anEvent();
  EXPECT_EQ(sdl.WindowEventHandlerCount(), before);
}

// SDL keeps what it is asked for the host's next windows. Stencil bits are read from GL: SDL
// would ask the framebuffer's attachment, which a compatibility context refuses.
TEST_F(SdlDeviceTest, TheHostsNextWindowGetsTheFramebufferTheHostAskedFor) {
  const auto framebuffer = [] {
    std::vector<int> values(4);
    SDL_GL_GetAttribute(SDL_GL_DEPTH_SIZE, &values[0]);
    glGetIntegerv(GL_STENCIL_BITS, &values[1]);
    SDL_GL_GetAttribute(SDL_GL_MULTISAMPLEBUFFERS, &values[2]);
    SDL_GL_GetAttribute(SDL_GL_MULTISAMPLESAMPLES, &values[3]);
    return values;
  };
  SDL_GL_ResetAttributes();
  SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 24);
  SDL_Window* first = NewWindow();
  ASSERT_TRUE(Windowed(device, first));
  const std::vector<int> asked = framebuffer();
  SDL_Window* next = NewWindow();
  ASSERT_NE(next, nullptr) << SDL_GetError();
  SDL_GLContext host = SDL_GL_CreateContext(next);
  ASSERT_NE(host, nullptr) << SDL_GetError();
  EXPECT_EQ(framebuffer(), asked);
  SDL_GL_DeleteContext(host);
  device.ReleaseDevice(0);
  SDL_DestroyWindow(next);
  SDL_DestroyWindow(first);
}

bool KeepsObjectsAfterTheOnlyWindow() {
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) return false;
  Support::RequestDeviceFramebuffer();
  IOpenGL device;
  device.Init();
  device.displayId = 1;
  SDL_Window* window = NewWindow();
  return KeepsObjectsOnAWindowMadeAnew(device, window);
}

// Under the offscreen driver, destroying the last OpenGL window unloads the GL library, and every
// context with it, unless something else holds it: here nothing does, in a process of its own.
TEST(SdlDeviceAloneTest, HoldsTheGLLibraryWhileItHasAContext) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::_Exit(KeepsObjectsAfterTheOnlyWindow() ? 0 : 1), ::testing::ExitedWithCode(0),
              "");
}

}  // namespace
}  // namespace Kelo
