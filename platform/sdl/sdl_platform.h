#pragma once

#include "platform/platform.h"

namespace Kelo {

// The platform on SDL2. Each operation brings up SDL's video subsystem first
// if the host has not, so the device works whatever the host initialised.
class SdlPlatform final : public Platform {
public:
  void* CurrentContext() override;
  void SwapBuffers(void* context) override;
  bool DesktopMode(ModeRecord& out) override;
  void* GLProcAddress(const char* name) override;
};

}  // namespace Kelo
