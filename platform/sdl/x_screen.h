#pragma once

#include <SDL.h>

namespace Kelo {

// The size of the X screen a window is on, which holds every output at once;
// false when the window is not on X.
bool XScreenSize(SDL_Window* window, int& width, int& height);

}  // namespace Kelo
