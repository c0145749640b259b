#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "kelo/colors.h"
#include "tests/support/device_fixture.h"
#include "tests/support/pixels.h"

namespace Kelo {
namespace {

// Stored draws keep the vertex pointers and the tint they last set while
// OpenGL still shows them. Whatever happens between two draws, each shape
// must show in its own place in the current colour: white vertices under a
// white texture take the tint on every colour path.
class StoredDrawStateTest : public Support::DeviceTest {
protected:
  void Store(float x, float y, unsigned long count, bool textured) {
    std::vector<Point> points, texcoords(count, Point{0, 0});
    for (unsigned long i = 0; i < count; ++i) {
      points.push_back(
          {x + 32 * static_cast<float>(i % 2), y + 32 * static_cast<float>(i % 4 / 2)});
    }
    unsigned long& handle = shapes.emplace_back();
    ASSERT_TRUE(device.CreateShape(handle, SHAPE_TRIANGLE_STRIP, count, WHITE, 1.0f, points.data(),
                                   textured ? texcoords.data() : nullptr));
  }
  void Draw(std::initializer_list<size_t> order) {
    device.BeginTextureBatch(texture);
    for (size_t i : order) {
      device.SelectShape(shapes[i]);
      device.DrawShape();
    }
  }
  std::vector<unsigned long> shapes;
  unsigned long texture = 0;
};

TEST_F(StoredDrawStateTest, TheNextDrawSeesWhatChangedSinceTheLast) {
  const unsigned char white[] = {255, 255, 255, 255};
  ASSERT_TRUE(device.CreateTexture(texture, IMAGE_RGBA8888, white, 1, 1));
  // Stored one after another, the third shape lies 132 bytes after the first,
  // no whole number of their 24-byte vertices; the last is too large to share
  // a buffer with the others.
  Store(-32, -32, 4, true);
  Store(0, -32, 3, false);
  Store(-32, 0, 4, true);
  Store(0, 0, 90000, false);
  const Point elsewhere[] = {{-32, -32}, {-31, -32}, {-32, -31}};
  const struct {
    const char* name;
    std::function<void()> between;
  } cases[] = {
      {"the host sets the current colour", [] { glColor4ub(0, 0, 255, 255); }},
      {"an unstored draw",
       [&] {
         device.SetColor(BLUE, 1.0f);
         device.DrawShape(SHAPE_TRIANGLE_STRIP, 3, elsewhere, nullptr);
       }},
      {"a draw in another context",
       [&] {
         SDL_GL_SetAttribute(SDL_GL_SHARE_WITH_CURRENT_CONTEXT, 1);
         SDL_GLContext second = SDL_GL_CreateContext(window);
         SDL_GL_SetAttribute(SDL_GL_SHARE_WITH_CURRENT_CONTEXT, 0);
         device.InitGL(kWidth, kHeight);
         device.SetColor(BLUE, 1.0f);
         Draw({3});
         SDL_GL_MakeCurrent(window, context);
         SDL_GL_DeleteContext(second);
         device.SetColor(BLUE, 1.0f);
       }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    device.SetColor(RED, 1.0f);
    Draw({0, 2, 1, 3});
    c.between();
    device.Clear(BLACK);
    // The first draw is the one most likely to skip setting anything.
    Draw({3, 0, 2, 1});
    device.EndTextureBatch();
    for (const auto& [x, y] : {std::pair{8, 8}, {40, 8}, {8, 40}, {40, 40}}) {
      EXPECT_PIXEL_NEAR(x, y, (Support::Rgba{0, 0, 255, 255}), 0);
    }
  }
  for (unsigned long shape : shapes) device.ReleaseShape(shape);
  device.ReleaseTexture(texture);
}

}  // namespace
}  // namespace Kelo
