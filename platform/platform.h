// The seam between the device and the operating system. Every system service
// the device uses goes through one Platform; the production one is built on
// SDL2 (platform/sdl), and tests substitute a scripted one to force answers
// that SDL cannot be made to give. GL itself is never behind this seam.
//
// Displays are named by non-zero ids. Windows are the host's window handles,
// contexts and pixel formats opaque handles of the platform; none of them is
// dereferenced above the seam.
#pragma once

#include <optional>
#include <vector>

#include "kelo/types.h"

namespace Kelo {

// One number of a display mode as the system reports it: absent, present but
// not a number, or a number.
struct ModeValue {
  enum class State { Absent, NotANumber, Number };
  State state = State::Absent;
  double number = 0.0;

  static ModeValue Of(double value) { return {State::Number, value}; }
  // Reads the value as a 32-bit integer (truncating); false when absent, not
  // a number, NaN or beyond an int's range, which no cast may be given.
  bool ReadInt(int& out) const {
    if (state != State::Number || !(number > -2147483649.0 && number < 2147483648.0)) return false;
    out = static_cast<int>(number);
    return true;
  }
  // Reads the value as a refresh rate in whole hertz: a rate above 0
  // truncated; absent, not a number, 0, negative, NaN or past what an
  // unsigned holds is a rate the system does not know, which reads as 60.
  unsigned WholeHertz() const {
    const bool known = state == State::Number && number > 0.0 && number < 4294967296.0;
    return known ? static_cast<unsigned>(number) : 60u;
  }
};

// A display mode as the system describes it, key by key.
struct ModeRecord {
  ModeValue width;
  ModeValue height;
  ModeValue bitsPerPixel;
  ModeValue refreshRate;
};

// A mode of a display's list. One not meant for the desktop, or stretched to
// fit the display, is listed but never offered.
struct ListedMode {
  ModeRecord keys;
  bool usableForDesktopGUI;
  ModeValue stretched;
};

// The tokens of a pixel-format attribute list. A list ends with AGL_NONE;
// tokens up to AGL_MULTISAMPLE that take a value are followed by it.
enum PixelFormatAttribute : int {
  AGL_NONE = 0,
  AGL_LEVEL = 3,
  AGL_RGBA = 4,
  AGL_DOUBLEBUFFER = 5,
  AGL_DEPTH_SIZE = 12,
  AGL_STENCIL_SIZE = 13,
  AGL_PIXEL_SIZE = 50,
  AGL_FULLSCREEN = 54,
  AGL_SAMPLE_BUFFERS_ARB = 55,
  AGL_SAMPLES_ARB = 56,
  AGL_MULTISAMPLE = 59,
  AGL_NO_RECOVERY = 72,
  AGL_ACCELERATED = 73,
  AGL_WINDOW = 80,
};

// Window-event kinds and the attribute bit the device reads.
constexpr unsigned kEventWindowBoundsChanging = 26;
constexpr unsigned kEventWindowBoundsChanged = 27;
constexpr unsigned kEventWindowDetach = 1005;
constexpr unsigned kWindowBoundsChangeSizeChanged = 4;
constexpr unsigned kWindowBoundsChangeOriginChanged = 8;
// What every window-event handler answers, so that the host sees the event too.
constexpr int kEventNotHandled = -9874;

// One window event. The window and the attributes are parameters the event
// may lack.
struct WindowEvent {
  unsigned kind = 0;
  std::optional<void*> window;
  std::optional<unsigned> attributes;
};
using WindowEventHandler = int (*)(const WindowEvent& event, void* user);

class Platform {
public:
  virtual ~Platform() = default;

  // The calling thread's current GL context, or null.
  virtual void* CurrentContext() = 0;
  // Presents the back buffer of `context`'s drawable; does nothing for null.
  virtual void SwapBuffers(void* context) = 0;
  // The mode a display shows its desktop in; false when the system reports
  // none.
  virtual bool DesktopMode(unsigned display, ModeRecord& out) = 0;
  // The address of a GL entry point, or null when the system knows none.
  virtual void* GLProcAddress(const char* name) = 0;

  // The ids of the active displays in the system's order; false when the list
  // cannot be read.
  virtual bool ActiveDisplays(std::vector<unsigned>& out) = 0;
  // The main display's id; never fails.
  virtual unsigned MainDisplay() = 0;
  // The display's model name as bytes, counting its terminating NUL where the
  // system stores one; false when the display names no model.
  virtual bool ModelName(unsigned display, std::vector<char>& out) = 0;
  // Every mode of the display in the system's order; false when the display's
  // modes cannot be listed.
  virtual bool DisplayModes(unsigned display, std::vector<ListedMode>& out) = 0;
  // The display's mode closest to the request, and whether it is one the
  // display lists and can take, with the host's window on it, at the
  // request's size, depth and refresh rate; false when the display has no
  // mode.
  virtual bool BestModeWithRefreshRate(unsigned display, void* window, unsigned bitsPerPixel,
                                       unsigned width, unsigned height, double refreshRate,
                                       DisplayMode& out, bool& exactMatch) = 0;
  // The display's mode closest in size and depth, whatever its refresh rate;
  // false when the display has no mode.
  virtual bool BestMode(unsigned display, unsigned bitsPerPixel, unsigned width, unsigned height,
                        DisplayMode& out) = 0;

  // Takes exclusive use of a display (again, if it is taken already).
  virtual void CaptureDisplay(unsigned display) = 0;
  // Gives a display back; does nothing when it was not taken.
  virtual void ReleaseDisplay(unsigned display) = 0;
  // Whether a display is taken.
  virtual bool IsDisplayCaptured(unsigned display) = 0;
  // Moves the host's window onto the display and switches the display
  // through it to `mode` (one of its own modes); false when the display or
  // window refuses.
  virtual bool SwitchToMode(unsigned display, void* window, const DisplayMode& mode) = 0;
  // The graphics device that drives a display; false when there is none.
  virtual bool GraphicsDevice(unsigned display, int& device) = 0;

  // A pixel format for `attributes` on `device` (null: any device), or null
  // when none is available.
  virtual void* ChoosePixelFormat(const int* device, const int* attributes) = 0;
  virtual void DestroyPixelFormat(void* format) = 0;
  // A new context of `format` for `window`, sharing textures, buffers and
  // programs with `share` (null, or a context made here, current or not);
  // what is current stays current. Null when no context can be made.
  virtual void* CreateContext(void* format, void* window, void* share) = 0;
  // Makes `window` the drawable of `context`, full screen or not as it is; a
  // null window detaches the context. False when refused, with the reason in
  // LastError.
  virtual bool AttachToWindow(void* context, void* window) = 0;
  // Makes `context` draw full screen on `window`, at the display's mode;
  // false when refused.
  virtual bool SetFullScreen(void* context, void* window) = 0;
  // Takes a window SetFullScreen made full screen back to its earlier size;
  // false when refused.
  virtual bool LeaveFullScreen(void* window) = 0;
  // The number of display refreshes a swap of `context` waits for. Not checked.
  virtual void SetSwapInterval(void* context, int interval) = 0;
  // Makes `context` current on its drawable, or on a drawable of the
  // platform's own once its window is gone; null leaves no context current.
  // False when refused, and the previous context then stays current.
  virtual bool MakeCurrent(void* context) = 0;
  // What is current on the calling thread, whoever made it, and its drawable.
  struct Binding {
    void* context = nullptr;
    void* window = nullptr;
  };
  virtual Binding CurrentBinding() = 0;
  // Makes a binding read earlier current again; false, and nothing current,
  // when its window or context is gone.
  virtual bool RestoreBinding(const Binding& binding) = 0;
  // Destroys a context made here; null, or a context made elsewhere, does
  // nothing.
  virtual void DestroyContext(void* context) = 0;
  // Whether `context` is one made here and not destroyed since; false for null.
  virtual bool OwnsContext(void* context) = 0;
  // One of the contexts made here and not destroyed since; null when none is.
  virtual void* AnyContext() = 0;
  // The reason of the last refusal, never null.
  virtual const char* LastError() = 0;

  // Whether `window` is a live window, judged without dereferencing it.
  virtual bool IsValidWindow(void* window) = 0;
  // The drawable size of a window in pixels; false for an invalid window.
  virtual bool WindowContentSize(void* window, int& width, int& height) = 0;
  // Calls `handler(event, user)` from the host's event loop for each event of
  // one of the `count` `kinds` on `window`; installing twice calls twice.
  // Nothing is installed for an invalid window.
  virtual void InstallWindowEventHandler(void* window, const unsigned* kinds, int count,
                                         WindowEventHandler handler, void* user) = 0;
  // Removes every handler installed with `user`. A handler also goes once its
  // window is gone.
  virtual void RemoveWindowEventHandlers(void* user) = 0;
};

// The platform the device talks to: the SDL one unless a test installed
// another. Passing null to SetCurrentPlatform goes back to SDL.
Platform& CurrentPlatform();
void SetCurrentPlatform(Platform* platform);

}  // namespace Kelo
