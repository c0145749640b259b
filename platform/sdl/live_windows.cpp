#include "platform/sdl/live_windows.h"

#include <iterator>

namespace Kelo {

SDL_Window* LiveWindows::Find(void* handle) {
  if (!handle) return nullptr;
  if (SDL_Window* window = Confirmed(handle)) return window;
  LearnNewIds();
  return Confirmed(handle);
}

// A destroyed window's address may come back as a new window, under a new id.
SDL_Window* LiveWindows::Confirmed(void* handle) {
  const auto found = ids.find(handle);
  if (found == ids.end()) return nullptr;
  SDL_Window* window = SDL_GetWindowFromID(found->second);
  if (window == handle) return window;
  ids.erase(found);
  return nullptr;
}

void LiveWindows::LearnNewIds() {
  SDL_Window* probe = SDL_CreateWindow("", 0, 0, 1, 1, SDL_WINDOW_HIDDEN);
  if (!probe) return;
  const Uint32 next = SDL_GetWindowID(probe);
  SDL_DestroyWindow(probe);
  // SDL's video subsystem was started again and counts from 1 anew.
  if (next < learntBelow) {
    ids.clear();
    learntBelow = 1;
  }
  for (auto entry = ids.begin(); entry != ids.end();) {
    const bool live = SDL_GetWindowFromID(entry->second) == entry->first;
    entry = live ? std::next(entry) : ids.erase(entry);
  }
  for (Uint32 id = learntBelow; id < next; ++id) {
    if (SDL_Window* window = SDL_GetWindowFromID(id)) ids[window] = id;
  }
  learntBelow = next + 1;
}

}  // namespace Kelo
