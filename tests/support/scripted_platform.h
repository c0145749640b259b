#pragma once

#include <SDL.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace Kelo::Support {

// A platform whose answers the test scripts. GL entry points still come from
// SDL, so GL stays real; contexts here are records, and the GL context the
// test made stays the one GL draws on. Installed for as long as it lives.
// By default the desktop is 1280 x 800 x 32 at 60 Hz, every display has every
// mode and every request succeeds.
class ScriptedPlatform final : public Platform {
public:
  struct Display {
    unsigned id = 1;
    std::optional<std::vector<char>> model;
    std::optional<std::vector<ListedMode>> modes = std::vector<ListedMode>{};
  };
  struct PixelFormat {
    std::vector<int> attributes;  // up to, not including, AGL_NONE
    std::optional<int> device;
  };
  // A context made through the seam; its address is its handle.
  struct Context {
    PixelFormat format;
    void* share = nullptr;
    void* window = nullptr;
    bool fullScreen = false;
    std::optional<int> swapInterval;
    bool destroyed = false;
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
  void SwapBuffers(void* swappedContext) override { swaps.push_back(swappedContext); }
  bool DesktopMode(ModeRecord& out) override {
    if (!desktop) return false;
    out = *desktop;
    return true;
  }
  void* GLProcAddress(const char* name) override { return SDL_GL_GetProcAddress(name); }

  bool ActiveDisplays(std::vector<unsigned>& out) override {
    if (!displayListReadable) return false;
    for (const Display& display : displays) out.push_back(display.id);
    return true;
  }
  unsigned MainDisplay() override { return mainDisplay; }
  bool ModelName(unsigned id, std::vector<char>& out) override {
    const Display* display = Find(id);
    if (!display || !display->model) return false;
    out = *display->model;
    return true;
  }
  bool DisplayModes(unsigned id, std::vector<ListedMode>& out) override {
    const Display* display = Find(id);
    if (!display || !display->modes) return false;
    out = *display->modes;
    return true;
  }
  bool BestModeWithRefreshRate(unsigned, unsigned bitsPerPixel, unsigned width, unsigned height,
                               double refreshRate, DisplayMode& out, bool& exactMatch) override {
    out = {width, height, bitsPerPixel, false, static_cast<unsigned>(refreshRate)};
    exactMatch = answers.bestModeExact;
    return answers.hasBestMode;
  }
  bool BestMode(unsigned, unsigned bitsPerPixel, unsigned width, unsigned height,
                DisplayMode& out) override {
    out = {width, height, bitsPerPixel, false, 60};
    return answers.hasModeNearDesktop;
  }

  void CaptureDisplay(unsigned display) override { captured.insert(display); }
  void ReleaseDisplay(unsigned display) override { captured.erase(display); }
  bool IsDisplayCaptured(unsigned display) override { return captured.count(display) != 0; }
  bool SwitchToMode(unsigned display, void*, const DisplayMode& mode) override {
    if (answers.switchSucceeds) switchedModes[display] = mode;
    return answers.switchSucceeds;
  }
  bool GraphicsDevice(unsigned display, int& device) override {
    device = static_cast<int>(display);
    return answers.hasGraphicsDevice;
  }

  void* ChoosePixelFormat(const int* device, const int* attributes) override {
    PixelFormat format{{}, device ? std::optional<int>(*device) : std::nullopt};
    bool stencil = false;
    for (const int* token = attributes; *token != AGL_NONE; ++token) {
      format.attributes.push_back(*token);
      const int valued[] = {AGL_LEVEL,       AGL_DEPTH_SIZE, AGL_STENCIL_SIZE,
                            AGL_SAMPLES_ARB, AGL_PIXEL_SIZE, AGL_SAMPLE_BUFFERS_ARB};
      if (std::find(std::begin(valued), std::end(valued), *token) == std::end(valued)) continue;
      format.attributes.push_back(*++token);
      stencil = stencil || (token[-1] == AGL_STENCIL_SIZE && *token > 0);
    }
    if (!answers.anyFormat || (!answers.stencilFormats && stencil)) return nullptr;
    formats.push_back(std::make_unique<PixelFormat>(format));
    return formats.back().get();
  }
  void DestroyPixelFormat(void* format) override {
    formats.erase(std::find_if(formats.begin(), formats.end(),
                               [format](const auto& made) { return made.get() == format; }));
  }
  void* CreateContext(void* format, void*, void* share) override {
    if (!answers.contextCreationSucceeds || (share && share != context)) return nullptr;
    contexts.push_back(std::make_unique<Context>());
    contexts.back()->format = *static_cast<PixelFormat*>(format);
    contexts.back()->share = share;
    return contexts.back().get();
  }
  bool AttachToWindow(void* handle, void* window) override {
    if (window && (!answers.attachSucceeds || !IsValidWindow(window))) return false;
    Made(handle).window = window;
    Made(handle).fullScreen = false;
    return true;
  }
  bool SetFullScreen(void* handle, void* window) override {
    if (!answers.fullScreenSucceeds) return false;
    Made(handle).window = window;
    Made(handle).fullScreen = true;
    return true;
  }
  void* ContextWindow(void* handle) override { return handle ? Made(handle).window : nullptr; }
  void SetSwapInterval(void* handle, int interval) override {
    Made(handle).swapInterval = interval;
  }
  bool MakeCurrent(void* handle) override {
    if (handle &&
        (!answers.makeCurrentSucceeds || Made(handle).destroyed || !Made(handle).window)) {
      return false;
    }
    context = handle;
    return true;
  }
  void DestroyContext(void* handle) override {
    if (handle) Made(handle).destroyed = true;
  }
  bool OwnsContext(void* handle) override { return handle && !Made(handle).destroyed; }
  const char* LastError() override { return lastError.c_str(); }

  bool IsValidWindow(void* window) override { return windows.count(window) != 0; }
  bool WindowContentSize(void* window, int& width, int& height) override {
    const auto found = contentSizes.find(window);
    if (found == contentSizes.end()) return false;
    width = found->second.first;
    height = found->second.second;
    return true;
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

  // Delivers `event` to every handler installed on `window` for its kind.
  void Send(void* window, const WindowEvent& event) {
    for (const Handler& h : std::vector<Handler>(handlers)) {
      if (h.window == window &&
          std::find(h.kinds.begin(), h.kinds.end(), event.kind) != h.kinds.end()) {
        h.handler(event, h.user);
      }
    }
  }
  // The record behind a context handle made here.
  static Context& Made(void* handle) { return *static_cast<Context*>(handle); }
  // A context that is current as if the host or an earlier call had made it.
  void* MakeCurrentContext(void* window) {
    contexts.push_back(std::make_unique<Context>());
    contexts.back()->window = window;
    context = contexts.back().get();
    return context;
  }

  // Scripted answers.
  std::optional<ModeRecord> desktop =
      ModeRecord{ModeValue::Of(1280), ModeValue::Of(800), ModeValue::Of(32), ModeValue::Of(60)};
  bool displayListReadable = true;
  std::vector<Display> displays;
  unsigned mainDisplay = 1;
  struct Answers {
    bool hasBestMode = true;
    bool bestModeExact = true;
    bool hasModeNearDesktop = true;
    bool switchSucceeds = true;
    bool hasGraphicsDevice = true;
    bool anyFormat = true;
    bool stencilFormats = true;
    bool contextCreationSucceeds = true;
    bool attachSucceeds = true;
    bool fullScreenSucceeds = true;
    bool makeCurrentSucceeds = true;
  } answers;
  std::string lastError = "invalid drawable";
  std::set<void*> windows;
  std::map<void*, std::pair<int, int>> contentSizes;

  // What the device did.
  void* context = nullptr;
  std::vector<void*> swaps;
  std::set<unsigned> captured;
  std::map<unsigned, DisplayMode> switchedModes;
  std::vector<std::unique_ptr<PixelFormat>> formats;
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
