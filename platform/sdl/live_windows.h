#pragma once

#include <SDL.h>

#include <unordered_map>

namespace Kelo {

// Tells live SDL windows from stale or foreign handles without dereferencing
// them. SDL 2.26 lists no windows and finds one only by its id; ids count up
// from 1 and are never reused. So a handle is live while SDL gives it back
// for the id it was found under, which costs one look-up among the live
// windows. A handle not found so far is looked for among the ids handed out
// since the last search: a hidden window made and destroyed at once takes the
// next id, so every id below it has been handed out. Each id is asked for
// once, however high ids go.
class LiveWindows {
public:
  // The live window whose handle this is, or null.
  SDL_Window* Find(void* handle);

private:
  SDL_Window* Confirmed(void* handle);
  void LearnNewIds();

  std::unordered_map<void*, Uint32> ids;
  Uint32 learntBelow = 1;
};

}  // namespace Kelo
