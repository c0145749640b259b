#include "kelo/log.h"
#include "platform/platform.h"
#include "shapes/vram.h"
#include "video/gl_errors.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

// The window events the handler follows, in the order it is installed for.
constexpr unsigned kWindowEvents[] = {kEventWindowBoundsChanged, kEventWindowBoundsChanging};

// Every failure after the display was taken gives it back; the mode it was
// switched to stays.
bool ReleaseDisplayAndFail(unsigned display) {
  CurrentPlatform().ReleaseDisplay(display);
  return false;
}

// Takes the display and switches it to exactly the requested mode; the
// closest other mode is never taken.
void* EnterFullScreen(IOpenGL& device, void* window, const DisplayMode& mode) {
  Platform& platform = CurrentPlatform();
  platform.CaptureDisplay(device.displayId);
  bool exactMatch = true;
  DisplayMode best;
  if (!platform.BestModeWithRefreshRate(device.displayId, window, mode.bitsPerPixel, mode.width,
                                        mode.height, static_cast<double>(mode.refreshRate), best,
                                        exactMatch)) {
    Log::Output("[kelo-agl] mode invalid.\n");
    ReleaseDisplayAndFail(device.displayId);
    return nullptr;
  }
  if (!exactMatch) {
    Log::Output("[kelo-agl] mode %dx%dx%d@%dHz not supported\n", mode.width, mode.height,
                mode.bitsPerPixel, mode.refreshRate);
    ReleaseDisplayAndFail(device.displayId);
    return nullptr;
  }
  // One window at a time is full screen: the one before leaves it first, but
  // only for a window that can take its place, which stays the device's
  // otherwise.
  if (device.fullScreenWindow && device.fullScreenWindow != window) {
    if (!platform.IsValidWindow(window)) {
      Log::Output("[kelo-agl] cannot switch to mode.\n");
      return nullptr;
    }
    if (!device.LeaveFullScreen()) return nullptr;
    platform.CaptureDisplay(device.displayId);
  }
  if (!platform.SwitchToMode(device.displayId, window, best)) {
    Log::Output("[kelo-agl] cannot switch to mode.\n");
    ReleaseDisplayAndFail(device.displayId);
    return nullptr;
  }
  void* context = device.InitGLFullscreenCtx(window, mode);
  if (!context) {
    Log::Output("[kelo-agl] failed to initialize fullscreen context.\n");
    ReleaseDisplayAndFail(device.displayId);
  }
  return context;
}

void* EnterWindow(IOpenGL& device, void* window, const DisplayMode& mode) {
  if (device.fullScreenWindow && !device.LeaveFullScreen()) return nullptr;
  void* context = device.InitGLWindowedCtx(window, mode);
  if (!context) Log::Output("[kelo-agl] failed to initialze window context.\n");
  return context;
}

bool AttachContext(IOpenGL& device, void* context, void* window, bool windowed) {
  Platform& platform = CurrentPlatform();
  if (windowed) {
    if (platform.AttachToWindow(context, window)) return true;
    Log::Output("[kelo-agl] failed to attach context to window: [%s]\n", platform.LastError());
    return false;
  }
  if (platform.SetFullScreen(context, window)) {
    device.fullScreenWindow = window;
    return true;
  }
  Log::Output("[kelo-agl] cannot switch to fullscreen.\n");
  return ReleaseDisplayAndFail(device.displayId);
}

}  // namespace

// Only a full screen the device made is undone, through the window it made
// full screen; a window destroyed since took its full screen with it.
bool IOpenGL::LeaveFullScreen() {
  Platform& platform = CurrentPlatform();
  if (platform.IsValidWindow(fullScreenWindow)) {
    if (!ReturnToDesktop(fullScreenWindow)) return false;
    platform.LeaveFullScreen(fullScreenWindow);
  }
  fullScreenWindow = nullptr;
  platform.ReleaseDisplay(displayId);
  return true;
}

// The desktop is the size and depth the display shows its desktop in,
// whatever its rate.
bool IOpenGL::ReturnToDesktop(void* window) {
  Platform& platform = CurrentPlatform();
  ModeRecord desktop;
  int width = 0, height = 0, bitsPerPixel = 0;
  DisplayMode best;
  if (!platform.DesktopMode(displayId, desktop) || !desktop.width.ReadInt(width) ||
      !desktop.height.ReadInt(height) || !desktop.bitsPerPixel.ReadInt(bitsPerPixel) ||
      !platform.BestMode(displayId, static_cast<unsigned>(bitsPerPixel),
                         static_cast<unsigned>(width), static_cast<unsigned>(height), best)) {
    Log::Output("[kelo-agl] no suitable mode found.\n");
    return ReleaseDisplayAndFail(displayId);
  }
  if (!platform.SwitchToMode(displayId, window, best)) {
    Log::Output("[kelo-agl] cannot switch to mode\n");
    return ReleaseDisplayAndFail(displayId);
  }
  return true;
}

// Storage is started once per process and kept across mode changes, so
// shapes outlive them. The context is new, so every error pending on it is
// the device's: start-up's, and what making the context raised.
bool IOpenGL::SetDisplayMode(void* window, const DisplayMode& mode, bool vsync) {
  if (!SetDisplayModePlatform(window, mode, vsync)) return false;
  InitGL(mode.width, mode.height);
  DiscardGLErrors();
  if (!VRAMManager) {
    VRAMManager = new OGLVRAM;
    VRAMManager->Init();
  }
  return true;
}

// The old context is the device's own; what is current stays current and
// alive on every failure, and the old context goes only once the new one has
// taken its place. A context the host made is never destroyed.
bool IOpenGL::SetDisplayModePlatform(void* window, const DisplayMode& mode, bool vsync) {
  Platform& platform = CurrentPlatform();
  if (mode.windowed && !platform.IsValidWindow(window)) {
    Log::Output("[kelo-agl] invalid window handle.\n");
    return false;
  }
  void* context =
      mode.windowed ? EnterWindow(*this, window, mode) : EnterFullScreen(*this, window, mode);
  if (!context) return false;
  // Recorded before the context is attached, so a later failure still leaves
  // the requested mode here while the old context stays current.
  currentMode = mode;
  // A context that never became current is of no use to anyone: destroyed
  // on failure instead of leaked.
  if (!AttachContext(*this, context, window, mode.windowed)) {
    platform.DestroyContext(context);
    return false;
  }
  // Never removed: after N successful calls with one window, N handlers run.
  platform.InstallWindowEventHandler(window, kWindowEvents, 2, windowEventHandler, this);
  platform.SetSwapInterval(context, vsync ? 1 : 0);
  if (!platform.MakeCurrent(context)) {
    Log::Output("[kelo-agl] cannot switch to context.\n");
    platform.DestroyContext(context);
    return ReleaseDisplayAndFail(displayId);
  }
  platform.DestroyContext(this->context);
  this->context = context;
  return true;
}

}  // namespace Kelo
