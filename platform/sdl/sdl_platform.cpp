#include "platform/sdl/sdl_platform.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <tuple>
#include <utility>

#include "platform/sdl/x_screen.h"

namespace Kelo {
namespace {

bool EnsureVideo() {
  return SDL_WasInit(SDL_INIT_VIDEO) != 0 || SDL_InitSubSystem(SDL_INIT_VIDEO) == 0;
}

// SDL's index of display id `display`, or -1 when SDL has no such display.
int DisplayIndex(unsigned display) {
  if (!EnsureVideo() || display == 0) return -1;
  const int count = SDL_GetNumVideoDisplays();
  return static_cast<int>(display) <= count ? static_cast<int>(display) - 1 : -1;
}

// Depth is the memory a pixel takes, as hosts ask for it: X reports 24-bit
// colour, which SDL keeps in four bytes, so 32 here.
unsigned BitsPerPixel(Uint32 format) { return SDL_BYTESPERPIXEL(format) * 8u; }

ModeRecord RecordOf(const SDL_DisplayMode& mode) {
  ModeRecord record;
  record.width = ModeValue::Of(mode.w);
  record.height = ModeValue::Of(mode.h);
  record.bitsPerPixel = ModeValue::Of(BitsPerPixel(mode.format));
  // SDL reports 0 for a rate it does not know, which reads as a present 0 Hz.
  record.refreshRate = ModeValue::Of(mode.refresh_rate);
  return record;
}

// SDL's closest mode: of at least the requested size, the requested format
// preferred (any, here), then the nearest refresh rate (SDL's 0: the
// desktop's).
bool ClosestMode(unsigned display, unsigned width, unsigned height, int refreshRate,
                 SDL_DisplayMode& out) {
  const int index = DisplayIndex(display);
  if (index < 0) return false;
  SDL_DisplayMode wanted{0, static_cast<int>(width), static_cast<int>(height), refreshRate,
                         nullptr};
  return SDL_GetClosestDisplayMode(index, &wanted, &out) != nullptr;
}

DisplayMode DisplayModeOf(const SDL_DisplayMode& mode) {
  return {static_cast<unsigned>(mode.w), static_cast<unsigned>(mode.h), BitsPerPixel(mode.format),
          false, static_cast<unsigned>(mode.refresh_rate)};
}

// SDL 2.26 on X turns the output off, resizes the whole screen to the mode,
// which RandR allows only where every other output fits the mode's size, and
// gives the output the mode; an output the screen cannot then hold ends the
// process with an X error.
bool ScreenHolds(SDL_Window* window, int index, int width, int height) {
  int screenWidth = 0, screenHeight = 0;
  if (!XScreenSize(window, screenWidth, screenHeight)) return true;
  bool resized = true;
  for (int i = 0; i < SDL_GetNumVideoDisplays(); ++i) {
    SDL_Rect output;
    SDL_GetDisplayBounds(i, &output);
    resized =
        resized && (i == index || (output.x + output.w <= width && output.y + output.h <= height));
  }
  if (resized) std::tie(screenWidth, screenHeight) = std::pair(width, height);
  SDL_Rect target;
  SDL_GetDisplayBounds(index, &target);
  return target.x + width <= screenWidth && target.y + height <= screenHeight;
}

// The mode the display lists for a request, if the display can take it: the
// same size and depth, and the same rate where SDL knows one (SDL fills in
// the request's where it does not). A listed mode of no depth or no size is
// none.
bool TakeableMode(SDL_Window* window, int index, const DisplayMode& request, SDL_DisplayMode& out) {
  const int count = SDL_GetNumDisplayModes(index);
  for (int i = 0; i < count; ++i) {
    if (SDL_GetDisplayMode(index, i, &out) != 0) continue;
    const DisplayMode listed = DisplayModeOf(out);
    if (listed.bitsPerPixel > 8 && listed.width > 0 && listed.height > 0 &&
        listed.width == request.width && listed.height == request.height &&
        listed.bitsPerPixel == request.bitsPerPixel &&
        (out.refresh_rate == 0 || listed.refreshRate == request.refreshRate)) {
      out.refresh_rate = static_cast<int>(request.refreshRate);
      return !window || ScreenHolds(window, index, out.w, out.h);
    }
  }
  return false;
}

// While SDL switches the display or takes a window in or out of full screen
// it resizes the window itself and hands each resize to every watch at once.
// Those resizes are the switch's own, not the host's: the device starts
// OpenGL for the switch by itself, once.
bool switchUnderway = false;

class Switching {
public:
  Switching() { switchUnderway = true; }
  ~Switching() { switchUnderway = false; }
  Switching(const Switching&) = delete;
  Switching& operator=(const Switching&) = delete;
};

// SDL fixes a window's framebuffer when the host makes the window, and keeps
// whatever is asked for it for the host's later windows: a format only
// records that SDL can serve the request, and asks SDL for nothing.
struct PixelFormat {};

// Tokens followed by a value.
constexpr int kValuedAttributes[] = {AGL_DEPTH_SIZE, AGL_STENCIL_SIZE, AGL_SAMPLE_BUFFERS_ARB,
                                     AGL_SAMPLES_ARB, AGL_PIXEL_SIZE};

// False for a token SDL cannot honour. SDL's formats are all RGBA and know no
// software fall-back to refuse; the drawable kind and the multisampling
// preference need no attribute of their own.
bool Accepts(const int*& token) {
  switch (*token) {
    case AGL_RGBA:
    case AGL_NO_RECOVERY:
    case AGL_MULTISAMPLE:
    case AGL_WINDOW:
    case AGL_FULLSCREEN:
    case AGL_DOUBLEBUFFER:
    case AGL_ACCELERATED:
      return true;
    case AGL_LEVEL:
      return *++token == 0;  // SDL draws on the main plane only
  }
  for (int valued : kValuedAttributes) {
    if (*token == valued) {
      ++token;
      return true;
    }
  }
  return false;
}

using ContextSettings = std::vector<std::pair<SDL_GLattr, int>>;

// The device's paths need the fixed-function pipeline: no profile, no flags
// and SDL's default version give the driver's compatibility context at any
// version, whatever the host last asked SDL for its own contexts.
ContextSettings DeviceContextKind(bool sharing) {
  return {{SDL_GL_CONTEXT_PROFILE_MASK, 0},
          {SDL_GL_CONTEXT_MAJOR_VERSION, 2},
          {SDL_GL_CONTEXT_MINOR_VERSION, 1},
          {SDL_GL_CONTEXT_FLAGS, 0},
          {SDL_GL_SHARE_WITH_CURRENT_CONTEXT, sharing ? 1 : 0}};
}

// Makes a context with `settings`, then puts the host's values of them back.
// SDL answers these from what was asked of it; the framebuffer sizes it
// would read from the current context instead, so those could not be put
// back, which is why the device asks for none.
SDL_GLContext CreateContextWith(SDL_Window* window, const ContextSettings& settings) {
  ContextSettings hosts;
  for (const auto& [attribute, value] : settings) {
    int host = 0;
    SDL_GL_GetAttribute(attribute, &host);
    hosts.emplace_back(attribute, host);
    SDL_GL_SetAttribute(attribute, value);
  }
  SDL_GLContext context = SDL_GL_CreateContext(window);
  for (const auto& [attribute, value] : hosts) SDL_GL_SetAttribute(attribute, value);
  return context;
}

}  // namespace

SDL_Window* SdlPlatform::LiveWindow(void* handle) {
  if (!handle || !EnsureVideo()) return nullptr;
  SDL_Window* window = liveWindows.Find(handle);
  if (!window) SDL_SetError("not a window of this process");
  return window;
}

void* SdlPlatform::CurrentContext() { return SDL_GL_GetCurrentContext(); }

void SdlPlatform::SwapBuffers(void* context) {
  if (!context || context != SDL_GL_GetCurrentContext()) return;
  if (SDL_Window* window = SDL_GL_GetCurrentWindow()) SDL_GL_SwapWindow(window);
}

bool SdlPlatform::DesktopMode(unsigned display, ModeRecord& out) {
  const int index = DisplayIndex(display);
  SDL_DisplayMode mode;
  if (index < 0 || SDL_GetDesktopDisplayMode(index, &mode) != 0) return false;
  out = RecordOf(mode);
  return true;
}

void* SdlPlatform::GLProcAddress(const char* name) {
  return EnsureVideo() ? SDL_GL_GetProcAddress(name) : nullptr;
}

bool SdlPlatform::ActiveDisplays(std::vector<unsigned>& out) {
  const int count = EnsureVideo() ? SDL_GetNumVideoDisplays() : -1;
  if (count < 0) return false;
  out.clear();
  for (int index = 0; index < count; ++index) out.push_back(static_cast<unsigned>(index) + 1);
  return true;
}

unsigned SdlPlatform::MainDisplay() { return 1; }

bool SdlPlatform::ModelName(unsigned display, std::vector<char>& out) {
  const int index = DisplayIndex(display);
  const char* name = index < 0 ? nullptr : SDL_GetDisplayName(index);
  if (!name) return false;
  out.assign(name, name + std::strlen(name) + 1);
  return true;
}

bool SdlPlatform::DisplayModes(unsigned display, std::vector<ListedMode>& out) {
  const int index = DisplayIndex(display);
  const int count = index < 0 ? -1 : SDL_GetNumDisplayModes(index);
  if (count < 0) return false;
  out.clear();
  for (int i = 0; i < count; ++i) {
    SDL_DisplayMode mode;
    // SDL knows neither flag: every mode suits the desktop and none is
    // stretched.
    if (SDL_GetDisplayMode(index, i, &mode) == 0) out.push_back({RecordOf(mode), true, {}});
  }
  return true;
}

bool SdlPlatform::BestModeWithRefreshRate(unsigned display, void* window, unsigned bitsPerPixel,
                                          unsigned width, unsigned height, double refreshRate,
                                          DisplayMode& out, bool& exactMatch) {
  SDL_DisplayMode closest;
  if (!ClosestMode(display, width, height, static_cast<int>(refreshRate), closest)) return false;
  const DisplayMode request{width, height, bitsPerPixel, false, static_cast<unsigned>(refreshRate)};
  exactMatch = TakeableMode(liveWindows.Find(window), DisplayIndex(display), request, closest);
  out = DisplayModeOf(closest);
  return true;
}

// Asked only for the desktop's size and depth: SDL already prefers the
// desktop's pixel format, so the depth needs no format of its own.
bool SdlPlatform::BestMode(unsigned display, unsigned, unsigned width, unsigned height,
                           DisplayMode& out) {
  SDL_DisplayMode closest;
  if (!ClosestMode(display, width, height, 0, closest)) return false;
  out = DisplayModeOf(closest);
  return true;
}

void SdlPlatform::CaptureDisplay(unsigned display) { captured.insert(display); }

void SdlPlatform::ReleaseDisplay(unsigned display) { captured.erase(display); }

bool SdlPlatform::IsDisplayCaptured(unsigned display) { return captured.count(display) != 0; }

// SDL switches a display through a window: the mode applies while the window
// is full screen, on the display the window is on.
bool SdlPlatform::SwitchToMode(unsigned display, void* window, const DisplayMode& mode) {
  const int index = DisplayIndex(display);
  SDL_Window* target = LiveWindow(window);
  SDL_DisplayMode listed;
  if (!target || index < 0 || !TakeableMode(target, index, mode, listed)) return false;
  const Switching underway;
  if (SDL_GetWindowDisplayIndex(target) != index) {
    SDL_Rect bounds;
    SDL_GetDisplayBounds(index, &bounds);
    SDL_SetWindowPosition(target, bounds.x, bounds.y);
  }
  return SDL_SetWindowDisplayMode(target, &listed) == 0;
}

bool SdlPlatform::GraphicsDevice(unsigned display, int& device) {
  device = DisplayIndex(display);
  return device >= 0;
}

void* SdlPlatform::ChoosePixelFormat(const int* device, const int* attributes) {
  if (device && (!EnsureVideo() || *device < 0 || *device >= SDL_GetNumVideoDisplays())) {
    return nullptr;
  }
  for (const int* token = attributes; *token != AGL_NONE; ++token) {
    if (!Accepts(token)) return nullptr;
  }
  return new PixelFormat;
}

void SdlPlatform::DestroyPixelFormat(void* format) { delete static_cast<PixelFormat*>(format); }

// SDL shares a new context's objects only with the one it holds current, so
// `share` is made current first: on its own window while that lives, else on
// the new context's. Under the offscreen driver a context takes only a window
// of its own configuration; where EGL offers contexts without a surface
// (Mesa does from OpenGL 3 on, not under a 1.5 version override) SDL also
// takes one without a window, holding it as current for sharing. Destroying
// the last OpenGL window under that driver unloads the GL library, and every
// context with it: each context holds the library until it is destroyed.
void* SdlPlatform::CreateContext(void*, void* window, void* share) {
  SDL_Window* target = LiveWindow(window);
  ContextState* shared = share ? Known(share) : nullptr;
  if (!target || (share && !shared)) return nullptr;
  SDL_GLContext previous = SDL_GL_GetCurrentContext();
  SDL_Window* previousWindow = SDL_GL_GetCurrentWindow();
  if (shared && !MakeCurrentOn(LiveWindow(shared->window), share, *shared) &&
      !MakeCurrentOn(target, share, *shared) && SDL_GL_MakeCurrent(nullptr, share) != 0) {
    return nullptr;
  }
  SDL_GLContext context = CreateContextWith(target, DeviceContextKind(share != nullptr));
  // SDL makes a new context current at once; the device decides when.
  SDL_GL_MakeCurrent(previousWindow, previous);
  if (!context) return nullptr;
  ContextState& state = contexts[context];
  state.window = target;
  state.holdsLibrary = SDL_GL_LoadLibrary(nullptr) == 0;
  return context;
}

SdlPlatform::ContextState* SdlPlatform::Known(void* context) {
  const auto found = contexts.find(context);
  if (found != contexts.end()) return &found->second;
  SDL_SetError("not a context of this plug-in");
  return nullptr;
}

bool SdlPlatform::AttachToWindow(void* context, void* window) {
  ContextState* state = Known(context);
  if (!state) return false;
  if (!window) {
    state->window = nullptr;
    return true;
  }
  SDL_Window* target = LiveWindow(window);
  if (!target) return false;
  state->window = target;
  return true;
}

// Without a window manager nothing gives a window back the size it had before
// full screen, and SDL goes on reporting the size of the last mode: the size
// is put back here. A window the host had made borderless full screen goes
// back to that.
bool SdlPlatform::LeaveFullScreen(void* handle) {
  SDL_Window* window = LiveWindow(handle);
  if (!window) return false;
  const auto found = before.find(SDL_GetWindowID(window));
  const Before was = found != before.end() ? found->second : Before{};
  const Switching underway;
  if (SDL_SetWindowFullscreen(window, was.fullScreen) != 0) return false;
  if (found != before.end()) {
    if (!was.fullScreen) SDL_SetWindowSize(window, was.width, was.height);
    before.erase(found);
  }
  return true;
}

bool SdlPlatform::SetFullScreen(void* context, void* window) {
  ContextState* state = Known(context);
  SDL_Window* target = LiveWindow(window);
  if (!state || !target) return false;
  const Uint32 fullScreen = SDL_GetWindowFlags(target) & SDL_WINDOW_FULLSCREEN_DESKTOP;
  if (fullScreen != SDL_WINDOW_FULLSCREEN) {
    Before& was = before[SDL_GetWindowID(target)];
    SDL_GetWindowSize(target, &was.width, &was.height);
    was.fullScreen = fullScreen;
  }
  const Switching underway;
  if (SDL_SetWindowFullscreen(target, SDL_WINDOW_FULLSCREEN) != 0) return false;
  state->window = target;
  return true;
}

void SdlPlatform::SetSwapInterval(void* context, int interval) {
  if (context == SDL_GL_GetCurrentContext()) {
    SDL_GL_SetSwapInterval(interval);
  } else if (ContextState* state = Known(context)) {
    state->swapInterval = interval;
  }
}

bool SdlPlatform::MakeCurrentOn(SDL_Window* window, void* context, ContextState& state) {
  if (!window || SDL_GL_MakeCurrent(window, context) != 0) return false;
  if (state.swapInterval) {
    SDL_GL_SetSwapInterval(*state.swapInterval);
    state.swapInterval.reset();
  }
  return true;
}

// SDL makes a context current only on a window. The stand-in is made with the
// host's attributes as they are now; under the offscreen driver a context
// takes only a window of its own configuration, so a host that changed them
// since its window was made finds the stand-in refused.
bool SdlPlatform::MakeCurrent(void* context) {
  if (!context) return SDL_GL_MakeCurrent(nullptr, nullptr) == 0;
  ContextState* state = Known(context);
  if (!state) return false;
  if (SDL_Window* window = LiveWindow(state->window)) return MakeCurrentOn(window, context, *state);
  if (!state->standIn) {
    state->standIn = SDL_CreateWindow("", 0, 0, 1, 1, SDL_WINDOW_OPENGL | SDL_WINDOW_HIDDEN);
  }
  return MakeCurrentOn(state->standIn, context, *state);
}

Platform::Binding SdlPlatform::CurrentBinding() {
  return {SDL_GL_GetCurrentContext(), SDL_GL_GetCurrentWindow()};
}

bool SdlPlatform::RestoreBinding(const Binding& binding) {
  SDL_Window* window = binding.context ? LiveWindow(binding.window) : nullptr;
  if (window && SDL_GL_MakeCurrent(window, binding.context) == 0) return true;
  SDL_GL_MakeCurrent(nullptr, nullptr);
  return !binding.context;
}

void SdlPlatform::DestroyContext(void* context) {
  const auto found = contexts.find(context);
  if (found == contexts.end()) return;
  SDL_GL_DeleteContext(context);
  if (found->second.standIn) SDL_DestroyWindow(found->second.standIn);
  if (found->second.holdsLibrary) SDL_GL_UnloadLibrary();
  contexts.erase(found);
}

bool SdlPlatform::OwnsContext(void* context) { return contexts.count(context) != 0; }

// One whose window lives first: a context takes that window whatever its
// configuration.
void* SdlPlatform::AnyContext() {
  for (auto& [context, state] : contexts) {
    if (LiveWindow(state.window)) return context;
  }
  return contexts.empty() ? nullptr : contexts.begin()->first;
}

const char* SdlPlatform::LastError() { return SDL_GetError(); }

bool SdlPlatform::IsValidWindow(void* window) { return LiveWindow(window) != nullptr; }

bool SdlPlatform::WindowContentSize(void* window, int& width, int& height) {
  SDL_Window* target = LiveWindow(window);
  if (!target) return false;
  SDL_GL_GetDrawableSize(target, &width, &height);
  return true;
}

void SdlPlatform::InstallWindowEventHandler(void* window, const unsigned* kinds, int count,
                                            WindowEventHandler handler, void* user) {
  RemoveWatchesOfGoneWindows();
  SDL_Window* target = LiveWindow(window);
  if (!target) return;
  watches.push_back({this, SDL_GetWindowID(target), {kinds, kinds + count}, handler, user});
  SDL_AddEventWatch(&DeliverWindowEvent, &watches.back());
}

// SDL 2.26 lets a watch be removed while it is being called: it is marked
// and never called again.
void SdlPlatform::RemoveWatch(std::list<Watch>::iterator watch) {
  SDL_DelEventWatch(&DeliverWindowEvent, &*watch);
  watches.erase(watch);
}

// SDL 2.26 sends no event when a window is destroyed; ids are never reused,
// so a watch whose id finds no window has lost its window for good.
void SdlPlatform::RemoveWatchesOfGoneWindows() {
  for (auto watch = watches.begin(); watch != watches.end();) {
    const auto next = std::next(watch);
    if (!SDL_GetWindowFromID(watch->windowId)) RemoveWatch(watch);
    watch = next;
  }
}

void SdlPlatform::RemoveWindowEventHandlers(void* user) {
  for (auto watch = watches.begin(); watch != watches.end();) {
    const auto next = std::next(watch);
    if (watch->user == user) RemoveWatch(watch);
    watch = next;
  }
}

// SDL tells size changes and moves apart; both are bounds changes here. SDL
// has no event for bounds that are still changing. The first event after a
// watch's window is gone removes the watch.
int SdlPlatform::DeliverWindowEvent(void* data, SDL_Event* event) {
  Watch& watch = *static_cast<Watch*>(data);
  if (!SDL_GetWindowFromID(watch.windowId)) {
    SdlPlatform& platform = *watch.platform;
    for (auto found = platform.watches.begin(); found != platform.watches.end(); ++found) {
      if (&*found == &watch) {
        platform.RemoveWatch(found);
        break;
      }
    }
    return 0;
  }
  if (switchUnderway) return 0;
  if (event->type != SDL_WINDOWEVENT || event->window.windowID != watch.windowId) return 0;
  WindowEvent delivered;
  delivered.kind = kEventWindowBoundsChanged;
  delivered.window = SDL_GetWindowFromID(watch.windowId);
  if (event->window.event == SDL_WINDOWEVENT_SIZE_CHANGED) {
    delivered.attributes = kWindowBoundsChangeSizeChanged;
  } else if (event->window.event == SDL_WINDOWEVENT_MOVED) {
    delivered.attributes = kWindowBoundsChangeOriginChanged;
  } else {
    return 0;
  }
  if (std::find(watch.kinds.begin(), watch.kinds.end(), delivered.kind) != watch.kinds.end()) {
    watch.handler(delivered, watch.user);
  }
  return 0;
}

}  // namespace Kelo
