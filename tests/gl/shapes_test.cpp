#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "kelo/colors.h"
#include "shapes/opengl_shape.h"
#include "shapes/storage_backends.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/pixels.h"
#include "video/gl_functions.h"

namespace Kelo {
namespace {

using Support::ColorPath;
using Support::Rgba;
using Support::State;
using Points = std::vector<Point>;
using Bytes = std::vector<unsigned char>;

const Points kFlippedTexcoords = {{0, 0}, {1, 0}, {0, -1}, {1, -1}};

Points Band(float l, float r = 32) { return {{l, -32}, {r, -32}, {l, 32}, {r, 32}}; }

template <typename T, std::size_t N>
void ExpectStored(unsigned long handle, const T (&vertices)[N]) {
  const OGLVRAM::HVRAM_Desc& block = reinterpret_cast<IOpenGLShape*>(handle)->block->data;
  Bytes stored(block.size);
  if (VRAMManager->init == &ram_init) {
    std::copy_n(static_cast<char*>(RAM[block.buffer]) + block.offset, block.size, stored.data());
  } else {
    gl::BindBufferARB(GL_ARRAY_BUFFER, static_cast<GLuint>(block.buffer));
    reinterpret_cast<PFNGLGETBUFFERSUBDATAARBPROC>(SDL_GL_GetProcAddress("glGetBufferSubDataARB"))(
        GL_ARRAY_BUFFER, static_cast<GLintptr>(block.offset), static_cast<GLsizeiptr>(block.size),
        stored.data());
    gl::BindBufferARB(GL_ARRAY_BUFFER, 0);  // the next copy must bind its block's buffer itself
  }
  const auto* first = reinterpret_cast<const unsigned char*>(vertices);
  EXPECT_EQ(stored, Bytes(first, first + sizeof vertices));
}

class ShapesTest : public Support::DeviceTest {
protected:
  unsigned long Store(const Points& points, const Color& colour, float alpha = 1.0f,
                      const Points& texcoords = {}, SHAPE_TYPE type = SHAPE_TRIANGLE_STRIP) {
    unsigned long& handle = shapes.emplace_back();
    EXPECT_TRUE(device.CreateShape(handle, type, points.size(), colour, alpha, points.data(),
                                   texcoords.empty() ? nullptr : texcoords.data()));
    return handle;
  }
  void Draw(std::initializer_list<unsigned long> handles,
            void (IOpenGL::*how)() = &IOpenGL::DrawShape) {
    for (unsigned long handle : handles) {
      device.SelectShape(handle);
      (device.*how)();
    }
  }
};

// A texture batch modulates whatever mode the host left. Stored strips keep |t| (t <= 0 here);
// unstored ones mirror t through the texture matrix, which only the ARB program and the fixed
// pipeline apply; a fan of the same points misses (56, 24). In a shape batch only, opacity
// blends and pixels under any clip stay open. The current colour keeps SetColor's opacity byte
// and tints the host's points on the GLSL paths; texture combining tints only under a texture.
TEST_F(ShapesTest, DrawsTexturedBlendedClippedAndTintedShapesAndStoresTheirLayouts) {
  const ColorPath path = Support::ExpectedColorPath();
  const unsigned long strip = Store(Band(-32), WHITE, 1.0f, kFlippedTexcoords);
  ASSERT_TRUE(
      device.CreateTexture(textures.emplace_back(), IMAGE_RGBA8888, Support::kCheckerTexels, 2, 2));
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
  device.BeginTextureBatch(textures.back());
  const std::vector<GLfloat> matrix = State(GL_TEXTURE_MATRIX, 16);
  for (bool unstored : {false, true}) {
    if (unstored ? path < ColorPath::ARBProgram : path == ColorPath::TextureCombine) continue;
    device.Clear(BLACK);
    glDisableClientState(GL_VERTEX_ARRAY);
    unstored ? device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, Band(-32).data(), kFlippedTexcoords.data())
             : Draw({strip});
    EXPECT_PIXEL_NEAR(16, 16, (Rgba{255, 0, 0, 255}), 0);
    EXPECT_PIXEL_NEAR(56, 24, (Rgba{0, 255, 0, 255}), 0);
  }
  device.Clear(BLACK);
  device.DrawShape(SHAPE_TRIANGLES, 3, Band(-32).data(), Points{{0, 0}, {1, 0}, {0, 1}}.data());
  EXPECT_PIXEL_NEAR(16, 16, (Rgba{255, 0, 0, 255}), 0);
  EXPECT_EQ(State(GL_TEXTURE_MATRIX, 16), matrix) << "the mirror is popped again";
  EXPECT_FALSE(glIsEnabled(GL_TEXTURE_COORD_ARRAY));
  device.EndTextureBatch();
  Draw({strip});
  EXPECT_PIXEL_NEAR(16, 48, (Rgba{255, 255, 255, 255}), 0);
  device.BeginTextureBatch(0);
  EXPECT_EQ(State(GL_TEXTURE_BINDING_2D, 1)[0], 0);
  device.EndTextureBatch();
  EXPECT_EQ(device.GetWidthTexture(0) + device.GetHeightTexture(0), 0);
  const unsigned long blue = Store(Band(-32), BLUE), red = Store(Band(-32), RED, 0.5f);
  glClearStencil(1);
  glClear(GL_STENCIL_BUFFER_BIT);
  glClearStencil(0);
  device.Clear(BLACK);
  device.BeginShapeBatch();
  Draw({Store(Band(-32, -8), GREY), Store(Band(-16, 8), GREY)}, &IOpenGL::ClipShape);
  Draw({blue, red});
  for (int x : {4, 20, 36}) EXPECT_PIXEL_NEAR(x, 32, (Rgba{127, 0, 128, 255}), 1);
  EXPECT_PIXEL_NEAR(52, 32, (Rgba{0, 0, 0, 255}), 0);
  device.EndShapeBatch();
  Draw({red});
  EXPECT_PIXEL_NEAR(52, 32, (Rgba{255, 0, 0, 255}), 0);
  device.SetColor({255, 128, 255}, 0.5f);
  Draw({Store(Band(-32, 0), {200, 100, 50}, 1.0f, kFlippedTexcoords)});
  EXPECT_EQ(State(GL_CURRENT_COLOR, 4),
            (std::vector<GLfloat>{1.0f, 128 / 255.0f, 1.0f, 127 / 255.0f}));
  const GLfloat bound = State(GL_ARRAY_BUFFER_BINDING, 1)[0];
  device.SetColor(YELLOW, 1.0f);
  glDisableClientState(GL_VERTEX_ARRAY);
  device.DrawShape(SHAPE_TYPE(4), 4, Band(-32).data(), nullptr);
  device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, Band(0, 32).data(), nullptr);
  const bool combine = path == ColorPath::TextureCombine, glsl = path < ColorPath::ARBProgram;
  EXPECT_PIXEL_NEAR(16, 32, (combine ? Rgba{200, 100, 50, 255} : Rgba{200, 50, 50, 255}), 1);
  EXPECT_PIXEL_NEAR(48, 32, (glsl ? Rgba{255, 128, 0, 255} : Rgba{255, 255, 0, 255}), 1);
  EXPECT_EQ(State(GL_ARRAY_BUFFER_BINDING, 1)[0], bound);
  EXPECT_TRUE(glIsEnabled(GL_COLOR_ARRAY) && glIsEnabled(GL_TEXTURE_COORD_ARRAY));
  EXPECT_FALSE(glIsEnabled(GL_VERTEX_ARRAY));
  // Only strips store |t|; no other kind is stored.
  const Points points = {{1.5f, -2.0f}, {3.0f, 4.0f}};
  for (SHAPE_TYPE type : {SHAPE_LINES, SHAPE_LINE_STRIP, SHAPE_TRIANGLE_STRIP, SHAPE_TRIANGLES}) {
    const float t0 = type == SHAPE_TRIANGLE_STRIP ? 1.0f : -1.0f;
    const TexturedVertex expected[] = {{0.25f, t0, 9, 8, 7, 127, 1.5f, -2.0f, 0.0f},
                                       {0.5f, 0.75f, 9, 8, 7, 127, 3.0f, 4.0f, 0.0f}};
    ExpectStored(Store(points, {9, 8, 7}, 0.5f, {{0.25f, -1}, {0.5f, 0.75f}}, type), expected);
  }
  const Color colours[] = {{1, 2, 3}, {4, 5, 6}};
  ASSERT_TRUE(
      device.CreateShape(shapes.emplace_back(), SHAPE_LINE_STRIP, 2, colours, 1.0f, points.data()));
  const ColouredVertex expected[] = {{1, 2, 3, 255, 1.5f, -2.0f}, {4, 5, 6, 255, 3.0f, 4.0f}};
  ExpectStored(shapes.back(), expected);
  unsigned long refused = 0;
  EXPECT_FALSE(device.CreateShape(refused, SHAPE_TYPE(4), 2, RED, 1.0f, points.data(), nullptr));
  device.ReleaseGL();
  EXPECT_FALSE(device.CreateShape(refused, SHAPE_LINES, 2, colours, 1.0f, points.data()));
  EXPECT_EQ(refused, 0u);
}

// Whatever happens between, each stored shape shows in the current colour (white under white
// takes the tint on every path): textured, coloured, textured 5.5 vertices after the first,
// textured 4 after that, coloured and larger than a buffer; each ends in a 16-pixel square.
TEST_F(ShapesTest, TheNextStoredDrawSeesWhatChangedSinceTheLast) {
  ASSERT_TRUE(device.CreateTexture(textures.emplace_back(), IMAGE_RGBA8888,
                                   Support::kCheckerTexels + 12, 1, 1));
  device.BeginTextureBatch(textures.back());
  const Point places[] = {{-32, -32}, {-16, -32}, {0, -32}, {16, -32}, {-32, 0}};
  const int counts[] = {4, 3, 4, 4, 180000};
  unsigned long s[5];
  for (int i = 0; i < 5; ++i) {
    Points points;
    for (int j = 4 - counts[i]; j < 4; ++j)
      points.push_back({places[i].x + 16 * (std::max(j, 0) % 2), places[i].y + 16 * (j > 1)});
    log.Clear();
    s[i] = Store(points, WHITE, 1.0f, i % 3 == 1 ? Points() : Points(points.size(), {0, 0}));
  }
  EXPECT_EQ(log.Lines(),
            std::vector<std::string>{"[kelo-opengl] cannot allocate [2160000] bytes.\n"});
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"unstored", [&] { device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, Band(0, 1).data(), nullptr); }},
      {"the colour array off", [] { glDisableClientState(GL_COLOR_ARRAY); }},
      {"the texture coordinate array on", [] { glEnableClientState(GL_TEXTURE_COORD_ARRAY); }},
      {"the normal array on", [] { glEnableClientState(GL_NORMAL_ARRAY); }},
      {"a draw in another context", [&] {
         SDL_GL_SetAttribute(SDL_GL_SHARE_WITH_CURRENT_CONTEXT, 1);
         SDL_GLContext second = SDL_GL_CreateContext(window);
         SDL_GL_SetAttribute(SDL_GL_SHARE_WITH_CURRENT_CONTEXT, 0);
         device.InitGL(kWidth, kHeight);
         device.SetColor(BLUE, 1.0f);
         Draw({s[4]});
         SDL_GL_MakeCurrent(window, context);
         SDL_GL_DeleteContext(second);
       }}};
  for (const auto& [name, between] : cases) {
    SCOPED_TRACE(name);
    device.SetColor(RED, 1.0f);
    Draw({s[0], s[1], s[2], s[3], s[4]});
    between();
    device.SetColor(BLUE, 1.0f);
    device.Clear(BLACK);
    Draw({s[4]});
    EXPECT_TRUE(glIsEnabled(GL_COLOR_ARRAY) && !glIsEnabled(GL_TEXTURE_COORD_ARRAY) &&
                !glIsEnabled(GL_NORMAL_ARRAY));
    Draw({s[0], s[2], s[3], s[1]});
    for (const Point& p : places) EXPECT_PIXEL_NEAR(p.x + 44, p.y + 44, (Rgba{0, 0, 255, 255}), 0);
  }
  device.EndTextureBatch();
}

// Client-memory buffers are separate allocations, which may lie anywhere. Here the first two lie
// 2^32 vertices apart (of either layout), where an index taken across them wraps to the first
// buffer's first vertex; each shape still draws its own, the one in the second buffer last.
TEST_F(ShapesTest, ShapesInTwoClientMemoryBuffersEachDrawTheirOwnVertices) {
  if (VRAMManager->init != &ram_init) GTEST_SKIP() << "client-memory storage only";
  const unsigned long left = Store(Band(-32, 0), RED);
  const unsigned long filler =
      (kVertexBufferSize - 4 * sizeof(ColouredVertex)) / sizeof(ColouredVertex);
  Store(Points(filler, {0, 0}), BLACK, 1.0f, {}, SHAPE_LINES);
  const unsigned long right = Store(Band(0), BLUE);
  ASSERT_EQ(reinterpret_cast<IOpenGLShape*>(right)->block->data.buffer, 1u);
  const std::uintptr_t kApart = std::uintptr_t{24} << 32;
  void* moved[2] = {};
  for (std::uintptr_t base = std::uintptr_t{1} << 45; !moved[1] && base < std::uintptr_t{1} << 46;
       base += kApart * 2) {
    for (int i = 0; i < 2; ++i) {
      moved[i] =
          mmap(reinterpret_cast<void*>(base + i * kApart), kVertexBufferSize,
               PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
      if (moved[i] == MAP_FAILED) moved[i] = nullptr;
    }
    if (!moved[1] && moved[0]) munmap(moved[0], kVertexBufferSize);
  }
  ASSERT_TRUE(moved[0] && moved[1]) << "no room for two buffers that far apart";
  void* const kept[2] = {RAM[0], RAM[1]};
  for (int i = 0; i < 2; ++i) RAM[i] = std::memcpy(moved[i], kept[i], kVertexBufferSize);
  device.Clear(BLACK);
  Draw({left, right});
  EXPECT_PIXEL_NEAR(16, 32, (Rgba{255, 0, 0, 255}), 0);
  EXPECT_PIXEL_NEAR(48, 32, (Rgba{0, 0, 255, 255}), 0);
  for (int i = 0; i < 2; ++i) {
    RAM[i] = kept[i];
    munmap(moved[i], kVertexBufferSize);
  }
  Draw({left});
}

// Without the device's own context a new buffer would be made nowhere, and the shapes later
// placed in it would fail to store: nothing is stored then. Here the first buffer has room for
// four vertices, so a shape of five needs a new one.
TEST_F(ShapesTest, NoShapeIsStoredWithoutTheDevicesOwnContext) {
  Store(Points(kVertexBufferSize / sizeof(ColouredVertex) - 4, {0, 0}), BLACK, 1.0f, {},
        SHAPE_LINES);
  Points five = Band(-32);
  five.push_back(five.back());
  SDL_GL_MakeCurrent(window, nullptr);
  unsigned long refused = 0;
  EXPECT_FALSE(device.CreateShape(refused, SHAPE_TRIANGLE_STRIP, five.size(), RED, 1.0f,
                                  five.data(), nullptr));
  SDL_GL_MakeCurrent(window, context);
  device.Clear(BLACK);
  Draw({Store(five, RED)});
  EXPECT_PIXEL_NEAR(16, 32, (Rgba{255, 0, 0, 255}), 0);
}

}  // namespace
}  // namespace Kelo
