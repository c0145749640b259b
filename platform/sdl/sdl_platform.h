#pragma once

#include <SDL.h>

#include <list>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "platform/platform.h"
#include "platform/sdl/live_windows.h"

namespace Kelo {

// The platform on SDL2. Each operation brings up SDL's video subsystem first
// if the host has not, so the device works whatever the host initialised.
// Display id N is SDL's display N - 1. SDL knows no display capture, so the
// captured displays are only remembered here.
class SdlPlatform final : public Platform {
public:
  void* CurrentContext() override;
  void SwapBuffers(void* context) override;
  bool DesktopMode(unsigned display, ModeRecord& out) override;
  void* GLProcAddress(const char* name) override;

  bool ActiveDisplays(std::vector<unsigned>& out) override;
  unsigned MainDisplay() override;
  bool ModelName(unsigned display, std::vector<char>& out) override;
  bool DisplayModes(unsigned display, std::vector<ListedMode>& out) override;
  bool BestModeWithRefreshRate(unsigned display, void* window, unsigned bitsPerPixel,
                               unsigned width, unsigned height, double refreshRate,
                               DisplayMode& out, bool& exactMatch) override;
  bool BestMode(unsigned display, unsigned bitsPerPixel, unsigned width, unsigned height,
                DisplayMode& out) override;

  void CaptureDisplay(unsigned display) override;
  void ReleaseDisplay(unsigned display) override;
  bool IsDisplayCaptured(unsigned display) override;
  bool SwitchToMode(unsigned display, void* window, const DisplayMode& mode) override;
  bool GraphicsDevice(unsigned display, int& device) override;

  void* ChoosePixelFormat(const int* device, const int* attributes) override;
  void DestroyPixelFormat(void* format) override;
  void* CreateContext(void* format, void* window, void* share) override;
  bool AttachToWindow(void* context, void* window) override;
  bool SetFullScreen(void* context, void* window) override;
  bool LeaveFullScreen(void* window) override;
  void SetSwapInterval(void* context, int interval) override;
  bool MakeCurrent(void* context) override;
  Binding CurrentBinding() override;
  bool RestoreBinding(const Binding& binding) override;
  void DestroyContext(void* context) override;
  bool OwnsContext(void* context) override;
  void* AnyContext() override;
  const char* LastError() override;

  bool IsValidWindow(void* window) override;
  bool WindowContentSize(void* window, int& width, int& height) override;
  void InstallWindowEventHandler(void* window, const unsigned* kinds, int count,
                                 WindowEventHandler handler, void* user) override;
  void RemoveWindowEventHandlers(void* user) override;

  // What is held of SDL now: contexts made here and not destroyed yet, and the
  // window-event handlers installed and not removed yet.
  std::size_t ContextCount() const { return contexts.size(); }
  std::size_t WindowEventHandlerCount() const { return watches.size(); }

private:
  // What SDL does not keep for a context made here: the window it draws on,
  // a swap interval waiting for the context to become current (SDL sets
  // intervals on the current context only), the hidden window it is made
  // current on once its own is gone, and whether it holds the GL library.
  struct ContextState {
    SDL_Window* window = nullptr;
    std::optional<int> swapInterval;
    SDL_Window* standIn = nullptr;
    bool holdsLibrary = false;
  };
  struct Watch {
    SdlPlatform* platform;
    Uint32 windowId;
    std::vector<unsigned> kinds;
    WindowEventHandler handler;
    void* user;
  };
  static int DeliverWindowEvent(void* watch, SDL_Event* event);
  ContextState* Known(void* context);
  SDL_Window* LiveWindow(void* handle);
  bool MakeCurrentOn(SDL_Window* window, void* context, ContextState& state);
  void RemoveWatch(std::list<Watch>::iterator watch);
  void RemoveWatchesOfGoneWindows();

  std::map<void*, ContextState> contexts;
  std::set<unsigned> captured;
  std::list<Watch> watches;
  LiveWindows liveWindows;
  // How each window made full screen here was before, by window id: its size,
  // and the host's own borderless full screen where it had one.
  struct Before {
    int width = 0, height = 0;
    Uint32 fullScreen = 0;
  };
  std::map<Uint32, Before> before;
};

}  // namespace Kelo
