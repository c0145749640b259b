#pragma once

#include <SDL.h>

#include <algorithm>
#include <list>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace Kelo::Support {

// The platform while it lives; GL comes from SDL. Contexts and formats are records' addresses.
// `refused` operations fail; "ExactMode" finds an inexact mode, "StencilFormat" no stencil format.
class ScriptedPlatform final : public Platform {
public:
  struct Display {
    unsigned id = 1;
    std::optional<std::vector<char>> model;
    std::optional<std::vector<ListedMode>> modes = std::vector<ListedMode>{};
  };
  struct Context {
    std::vector<int> format;  // the attribute list, AGL_NONE left out
    std::optional<int> device, swapInterval;
    void *share = nullptr, *window = nullptr;
    bool fullScreen = false, destroyed = false, hosts = false;
  };

  ScriptedPlatform() { SetCurrentPlatform(this); }
  ~ScriptedPlatform() override { SetCurrentPlatform(nullptr); }

  void* CurrentContext() override { return context; }
  void SwapBuffers(void* swapped) override { swaps.push_back(swapped); }
  bool DesktopMode(unsigned, ModeRecord& out) override { return desktop && (out = *desktop, true); }
  void* GLProcAddress(const char* name) override { return SDL_GL_GetProcAddress(name); }
  bool ActiveDisplays(std::vector<unsigned>& out) override {
    for (const Display& display : displays) out.push_back(display.id);
    return displayListReadable;
  }
  unsigned MainDisplay() override { return mainDisplay; }
  bool ModelName(unsigned id, std::vector<char>& out) override {
    return Find(id) && Find(id)->model && (out = *Find(id)->model, true);
  }
  bool DisplayModes(unsigned id, std::vector<ListedMode>& out) override {
    return Find(id) && Find(id)->modes && (out = *Find(id)->modes, true);
  }
  bool BestModeWithRefreshRate(unsigned, void*, unsigned bits, unsigned width, unsigned height,
                               double rate, DisplayMode& out, bool& exact) override {
    out = {width, height, bits, false, static_cast<unsigned>(rate)};
    return (exact = Ok("ExactMode"), Ok("BestModeWithRefreshRate"));
  }
  bool BestMode(unsigned, unsigned bits, unsigned width, unsigned height,
                DisplayMode& out) override {
    return (out = {width, height, bits, false, 60}, Ok("BestMode"));
  }
  void CaptureDisplay(unsigned display) override { captured.insert(display); }
  void ReleaseDisplay(unsigned display) override { captured.erase(display); }
  bool IsDisplayCaptured(unsigned display) override { return captured.count(display) != 0; }
  bool SwitchToMode(unsigned display, void*, const DisplayMode& mode) override {
    return Ok("SwitchToMode") && (switchedModes[display] = mode, true);
  }
  bool GraphicsDevice(unsigned display, int& device) override {
    return (device = static_cast<int>(display), Ok("GraphicsDevice"));
  }
  void* ChoosePixelFormat(const int* device, const int* attributes) override {
    Context format;
    if (device) format.device = *device;
    const std::set<int> valued{AGL_LEVEL,      AGL_DEPTH_SIZE,         AGL_STENCIL_SIZE,
                               AGL_PIXEL_SIZE, AGL_SAMPLE_BUFFERS_ARB, AGL_SAMPLES_ARB};
    for (const int* token = attributes; *token != AGL_NONE; ++token) {
      format.format.push_back(*token);
      if (valued.count(*token)) format.format.push_back(*++token);
    }
    const bool stencil = std::count(format.format.begin(), format.format.end(), AGL_STENCIL_SIZE);
    if (!Ok("ChoosePixelFormat") || (stencil && !Ok("StencilFormat"))) return nullptr;
    return &formats.emplace_back(std::move(format));
  }
  void DestroyPixelFormat(void* format) override {
    formats.remove_if([format](const Context& made) { return &made == format; });
  }
  void* CreateContext(void* format, void*, void* share) override {
    if (!Ok("CreateContext") || (share && !OwnsContext(share))) return nullptr;
    contexts.push_back(Made(format));
    return contexts.back().share = share, &contexts.back();
  }
  bool AttachToWindow(void* handle, void* window) override {
    if (window && (!Ok("AttachToWindow") || !IsValidWindow(window))) return false;
    return Place(handle, window, false);
  }
  bool SetFullScreen(void* handle, void* window) override {
    return Ok("SetFullScreen") && Place(handle, window, true) &&
           (fullScreenWindows.insert(window), true);
  }
  bool LeaveFullScreen(void* window) override { return fullScreenWindows.erase(window) != 0; }
  void SetSwapInterval(void* handle, int i) override { Made(handle).swapInterval = i; }
  bool MakeCurrent(void* handle) override {
    const bool usable =
        !handle || (Ok("MakeCurrent") && OwnsContext(handle) && Made(handle).window);
    return usable && (context = handle, true);
  }
  Binding CurrentBinding() override { return {context, nullptr}; }
  bool RestoreBinding(const Binding& binding) override { return (context = binding.context, true); }
  void DestroyContext(void* handle) override {
    OwnsContext(handle) && (Made(handle).destroyed = true);
  }
  bool OwnsContext(void* handle) override {
    return handle && !Made(handle).destroyed && !Made(handle).hosts;
  }
  void* AnyContext() override {
    for (Context& made : contexts)
      if (OwnsContext(&made)) return &made;
    return nullptr;
  }
  const char* LastError() override { return "invalid drawable"; }
  bool IsValidWindow(void* window) override { return windows.count(window) != 0; }
  bool WindowContentSize(void* window, int& width, int& height) override {
    const auto found = contentSizes.find(window);
    return found != contentSizes.end() && (std::tie(width, height) = found->second, true);
  }
  void InstallWindowEventHandler(void* window, const unsigned*, int, WindowEventHandler handler,
                                 void* user) override {
    if (IsValidWindow(window)) handlers.insert({user, {window, handler}});
  }
  void RemoveWindowEventHandlers(void* user) override { handlers.erase(user); }

  void Send(const WindowEvent& event) {
    for (const auto& [user, handler] : handlers) {
      if (handler.first == event.window) handler.second(event, user);
    }
  }
  static Context& Made(void* handle) { return *static_cast<Context*>(handle); }
  // A context of the host's, current on `window`.
  void* MakeHostContextCurrent(void* window) {
    contexts.push_back({});
    contexts.back().hosts = true;
    return contexts.back().window = window, context = &contexts.back();
  }

  std::optional<ModeRecord> desktop =
      ModeRecord{ModeValue::Of(1280), ModeValue::Of(800), ModeValue::Of(32), ModeValue::Of(60)};
  bool displayListReadable = true;
  std::vector<Display> displays;
  unsigned mainDisplay = 1;
  std::set<std::string> refused;
  std::set<void*> windows;
  std::map<void*, std::pair<int, int>> contentSizes;
  void* context = nullptr;
  std::vector<void*> swaps;
  std::set<unsigned> captured;
  std::set<void*> fullScreenWindows;
  std::map<unsigned, DisplayMode> switchedModes;
  std::list<Context> formats;
  std::list<Context> contexts;
  std::multimap<void*, std::pair<void*, WindowEventHandler>> handlers;  // user: window, handler

private:
  bool Ok(const char* operation) const { return refused.count(operation) == 0; }
  bool Place(void* handle, void* window, bool fullScreen) {
    return Made(handle).window = window, Made(handle).fullScreen = fullScreen, true;
  }
  const Display* Find(unsigned id) const {
    const auto found = std::find_if(displays.begin(), displays.end(),
                                    [id](const Display& display) { return display.id == id; });
    return found == displays.end() ? nullptr : &*found;
  }
};

}  // namespace Kelo::Support
