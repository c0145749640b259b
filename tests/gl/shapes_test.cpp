#include <GL/gl.h>
#include <GL/glext.h>
#include <SDL.h>
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kelo/colors.h"
#include "shapes/opengl_shape.h"
#include "shapes/storage_backends.h"
#include "tests/support/device_fixture.h"
#include "tests/support/pixels.h"

namespace Kelo {
namespace {

using Support::ColorPath;
using Support::ExpectedColorPath;
using Support::Rgba;

const Rgba kBlack{0, 0, 0, 255};
const Rgba kBlue{0, 0, 255, 255};
const Point kQuad[] = {{-32, -32}, {32, -32}, {-32, 32}, {32, 32}};
const Point kLeftHalf[] = {{-32, -32}, {0, -32}, {-32, 32}, {0, 32}};
// Texture coordinates with t <= 0, which stored and unstored strips agree on.
const Point kFlippedTexcoords[] = {{0, 0}, {1, 0}, {0, -1}, {1, -1}};

class ShapesTest : public Support::DeviceTest {
protected:
  unsigned long Store(const Point* points, unsigned long count, const Color& colour, float alpha,
                      const Point* texcoords = nullptr, SHAPE_TYPE type = SHAPE_TRIANGLE_STRIP) {
    unsigned long handle = 0;
    EXPECT_TRUE(device.CreateShape(handle, type, count, colour, alpha, points, texcoords));
    return Keep(handle);
  }
  unsigned long Keep(unsigned long handle) {
    handles.push_back(handle);
    return handle;
  }
  void Draw(unsigned long handle) {
    device.SelectShape(handle);
    device.DrawShape();
  }
  // Binds the checker for textured draws that the texture environment
  // modulates.
  void BindChecker() {
    glGenTextures(1, &checker);
    glBindTexture(GL_TEXTURE_2D, checker);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                 Support::kCheckerTexels);
    glEnable(GL_TEXTURE_2D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  }
  void TearDown() override {
    for (unsigned long handle : handles) device.ReleaseShape(handle);
    glDisable(GL_TEXTURE_2D);
    glDeleteTextures(1, &checker);
    DeviceTest::TearDown();
  }
  std::vector<unsigned long> handles;
  GLuint checker = 0;
};

TEST_F(ShapesTest, StoresOnTheExpectedBackEnd) {
  const std::string storage = Support::ExpectedStorage();
  if (storage.empty()) GTEST_SKIP() << "KELO_EXPECT_STORAGE is not set; run through ctest";
  EXPECT_EQ(VRAMManager->init, storage == "vbo" ? &vbo_init : &ram_init);
}

TEST_F(ShapesTest, StoredShapesAreTintedByTheColourPathAndKeepTheCurrentColour) {
  device.Clear(BLACK);
  const Color perVertex[] = {{200, 100, 50}, {200, 100, 50}, {200, 100, 50}, {200, 100, 50}};
  unsigned long handle = 0;
  ASSERT_TRUE(device.CreateShape(handle, SHAPE_TRIANGLE_STRIP, 4, perVertex, 1.0f, kQuad));
  Keep(handle);
  device.SetColor({255, 128, 255}, 0.5f);
  Draw(handle);
  // The texture-combine path tints only while a texture is enabled; llvmpipe
  // rounds the product of two colours either way.
  const bool tinted = ExpectedColorPath() != ColorPath::TextureCombine;
  EXPECT_PIXEL_NEAR(32, 32, (tinted ? Rgba{200, 50, 50, 255} : Rgba{200, 100, 50, 255}), 1);
  GLfloat current[4];
  glGetFloatv(GL_CURRENT_COLOR, current);
  EXPECT_EQ(std::vector<GLfloat>(current, current + 4),
            (std::vector<GLfloat>{1.0f, 128 / 255.0f, 1.0f, 127 / 255.0f}));
}

TEST_F(ShapesTest, OpacityCountsOnlyInsideAShapeBatch) {
  const unsigned long handle = Store(kQuad, 4, RED, 0.5f);
  device.SetColor(WHITE, 1.0f);
  for (bool batched : {false, true}) {
    device.Clear(LIME);
    if (batched) device.BeginShapeBatch();
    Draw(handle);
    if (batched) device.EndShapeBatch();
    EXPECT_FALSE(glIsEnabled(GL_BLEND));
    // 127/255 of red over green; llvmpipe's blending rounds either way.
    EXPECT_PIXEL_NEAR(32, 32, (batched ? Rgba{127, 128, 0, 255} : Rgba{255, 0, 0, 255}), 1);
  }
}

TEST_F(ShapesTest, AClipLimitsDrawingToItsPixelsUntilTheBatchEnds) {
  const unsigned long clip = Store(kLeftHalf, 4, GREY, 1.0f);
  const unsigned long cover = Store(kQuad, 4, BLUE, 1.0f);
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  device.BeginShapeBatch();
  device.SelectShape(clip);
  device.ClipShape();
  // The clip shape is drawn too.
  EXPECT_PIXEL_NEAR(16, 32, (Rgba{128, 128, 128, 255}), 0);
  Draw(cover);
  EXPECT_PIXEL_NEAR(16, 32, kBlue, 0);
  EXPECT_PIXEL_NEAR(48, 32, kBlack, 0);
  // Drawing inside the clip keeps it for the next draw.
  Draw(clip);
  EXPECT_PIXEL_NEAR(16, 32, (Rgba{128, 128, 128, 255}), 0);
  device.EndShapeBatch();
  Draw(cover);
  EXPECT_PIXEL_NEAR(48, 32, kBlue, 0);
}

// Stored strips keep |t|; unstored ones mirror t through the texture matrix,
// which only the ARB program and the fixed pipeline apply.
TEST_F(ShapesTest, TexturedStripsShowTheTextureUpright) {
  const ColorPath path = ExpectedColorPath();
  BindChecker();
  device.SetColor(WHITE, 1.0f);
  if (path != ColorPath::TextureCombine) {
    SCOPED_TRACE("stored");
    device.Clear(BLACK);
    Draw(Store(kQuad, 4, WHITE, 1.0f, kFlippedTexcoords));
    Support::ExpectCheckerUpright();
  }
  if (path == ColorPath::ARBProgram || path == ColorPath::TextureCombine) {
    SCOPED_TRACE("unstored");
    device.Clear(BLACK);
    float before[16], after[16];
    glGetFloatv(GL_TEXTURE_MATRIX, before);
    glDisableClientState(GL_VERTEX_ARRAY);
    device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, kQuad, kFlippedTexcoords);
    Support::ExpectCheckerUpright();
    glGetFloatv(GL_TEXTURE_MATRIX, after);
    EXPECT_EQ(std::memcmp(before, after, sizeof before), 0) << "the mirror is popped again";
    EXPECT_FALSE(glIsEnabled(GL_TEXTURE_COORD_ARRAY));
    glMatrixMode(GL_MODELVIEW);
  }
}

TEST_F(ShapesTest, AnUnstoredShapeDrawsTheHostsPointsAfterAStoredDraw) {
  const unsigned long stored = Store(kLeftHalf, 4, RED, 1.0f, kFlippedTexcoords);
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  Draw(stored);
  GLint boundBefore = 0, boundAfter = 0;
  glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &boundBefore);
  const Point rightHalf[] = {{0, -32}, {32, -32}, {0, 32}, {32, 32}};
  device.SetColor(YELLOW, 1.0f);
  // The stored draw's vertex array must not be what draws the host's points.
  glDisableClientState(GL_VERTEX_ARRAY);
  device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, rightHalf, nullptr);
  // The points take the current colour (the shader paths multiply it by the
  // white tint the stored draw handed over).
  EXPECT_PIXEL_NEAR(48, 32, (Rgba{255, 255, 0, 255}), 0);
  EXPECT_PIXEL_NEAR(16, 32, (Rgba{255, 0, 0, 255}), 0);
  glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &boundAfter);
  EXPECT_EQ(boundAfter, boundBefore);
  EXPECT_TRUE(glIsEnabled(GL_COLOR_ARRAY) && glIsEnabled(GL_TEXTURE_COORD_ARRAY))
      << "the stored draw's arrays stay on";
  EXPECT_FALSE(glIsEnabled(GL_VERTEX_ARRAY));
}

using Bytes = std::vector<unsigned char>;

// The bytes of an array of vertices.
template <typename T, std::size_t N>
Bytes BytesOf(const T (&vertices)[N]) {
  const auto* first = reinterpret_cast<const unsigned char*>(vertices);
  return Bytes(first, first + sizeof vertices);
}

// The bytes of a shape's block, wherever the back-end keeps them.
Bytes StoredBytes(unsigned long handle) {
  const OGLVRAM::HVRAM_Desc& block = reinterpret_cast<IOpenGLShape*>(handle)->block->data;
  Bytes bytes(block.size);
  if (VRAMManager->init == &ram_init) {
    std::memcpy(bytes.data(), static_cast<unsigned char*>(RAM[block.buffer]) + block.offset,
                block.size);
    return bytes;
  }
  const auto bind =
      reinterpret_cast<PFNGLBINDBUFFERARBPROC>(SDL_GL_GetProcAddress("glBindBufferARB"));
  bind(GL_ARRAY_BUFFER, static_cast<GLuint>(block.buffer));
  reinterpret_cast<PFNGLGETBUFFERSUBDATAARBPROC>(SDL_GL_GetProcAddress("glGetBufferSubDataARB"))(
      GL_ARRAY_BUFFER, static_cast<GLintptr>(block.offset), static_cast<GLsizeiptr>(block.size),
      bytes.data());
  // The next copy must bind its block's buffer itself.
  bind(GL_ARRAY_BUFFER, 0);
  return bytes;
}

// Every kind packs (s, t, r, g, b, a, x, y, z) with texture coordinates, and
// (r, g, b, a, x, y) without; only textured strips store |t|.
TEST_F(ShapesTest, PacksTheInterleavedLayoutsByteForByte) {
  const Point points[] = {{1.5f, -2.0f}, {3.0f, 4.0f}};
  const Point texcoords[] = {{0.25f, -1.0f}, {0.5f, 0.75f}};
  const GLenum modes[] = {GL_LINES, GL_LINE_STRIP, GL_TRIANGLE_STRIP, GL_TRIANGLES};
  for (SHAPE_TYPE type : {SHAPE_LINES, SHAPE_LINE_STRIP, SHAPE_TRIANGLE_STRIP, SHAPE_TRIANGLES}) {
    const unsigned long handle = Store(points, 2, Color{9, 8, 7}, 0.5f, texcoords, type);
    const auto* shape = reinterpret_cast<IOpenGLShape*>(handle);
    EXPECT_EQ(shape->mode, modes[type]);
    EXPECT_EQ(shape->format, static_cast<unsigned>(GL_T2F_C4UB_V3F));
    const float t0 = type == SHAPE_TRIANGLE_STRIP ? 1.0f : -1.0f;
    const TexturedVertex expected[] = {{0.25f, t0, 9, 8, 7, 127, 1.5f, -2.0f, 0.0f},
                                       {0.5f, 0.75f, 9, 8, 7, 127, 3.0f, 4.0f, 0.0f}};
    EXPECT_EQ(StoredBytes(handle), BytesOf(expected)) << type;
  }
  const Color colours[] = {{1, 2, 3}, {4, 5, 6}};
  unsigned long handle = 0;
  ASSERT_TRUE(device.CreateShape(handle, SHAPE_LINE_STRIP, 2, colours, 1.0f, points));
  const ColouredVertex expected[] = {{1, 2, 3, 255, 1.5f, -2.0f}, {4, 5, 6, 255, 3.0f, 4.0f}};
  EXPECT_EQ(StoredBytes(Keep(handle)), BytesOf(expected));
  EXPECT_EQ(reinterpret_cast<IOpenGLShape*>(handle)->format, static_cast<unsigned>(GL_C4UB_V2F));
  EXPECT_EQ(reinterpret_cast<IOpenGLShape*>(handle)->vertexCount, 2u);
}

TEST_F(ShapesTest, AnOversizedShapeIsWarnedAboutButStoredAndDrawnWhole) {
  // 90,000 textured vertices need 2,160,000 bytes, twice a buffer.
  const unsigned long count = 90000;
  std::vector<Point> points(count, Point{-40, -40});
  const std::vector<Point> texcoords(count, Point{0, 0});
  points[count - 3] = {-32, -32};
  points[count - 2] = {32, -32};
  points[count - 1] = {-32, 32};
  const unsigned long handle =
      Store(points.data(), count, CYAN, 1.0f, texcoords.data(), SHAPE_TRIANGLES);
  EXPECT_EQ(log.Lines(),
            std::vector<std::string>{"[kelo-opengl] cannot allocate [2160000] bytes.\n"});
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  Draw(handle);
  // The last triangle comes from past the first megabyte.
  EXPECT_PIXEL_NEAR(8, 8, (Rgba{0, 255, 255, 255}), 0);
}

TEST_F(ShapesTest, RefusesWhatItCannotStoreAndIgnoresWhatIsNotThere) {
  unsigned long handle = 12345;
  EXPECT_FALSE(device.CreateShape(handle, SHAPE_TYPE(4), 4, RED, 1.0f, kQuad, nullptr));
  device.Clear(BLACK);
  device.SelectShape(0);
  device.DrawShape();
  device.ClipShape();
  EXPECT_FALSE(glIsEnabled(GL_STENCIL_TEST));
  device.DrawShape(SHAPE_TYPE(4), 4, kQuad, nullptr);
  EXPECT_TRUE(device.ReleaseShape(0));
  EXPECT_PIXEL_NEAR(32, 32, kBlack, 0);
  device.ReleaseGL();
  EXPECT_FALSE(device.CreateShape(handle, SHAPE_LINES, 2, RED, 1.0f, kQuad, nullptr))
      << "no storage before a display mode is set";
  EXPECT_FALSE(device.CreateShape(handle, SHAPE_LINES, 2, &RED, 1.0f, kQuad));
  EXPECT_EQ(handle, 12345u);
}

}  // namespace
}  // namespace Kelo
