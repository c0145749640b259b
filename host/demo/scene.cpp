#include "scene.h"

#include <cmath>

#include "font.h"
#include "kelo/colors.h"

namespace Demo {
namespace {

using Kelo::Color;
using Kelo::Point;

constexpr float kPi = 3.14159265f;

// Corners in triangle-strip order.
std::vector<Point> Box(float halfWidth, float halfHeight) {
  return {{-halfWidth, -halfHeight},
          {halfWidth, -halfHeight},
          {-halfWidth, halfHeight},
          {halfWidth, halfHeight}};
}

std::vector<Point> Disc(float radius, int segments) {
  std::vector<Point> points;
  for (int i = 0; i < segments; ++i) {
    const float a0 = 2 * kPi * static_cast<float>(i) / static_cast<float>(segments);
    const float a1 = 2 * kPi * static_cast<float>(i + 1) / static_cast<float>(segments);
    points.insert(points.end(), {{0, 0},
                                 {radius * std::cos(a0), radius * std::sin(a0)},
                                 {radius * std::cos(a1), radius * std::sin(a1)}});
  }
  return points;
}

// A five-pointed star as ten triangles around its centre, with a colour a
// point: white at the centre, warm at the tips, dark in the notches.
void Star(float outer, float inner, std::vector<Point>& points, std::vector<Color>& colours) {
  for (int i = 0; i < 10; ++i) {
    const float a0 = kPi / 2 + kPi * static_cast<float>(i) / 5;
    const float a1 = kPi / 2 + kPi * static_cast<float>(i + 1) / 5;
    const float r0 = i % 2 ? inner : outer;
    const float r1 = i % 2 ? outer : inner;
    points.insert(
        points.end(),
        {{0, 0}, {r0 * std::cos(a0), r0 * std::sin(a0)}, {r1 * std::cos(a1), r1 * std::sin(a1)}});
    const Color tip = Kelo::ORANGE;
    const Color notch = Kelo::DARKRED;
    colours.insert(colours.end(), {Kelo::WHITE, i % 2 ? notch : tip, i % 2 ? tip : notch});
  }
}

std::vector<Point> Grid(float halfWidth, float halfHeight, float step) {
  std::vector<Point> points;
  for (float x = -halfWidth; x <= halfWidth; x += step) {
    points.insert(points.end(), {{x, -halfHeight}, {x, halfHeight}});
  }
  for (float y = -halfHeight; y <= halfHeight; y += step) {
    points.insert(points.end(), {{-halfWidth, y}, {halfWidth, y}});
  }
  return points;
}

std::vector<Point> Wave(float halfWidth, float amplitude, int count) {
  std::vector<Point> points;
  for (int i = 0; i < count; ++i) {
    const float u = static_cast<float>(i) / static_cast<float>(count - 1);
    points.push_back({-halfWidth + 2 * halfWidth * u, amplitude * std::sin(u * 4 * kPi)});
  }
  return points;
}

// Diagonal bands across a square, two triangles a band.
std::vector<Point> Stripes(float half, float width) {
  std::vector<Point> points;
  for (float x = -3 * half; x < half; x += 2 * width) {
    const Point a{x, -half}, b{x + width, -half}, c{x + 2 * half + width, half},
        d{x + 2 * half, half};
    points.insert(points.end(), {a, b, c, a, c, d});
  }
  return points;
}

Kelo::Matrix Placement(float x, float y, float scale) { return {{scale, 0, x, 0, scale, y}}; }

struct Label {
  const char* text;
  float x, y;
};
const Label kLabels[] = {
    {"STRIP", -250, 45},      {"LINES", -40, 45},  {"TINT", 180, 45},
    {"BLEND", -250, -125},    {"CLIP", -32, -125}, {"TEXTURE + KEY", 158, -125},
    {"UNSTORED", -300, -165},
};

}  // namespace

bool Scene::Keep(bool made, const unsigned long& shape, const char* what, std::string& error) {
  if (made) {
    shapes.push_back(shape);
    return true;
  }
  error = std::string("the device refused the ") + what;
  return false;
}

bool Scene::Create(Kelo::IVideo& video, const Assets& assets, std::string& error) {
  using namespace Kelo;
  const std::vector<Point> box = Box(80, 50);
  const Color corners[] = {RED, GOLD, ROYALBLUE, LIMEGREEN};
  bool made = Keep(video.CreateShape(gradient, SHAPE_TRIANGLE_STRIP, 4, corners, 1.0f, box.data()),
                   gradient, "gradient", error);

  std::vector<Point> starPoints;
  std::vector<Color> starColours;
  Star(40, 16, starPoints, starColours);
  made = made && Keep(video.CreateShape(star, SHAPE_TRIANGLES, starPoints.size(),
                                        starColours.data(), 1.0f, starPoints.data()),
                      star, "star", error);

  const std::vector<Point> gridPoints = Grid(80, 50, 20);
  made = made && Keep(video.CreateShape(grid, SHAPE_LINES, gridPoints.size(), SLATEGREY, 1.0f,
                                        gridPoints.data(), nullptr),
                      grid, "grid", error);
  const std::vector<Point> wavePoints = Wave(80, 40, 64);
  made = made && Keep(video.CreateShape(wave, SHAPE_LINE_STRIP, wavePoints.size(), LIME, 1.0f,
                                        wavePoints.data(), nullptr),
                      wave, "wave", error);

  const std::vector<Point> disc = Disc(38, 40);
  const Color discColours[] = {RED, LIME, BLUE};
  for (int i = 0; i < 3; ++i) {
    made = made && Keep(video.CreateShape(circles[i], SHAPE_TRIANGLES, disc.size(), discColours[i],
                                          0.5f, disc.data(), nullptr),
                        circles[i], "circle", error);
  }
  const std::vector<Point> clipDisc = Disc(52, 48);
  made = made && Keep(video.CreateShape(clip, SHAPE_TRIANGLES, clipDisc.size(), DARKSLATEGREY, 1.0f,
                                        clipDisc.data(), nullptr),
                      clip, "clip disc", error);
  const std::vector<Point> bands = Stripes(60, 10);
  made = made && Keep(video.CreateShape(stripes, SHAPE_TRIANGLES, bands.size(), GOLD, 1.0f,
                                        bands.data(), nullptr),
                      stripes, "stripes", error);

  // Image rows come top row first, so the top corners take t = 0.
  const Point boxTexcoords[] = {{0, 1}, {1, 1}, {0, 0}, {1, 0}};
  made = made && Keep(video.CreateShape(tiles, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1.0f, box.data(),
                                        boxTexcoords),
                      tiles, "tiled quad", error);
  const std::vector<Point> gemBox = Box(24, 24);
  made = made && Keep(video.CreateShape(gem, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1.0f, gemBox.data(),
                                        boxTexcoords),
                      gem, "gem quad", error);

  TextGeometry text;
  for (const Label& label : kLabels) {
    const TextGeometry one = LayOutText(label.text, label.x, label.y, 1.5f);
    text.points.insert(text.points.end(), one.points.begin(), one.points.end());
    text.texcoords.insert(text.texcoords.end(), one.texcoords.begin(), one.texcoords.end());
  }
  made = made && Keep(video.CreateShape(labels, SHAPE_TRIANGLES, text.points.size(), WHITE, 1.0f,
                                        text.points.data(), text.texcoords.data()),
                      labels, "labels", error);
  if (!made) return false;

  const FontAtlas atlas = MakeFontAtlas();
  const bool fontMade = video.CreateFontTexture(font, IMAGE_L8, atlas.pixels.data(),
                                                FontAtlas::kWidth, FontAtlas::kHeight);
  const bool tilesMade = video.CreateTexture(tileTexture, assets.Tiles().c_str());
  const bool gemMade = video.CreateTexture(gemTexture, assets.Gem().c_str(), FUCHSIA);
  textures = {font, tileTexture, gemTexture};
  if (!fontMade || !tilesMade || !gemMade) {
    error = "the device refused a texture";
    return false;
  }
  return true;
}

void Scene::DrawAt(Kelo::IVideo& video, const Placed& placed) {
  video.SetWorldTransform(Placement(placed.x, placed.y, placed.scale));
  video.SelectShape(placed.shape);
  video.DrawShape();
}

// Unstored, from this frame's own arrays, in the font texture.
void Scene::DrawText(Kelo::IVideo& video, const std::string& text, float x, float y, float scale) {
  const TextGeometry geometry = LayOutText(text, x, y, scale);
  video.SetWorldTransform(Placement(0, 0, 1));
  video.DrawShape(Kelo::SHAPE_TRIANGLES, geometry.points.size(), geometry.points.data(),
                  geometry.texcoords.data());
}

void Scene::Draw(Kelo::IVideo& video, int frame) {
  using namespace Kelo;
  const float time = static_cast<float>(frame) / 60.0f;
  // Start-up gives the camera the mode's size; the scene keeps its own, so
  // that it fills the frame in every mode.
  video.SetCamera(kWidth, kHeight);
  video.Clear(MIDNIGHTBLUE);
  video.SetColor(WHITE, 1.0f);

  DrawAt(video, {gradient, -210, 110, 1});
  DrawAt(video, {grid, 0, 110, 1});
  DrawAt(video, {wave, 0, 110, 1});
  DrawAt(video, {star, 165, 110, 1});
  video.SetColor(AQUA, 1.0f);  // the same stored star, tinted
  DrawAt(video, {star, 255, 110, 1});
  video.SetColor(WHITE, 1.0f);

  video.BeginShapeBatch();
  DrawAt(video, {circles[0], -230, -50, 1});
  DrawAt(video, {circles[1], -190, -50, 1});
  DrawAt(video, {circles[2], -210, -80, 1});
  video.EndShapeBatch();

  video.BeginShapeBatch();
  video.SetWorldTransform(Placement(0, -60, 1));
  video.SelectShape(clip);
  video.ClipShape();
  DrawAt(video, {stripes, std::fmod(time * 20, 20.0f), -60, 1});
  video.EndShapeBatch();

  video.BeginTextureBatch(tileTexture);
  DrawAt(video, {tiles, 210, -60, 1});
  video.EndTextureBatch();
  video.BeginShapeBatch();
  video.BeginTextureBatch(gemTexture);
  DrawAt(video, {gem, 210, -60, 1.6f});
  video.EndTextureBatch();
  video.EndShapeBatch();

  const float reach = 120 + 80 * std::sin(time * 2);
  const Point bar[] = {{-300, -200}, {-300 + reach, -200}, {-300, -185}, {-300 + reach, -185}};
  video.SetWorldTransform(Placement(0, 0, 1));
  video.SetColor(ORANGE, 1.0f);
  video.DrawShape(SHAPE_TRIANGLE_STRIP, 4, bar, nullptr);
  video.SetColor(WHITE, 1.0f);

  video.BeginShapeBatch();
  video.BeginTextureBatch(font);
  DrawAt(video, {labels, 0, 0, 1});
  DrawText(video, "KELO OGL - 2D VIDEO PLUG-IN", -216, 232, 2);
  DrawText(video, "FRAME " + std::to_string(frame), 120, -190, 1.5f);
  video.EndTextureBatch();
  video.EndShapeBatch();
}

void Scene::Release(Kelo::IVideo& video) {
  for (unsigned long shape : shapes) video.ReleaseShape(shape);
  for (unsigned long texture : textures) video.ReleaseTexture(texture);
  shapes.clear();
  textures.clear();
}

}  // namespace Demo
