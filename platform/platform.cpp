#include "platform/platform.h"

#include "platform/sdl/sdl_platform.h"

namespace Kelo {
namespace {

Platform* installed = nullptr;

}  // namespace

Platform& CurrentPlatform() {
  static SdlPlatform sdl;
  return installed ? *installed : sdl;
}

void SetCurrentPlatform(Platform* platform) { installed = platform; }

}  // namespace Kelo
