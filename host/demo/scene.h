#pragma once

#include <string>
#include <vector>

#include "assets.h"
#include "kelo/video.h"

namespace Demo {

// Everything the demo draws, made once and drawn every frame. The scene is
// laid out for a 640 x 480 camera; any window shows all of it.
class Scene {
public:
  static constexpr float kWidth = 640;
  static constexpr float kHeight = 480;

  // Makes the shapes and textures; false (with `error` set) when the device
  // refuses one.
  bool Create(Kelo::IVideo& video, const Assets& assets, std::string& error);
  void Draw(Kelo::IVideo& video, int frame);
  void Release(Kelo::IVideo& video);

private:
  struct Placed {
    unsigned long shape;
    float x, y, scale;
  };
  void DrawAt(Kelo::IVideo& video, const Placed& placed);
  void DrawText(Kelo::IVideo& video, const std::string& text, float x, float y, float scale);
  // Takes the handle by reference: it is read only after the create call
  // beside it in the argument list has written it.
  bool Keep(bool made, const unsigned long& shape, const char* what, std::string& error);

  std::vector<unsigned long> shapes;
  std::vector<unsigned long> textures;
  unsigned long gradient = 0, star = 0, grid = 0, wave = 0, clip = 0, stripes = 0, tiles = 0,
                gem = 0, labels = 0;
  unsigned long circles[3] = {};
  unsigned long font = 0, tileTexture = 0, gemTexture = 0;
};

}  // namespace Demo
