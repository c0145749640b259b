#pragma once

#include <string>
#include <vector>

#include "kelo/types.h"

namespace Demo {

// A 5 x 7 pixel font drawn in code, one glyph an 8 x 8 cell of a grey atlas
// (glyph pixels 255, the rest 0) that the device turns into a font texture.
struct FontAtlas {
  static constexpr int kWidth = 128;
  static constexpr int kHeight = 32;
  std::vector<unsigned char> pixels;
};
FontAtlas MakeFontAtlas();

// Two textured triangles a character, `scale` units a font pixel, the top
// left corner of the text at (x, y).
struct TextGeometry {
  std::vector<Kelo::Point> points;
  std::vector<Kelo::Point> texcoords;
};
TextGeometry LayOutText(const std::string& text, float x, float y, float scale);

}  // namespace Demo
