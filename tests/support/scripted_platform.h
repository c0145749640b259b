#pragma once

#include <SDL.h>

#include <optional>
#include <vector>

#include "platform/platform.h"

namespace Kelo::Test {

// A platform whose answers the test scripts. GL entry points still come from
// SDL, so GL stays real. Installed for as long as it lives.
class ScriptedPlatform final : public Platform {
public:
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

  void* context = nullptr;
  std::vector<void*> swaps;
  std::optional<ModeRecord> desktop;
};

}  // namespace Kelo::Test
