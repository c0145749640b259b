#include "platform/sdl/x_screen.h"

#include <SDL_syswm.h>

namespace Kelo {

bool XScreenSize(SDL_Window* window, int& width, int& height) {
#if defined(SDL_VIDEO_DRIVER_X11)
  SDL_SysWMinfo info;
  SDL_VERSION(&info.version);
  if (!SDL_GetWindowWMInfo(window, &info) || info.subsystem != SDL_SYSWM_X11) return false;
  XWindowAttributes root;
  if (!XGetWindowAttributes(info.info.x11.display, DefaultRootWindow(info.info.x11.display), &root))
    return false;
  width = root.width;
  height = root.height;
  return true;
#else
  return false;
#endif
}

}  // namespace Kelo
