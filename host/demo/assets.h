#pragma once

#include <string>

namespace Demo {

// The demo's images, drawn in code and written as PNG files into a folder of
// their own that goes away with the object.
class Assets {
public:
  Assets();
  ~Assets();
  Assets(const Assets&) = delete;
  Assets& operator=(const Assets&) = delete;

  bool Ready() const { return !folder.empty(); }
  // A 64 x 64 RGB tile pattern.
  std::string Tiles() const { return folder + "/tiles.png"; }
  // A 32 x 32 RGBA gem on a magenta background, for the colour key.
  std::string Gem() const { return folder + "/gem.png"; }

private:
  std::string folder;
};

}  // namespace Demo
