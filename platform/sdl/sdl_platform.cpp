#include "platform/sdl/sdl_platform.h"

#include <SDL.h>

namespace Kelo {
namespace {

bool EnsureVideo() {
  return SDL_WasInit(SDL_INIT_VIDEO) != 0 || SDL_InitSubSystem(SDL_INIT_VIDEO) == 0;
}

}  // namespace

void* SdlPlatform::CurrentContext() { return SDL_GL_GetCurrentContext(); }

void SdlPlatform::SwapBuffers(void* context) {
  if (!context || context != SDL_GL_GetCurrentContext()) return;
  if (SDL_Window* window = SDL_GL_GetCurrentWindow()) SDL_GL_SwapWindow(window);
}

bool SdlPlatform::DesktopMode(ModeRecord& out) {
  SDL_DisplayMode mode;
  if (!EnsureVideo() || SDL_GetDesktopDisplayMode(0, &mode) != 0) return false;
  out.width = ModeValue::Of(mode.w);
  out.height = ModeValue::Of(mode.h);
  out.bitsPerPixel = ModeValue::Of(SDL_BITSPERPIXEL(mode.format));
  // SDL reports 0 for a rate it does not know, which reads as a present 0 Hz.
  out.refreshRate = ModeValue::Of(mode.refresh_rate);
  return true;
}

void* SdlPlatform::GLProcAddress(const char* name) {
  return EnsureVideo() ? SDL_GL_GetProcAddress(name) : nullptr;
}

}  // namespace Kelo
