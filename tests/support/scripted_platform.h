#pragma once

#include <SDL.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "platform/platform.h"

namespace Kelo::Support {

// A platform whose answers the test scripts. GL entry points still come from
// SDL, so GL stays real on the context the test made; contexts here are
// records whose address is their handle. Installed for as long as it lives.
// By default the desktop is 1280 x 800 x 32 at 60 Hz and every request
// succeeds; an operation named in `refused` fails ("ExactMode": the best mode
// is not the one asked for; "StencilFormat": no format has a stencil buffer).
class ScriptedPlatform final : public Platform {
public:
  struct Display {
    unsigned id = 1;
    std::optional<std::vector<char>> model;
    std::optional<std::vector<ListedMode>> modes = std::vector<ListedMode>{};
  };
  // A context made here, or a pixel format: a context not made yet.
  struct Context {
    std::vector<int> format;  // the attribute list, AGL_NONE left out
    std::optional<int> device;
    void* share = nullptr;
    void* window = nullptr;
    bool fullScreen = false, destroyed = false;
    std::optional<int> swapInterval;
  };
  struct Handler {
    void* window;
    std::vector<unsigned> kinds;
    WindowEventHandler handler;
    void* user;
  };

  ScriptedPlatform() { SetCurrentPlatform(this); }
  ~ScriptedPlatform() override { SetCurrentPlatform(nullptr); }
  ScriptedPlatform(const ScriptedPlatform&) = delete;
  ScriptedPlatform& operator=(const ScriptedPlatform&) = delete;

  void* CurrentContext() override { return context; }
  void SwapBuffers(void* swapped) override { swaps.push_back(swapped); }
  bool DesktopMode(ModeRecord& out) override { return desktop && (out = *desktop, true); }
  void* GLProcAddress(const char* name) override { return SDL_GL_GetProcAddress(name); }
  bool ActiveDisplays(std::vector<unsigned>& out) override {
    for (const Display& display : displays) out.push_back(display.id);
    return displayListReadable;
  }
  unsigned MainDisplay() override { return mainDisplay; }
  bool ModelName(unsigned id, std::vector<char>& out) override {
    const Display* display = Find(id);
    return display && display->model && (out = *display->model, true);
  }
  bool DisplayModes(unsigned id, std::vector<ListedMode>& out) override {
    const Display* display = Find(id);
    return display && display->modes && (out = *display->modes, true);
  }
  bool BestModeWithRefreshRate(unsigned, unsigned bits, unsigned width, unsigned height,
                               double rate, DisplayMode& out, bool& exactMatch) override {
    out = {width, height, bits, false, static_cast<unsigned>(rate)};
    exactMatch = Ok("ExactMode");
    return Ok("BestModeWithRefreshRate");
  }
  bool BestMode(unsigned, unsigned bits, unsigned width, unsigned height,
                DisplayMode& out) override {
    out = {width, height, bits, false, 60};
    return Ok("BestMode");
  }
  void CaptureDisplay(unsigned display) override { captured.insert(display); }
  void ReleaseDisplay(unsigned display) override { captured.erase(display); }
  bool IsDisplayCaptured(unsigned display) override { return captured.count(display) != 0; }
  bool SwitchToMode(unsigned display, void*, const DisplayMode& mode) override {
    return Ok("SwitchToMode") && (switchedModes[display] = mode, true);
  }
  bool GraphicsDevice(unsigned display, int& device) override {
    device = static_cast<int>(display);
    return Ok("GraphicsDevice");
  }
  void* ChoosePixelFormat(const int* device, const int* attributes) override {
    auto format = std::make_unique<Context>();
    if (device) format->device = *device;
    const std::set<int> valued{AGL_LEVEL,      AGL_DEPTH_SIZE,         AGL_STENCIL_SIZE,
                               AGL_PIXEL_SIZE, AGL_SAMPLE_BUFFERS_ARB, AGL_SAMPLES_ARB};
    for (const int* token = attributes; *token != AGL_NONE; ++token) {
      format->format.push_back(*token);
      if (valued.count(*token)) format->format.push_back(*++token);
    }
    const bool stencil = std::count(format->format.begin(), format->format.end(), AGL_STENCIL_SIZE);
    if (!Ok("ChoosePixelFormat") || (stencil && !Ok("StencilFormat"))) return nullptr;
    return (formats[format.get()] = std::move(format)).get();
  }
  void DestroyPixelFormat(void* format) override { formats.erase(format); }
  void* CreateContext(void* format, void*, void* share) override {
    if (!Ok("CreateContext") || (share && share != context)) return nullptr;
    contexts.push_back(std::make_unique<Context>(Made(format)));
    contexts.back()->share = share;
    return contexts.back().get();
  }
  bool AttachToWindow(void* handle, void* window) override {
    if (window && (!Ok("AttachToWindow") || !IsValidWindow(window))) return false;
    std::tie(Made(handle).window, Made(handle).fullScreen) = std::tuple(window, false);
    return true;
  }
  bool SetFullScreen(void* handle, void* window) override {
    if (!Ok("SetFullScreen")) return false;
    std::tie(Made(handle).window, Made(handle).fullScreen) = std::tuple(window, true);
    return true;
  }
  void* ContextWindow(void* handle) override { return handle ? Made(handle).window : nullptr; }
  void SetSwapInterval(void* handle, int interval) override {
    Made(handle).swapInterval = interval;
  }
  bool MakeCurrent(void* handle) override {
    const bool refused =
        handle && (!Ok("MakeCurrent") || !OwnsContext(handle) || !Made(handle).window);
    if (!refused) context = handle;
    return !refused;
  }
  void DestroyContext(void* handle) override {
    if (handle) Made(handle).destroyed = true;
  }
  bool OwnsContext(void* handle) override { return handle && !Made(handle).destroyed; }
  const char* LastError() override { return "invalid drawable"; }
  bool IsValidWindow(void* window) override { return windows.count(window) != 0; }
  bool WindowContentSize(void* window, int& width, int& height) override {
    const auto found = contentSizes.find(window);
    if (found != contentSizes.end()) std::tie(width, height) = found->second;
    return found != contentSizes.end();
  }
  void InstallWindowEventHandler(void* window, const unsigned* kinds, int count,
                                 WindowEventHandler handler, void* user) override {
    if (IsValidWindow(window)) handlers.push_back({window, {kinds, kinds + count}, handler, user});
  }
  void RemoveWindowEventHandlers(void* user) override {
    handlers.erase(std::remove_if(handlers.begin(), handlers.end(),
                                  [user](const Handler& h) { return h.user == user; }),
                   handlers.end());
  }

  // Delivers `event` to every handler installed on its window for its kind.
  void Send(const WindowEvent& event) {
    for (const Handler& h : std::vector<Handler>(handlers)) {
      if (h.window == event.window && std::count(h.kinds.begin(), h.kinds.end(), event.kind)) {
        h.handler(event, h.user);
      }
    }
  }
  static Context& Made(void* handle) { return *static_cast<Context*>(handle); }
  // A context that is current as if the host or an earlier call had made it.
  void* MakeCurrentContext(void* window) {
    contexts.push_back(std::make_unique<Context>());
    contexts.back()->window = window;
    return context = contexts.back().get();
  }
  bool Ok(const char* operation) const { return refused.count(operation) == 0; }

  std::optional<ModeRecord> desktop =
      ModeRecord{ModeValue::Of(1280), ModeValue::Of(800), ModeValue::Of(32), ModeValue::Of(60)};
  bool displayListReadable = true;
  std::vector<Display> displays;
  unsigned mainDisplay = 1;
  std::set<std::string> refused;
  std::set<void*> windows;
  std::map<void*, std::pair<int, int>> contentSizes;
  // What the device did.
  void* context = nullptr;
  std::vector<void*> swaps;
  std::set<unsigned> captured;
  std::map<unsigned, DisplayMode> switchedModes;
  std::map<void*, std::unique_ptr<Context>> formats;
  std::vector<std::unique_ptr<Context>> contexts;
  std::vector<Handler> handlers;

private:
  const Display* Find(unsigned id) const {
    for (const Display& display : displays) {
      if (display.id == id) return &display;
    }
    return nullptr;
  }
};

}  // namespace Kelo::Support
