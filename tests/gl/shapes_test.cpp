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
const Point kQuad[] = {{-32, -32}, {32, -32}, {-32, 32}, {32, 32}};
const Point kLeftHalf[] = {{-32, -32}, {0, -32}, {-32, 32}, {0, 32}};
// Texture coordinates with t <= 0, which stored and unstored strips agree on.
const Point kFlippedTexcoords[] = {{0, 0}, {1, 0}, {0, -1}, {1, -1}};

bool Programmed() { return ExpectedColorPath() != ColorPath::TextureCombine; }

class ShapesTest : public Kelo::Support::DeviceTest {
protected:
  unsigned long Store(const Point* points, unsigned long count, const Color& colour, float alpha,
                      const Point* texcoords = nullptr) {
    unsigned long handle = 0;
    EXPECT_TRUE(
        device.CreateShape(handle, SHAPE_TRIANGLE_STRIP, count, colour, alpha, points, texcoords));
    handles.push_back(handle);
    return handle;
  }
  void Draw(unsigned long handle) {
    device.SelectShape(handle);
    device.DrawShape();
  }
  void TearDown() override {
    for (unsigned long handle : handles) device.ReleaseShape(handle);
    Kelo::Support::DeviceTest::TearDown();
  }
  std::vector<unsigned long> handles;
};

TEST_F(ShapesTest, StoresOnTheExpectedBackEnd) {
  const std::string storage = Kelo::Support::ExpectedStorage();
  if (storage.empty()) GTEST_SKIP() << "KELO_EXPECT_STORAGE is not set; run through ctest";
  EXPECT_EQ(VRAMManager->init, storage == "vbo" ? &vbo_init : &ram_init);
}

TEST_F(ShapesTest, StoredShapesAreTintedByTheColourPathAndKeepTheCurrentColour) {
  device.Clear(BLACK);
  const Color perVertex[] = {{200, 100, 50}, {200, 100, 50}, {200, 100, 50}, {200, 100, 50}};
  unsigned long handle = 0;
  ASSERT_TRUE(device.CreateShape(handle, SHAPE_TRIANGLE_STRIP, 4, perVertex, 1.0f, kQuad));
  handles.push_back(handle);
  device.SetColor({255, 128, 255}, 0.5f);
  Draw(handle);
  // The texture-combine path tints only while a texture is enabled.
  const Rgba expected = Programmed() ? Rgba{200, 50, 50, 255} : Rgba{200, 100, 50, 255};
  // llvmpipe rounds the product of two colours either way.
  EXPECT_PIXEL_NEAR(32, 32, expected, 1);

  GLfloat current[4];
  glGetFloatv(GL_CURRENT_COLOR, current);
  EXPECT_FLOAT_EQ(current[0], 1.0f);
  EXPECT_FLOAT_EQ(current[1], 128 / 255.0f);
  EXPECT_FLOAT_EQ(current[3], 127 / 255.0f);
}

TEST_F(ShapesTest, HandsTheTintToTheVertexProgramOrTheTextureEnvironment) {
  const unsigned long handle = Store(kQuad, 4, WHITE, 1.0f);
  device.SetColor(RED, 0.5f);
  Draw(handle);
  if (ExpectedColorPath() == ColorPath::ARBProgram) {
    GLfloat parameter[4];
    reinterpret_cast<PFNGLGETPROGRAMENVPARAMETERFVARBPROC>(SDL_GL_GetProcAddress(
        "glGetProgramEnvParameterfvARB"))(GL_VERTEX_PROGRAM_ARB, 0, parameter);
    EXPECT_FLOAT_EQ(parameter[0], 1.0f);
    EXPECT_FLOAT_EQ(parameter[1], 0.0f);
    EXPECT_FLOAT_EQ(parameter[3], 127 / 255.0f);
    EXPECT_FALSE(glIsEnabled(GL_VERTEX_PROGRAM_ARB)) << "enabled only during the draw";
  } else if (ExpectedColorPath() == ColorPath::TextureCombine) {
    GLint mode = 0;
    GLfloat colour[4];
    glGetTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, &mode);
    glGetTexEnvfv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_COLOR, colour);
    EXPECT_EQ(mode, GL_BLEND);
    EXPECT_FLOAT_EQ(colour[0], 1.0f);
    EXPECT_FLOAT_EQ(colour[3], 127 / 255.0f);
  } else {
    GLfloat attribute[4];
    reinterpret_cast<PFNGLGETVERTEXATTRIBFVARBPROC>(SDL_GL_GetProcAddress(
        "glGetVertexAttribfvARB"))(1, GL_CURRENT_VERTEX_ATTRIB_ARB, attribute);
    EXPECT_FLOAT_EQ(attribute[0], 1.0f);
    EXPECT_FLOAT_EQ(attribute[1], 0.0f);
    EXPECT_FLOAT_EQ(attribute[3], 127 / 255.0f);
  }
}

TEST_F(ShapesTest, OpacityCountsOnlyInsideAShapeBatch) {
  const unsigned long handle = Store(kQuad, 4, RED, 0.5f);
  device.SetColor(WHITE, 1.0f);
  device.Clear(LIME);
  Draw(handle);
  EXPECT_PIXEL_NEAR(32, 32, (Rgba{255, 0, 0, 255}), 0);

  device.Clear(LIME);
  device.BeginShapeBatch();
  Draw(handle);
  device.EndShapeBatch();
  EXPECT_FALSE(glIsEnabled(GL_BLEND));
  // 127/255 of red over green; llvmpipe's blending rounds either way.
  EXPECT_PIXEL_NEAR(32, 32, (Rgba{127, 128, 0, 255}), 1);
}

TEST_F(ShapesTest, AClipLimitsDrawingToItsPixelsUntilTheBatchEnds) {
  const unsigned long clip = Store(kLeftHalf, 4, GREY, 1.0f);
  const unsigned long cover = Store(kQuad, 4, BLUE, 1.0f);
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  device.BeginShapeBatch();
  device.SelectShape(clip);
  device.ClipShape();
  EXPECT_TRUE(glIsEnabled(GL_STENCIL_TEST));
  EXPECT_PIXEL_NEAR(48, 32, kBlack, 0);
  // The clip shape is drawn too.
  EXPECT_PIXEL_NEAR(16, 32, (Rgba{128, 128, 128, 255}), 0);
  Draw(cover);
  EXPECT_PIXEL_NEAR(16, 32, (Rgba{0, 0, 255, 255}), 0);
  EXPECT_PIXEL_NEAR(48, 32, kBlack, 0);
  device.EndShapeBatch();
  EXPECT_FALSE(glIsEnabled(GL_STENCIL_TEST));
  Draw(cover);
  EXPECT_PIXEL_NEAR(48, 32, (Rgba{0, 0, 255, 255}), 0);
}

// Two texels high, two wide: red, green over blue, white (bottom row first).
GLuint MakeCheckerTexture() {
  const unsigned char texels[] = {255, 0, 0,   255, 0,   255, 0,   255,
                                  0,   0, 255, 255, 255, 255, 255, 255};
  GLuint name = 0;
  glGenTextures(1, &name);
  glBindTexture(GL_TEXTURE_2D, name);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels);
  return name;
}

// Where each texel of the checker lands when t runs from 0 at the bottom to
// 1 at the top.
void ExpectCheckerUpright() {
  EXPECT_PIXEL_NEAR(16, 16, (Rgba{255, 0, 0, 255}), 0);
  EXPECT_PIXEL_NEAR(48, 16, (Rgba{0, 255, 0, 255}), 0);
  EXPECT_PIXEL_NEAR(16, 48, (Rgba{0, 0, 255, 255}), 0);
  EXPECT_PIXEL_NEAR(48, 48, (Rgba{255, 255, 255, 255}), 0);
}

TEST_F(ShapesTest, StoredTexturedStripsKeepTheAbsoluteT) {
  if (!Programmed()) {
    GTEST_SKIP() << "texture combining blends the tint into the texels";
  }
  GLuint texture = MakeCheckerTexture();
  glEnable(GL_TEXTURE_2D);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  const unsigned long handle = Store(kQuad, 4, WHITE, 1.0f, kFlippedTexcoords);
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  Draw(handle);
  ExpectCheckerUpright();
  glDisable(GL_TEXTURE_2D);
  glDeleteTextures(1, &texture);
}

// The GLSL program passes texture coordinates through without the texture
// matrix, so there the mirror of unstored strips has no effect.
TEST_F(ShapesTest, UnstoredTexturedStripsMirrorTThroughTheTextureMatrix) {
  const ColorPath path = ExpectedColorPath();
  if (path == ColorPath::Shader || path == ColorPath::ARBShader || path == ColorPath::Unknown) {
    GTEST_SKIP() << "the GLSL program ignores the texture matrix";
  }
  GLuint texture = MakeCheckerTexture();
  glEnable(GL_TEXTURE_2D);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  float before[16];
  glGetFloatv(GL_TEXTURE_MATRIX, before);
  device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, kQuad, kFlippedTexcoords);
  ExpectCheckerUpright();
  GLint mode = 0;
  glGetIntegerv(GL_MATRIX_MODE, &mode);
  EXPECT_EQ(mode, GL_TEXTURE) << "the matrix mode is left at GL_TEXTURE";
  float after[16];
  glGetFloatv(GL_TEXTURE_MATRIX, after);
  EXPECT_EQ(std::memcmp(before, after, sizeof before), 0) << "the mirror is popped again";
  EXPECT_FALSE(glIsEnabled(GL_TEXTURE_COORD_ARRAY));
  glMatrixMode(GL_MODELVIEW);
  glDisable(GL_TEXTURE_2D);
  glDeleteTextures(1, &texture);
}

TEST_F(ShapesTest, AnUnstoredShapeDrawsTheHostsPointsAfterAStoredDraw) {
  const unsigned long stored = Store(kLeftHalf, 4, RED, 1.0f);
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  Draw(stored);
  GLint boundBefore = 0;
  glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &boundBefore);
  const Point rightHalf[] = {{0, -32}, {32, -32}, {0, 32}, {32, 32}};
  device.SetColor(YELLOW, 1.0f);
  device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, rightHalf, nullptr);
  // The points take the current colour (the shader paths multiply it by the
  // white tint the stored draw handed over).
  EXPECT_PIXEL_NEAR(48, 32, (Rgba{255, 255, 0, 255}), 0);
  EXPECT_PIXEL_NEAR(16, 32, (Rgba{255, 0, 0, 255}), 0);
  GLint boundAfter = 0;
  glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &boundAfter);
  EXPECT_EQ(boundAfter, boundBefore);
  EXPECT_TRUE(glIsEnabled(GL_COLOR_ARRAY)) << "the stored draw's colour array stays on";
  EXPECT_FALSE(glIsEnabled(GL_VERTEX_ARRAY));
}

// The bytes of a shape's block, wherever the back-end keeps them.
std::vector<unsigned char> StoredBytes(unsigned long handle) {
  const OGLVRAM::HVRAM_Desc& block = reinterpret_cast<IOpenGLShape*>(handle)->block->data;
  std::vector<unsigned char> bytes(block.size);
  if (VRAMManager->init == &ram_init) {
    std::memcpy(bytes.data(), static_cast<unsigned char*>(RAM[block.buffer]) + block.offset,
                block.size);
  } else {
    reinterpret_cast<PFNGLBINDBUFFERARBPROC>(SDL_GL_GetProcAddress("glBindBufferARB"))(
        GL_ARRAY_BUFFER, static_cast<GLuint>(block.buffer));
    reinterpret_cast<PFNGLGETBUFFERSUBDATAARBPROC>(SDL_GL_GetProcAddress("glGetBufferSubDataARB"))(
        GL_ARRAY_BUFFER, static_cast<GLintptr>(block.offset), static_cast<GLsizeiptr>(block.size),
        bytes.data());
  }
  return bytes;
}

TEST_F(ShapesTest, PacksTheInterleavedLayoutsByteForByte) {
  const Point points[] = {{1.5f, -2.0f}, {3.0f, 4.0f}};
  const Point texcoords[] = {{0.25f, -1.0f}, {0.5f, 0.75f}};
  const Color colours[] = {{1, 2, 3}, {4, 5, 6}};
  const struct {
    const char* name;
    SHAPE_TYPE type;
    float t0;
  } kinds[] = {{"strip", SHAPE_TRIANGLE_STRIP, 1.0f}, {"lines", SHAPE_LINES, -1.0f}};
  for (const auto& kind : kinds) {
    unsigned long handle = 0;
    ASSERT_TRUE(device.CreateShape(handle, kind.type, 2, Color{9, 8, 7}, 0.5f, points, texcoords));
    handles.push_back(handle);
    const auto bytes = StoredBytes(handle);
    ASSERT_EQ(bytes.size(), 48u) << kind.name;
    TexturedVertex v[2];
    std::memcpy(v, bytes.data(), sizeof v);
    EXPECT_EQ(v[0].s, 0.25f) << kind.name;
    EXPECT_EQ(v[0].t, kind.t0) << kind.name;
    EXPECT_EQ(v[1].t, 0.75f) << kind.name;
    EXPECT_EQ(v[0].r, 9) << kind.name;
    EXPECT_EQ(v[1].b, 7) << kind.name;
    EXPECT_EQ(v[0].a, 127) << kind.name;
    EXPECT_EQ(v[1].x, 3.0f) << kind.name;
    EXPECT_EQ(v[0].y, -2.0f) << kind.name;
    EXPECT_EQ(v[0].z, 0.0f) << kind.name;
  }
  unsigned long handle = 0;
  ASSERT_TRUE(device.CreateShape(handle, SHAPE_LINE_STRIP, 2, colours, 1.0f, points));
  handles.push_back(handle);
  const auto bytes = StoredBytes(handle);
  ASSERT_EQ(bytes.size(), 24u);
  ColouredVertex v[2];
  std::memcpy(v, bytes.data(), sizeof v);
  EXPECT_EQ(v[1].r, 4);
  EXPECT_EQ(v[1].g, 5);
  EXPECT_EQ(v[1].b, 6);
  EXPECT_EQ(v[0].a, 255);
  EXPECT_EQ(v[0].x, 1.5f);
  EXPECT_EQ(v[1].y, 4.0f);
  const IOpenGLShape* shape = reinterpret_cast<IOpenGLShape*>(handle);
  EXPECT_EQ(shape->format, static_cast<unsigned>(GL_C4UB_V2F));
  EXPECT_EQ(shape->mode, static_cast<unsigned>(GL_LINE_STRIP));
  EXPECT_EQ(shape->vertexCount, 2u);
}

TEST_F(ShapesTest, AnOversizedShapeIsWarnedAboutButStoredAndDrawnWhole) {
  // 90,000 textured vertices need 2,160,000 bytes, twice a buffer.
  const unsigned long count = 90000;
  std::vector<Point> points(count, Point{-40, -40});
  std::vector<Point> texcoords(count, Point{0, 0});
  points[count - 3] = {-32, -32};
  points[count - 2] = {32, -32};
  points[count - 1] = {-32, 32};
  unsigned long handle = 0;
  ASSERT_TRUE(device.CreateShape(handle, SHAPE_TRIANGLES, count, CYAN, 1.0f, points.data(),
                                 texcoords.data()));
  handles.push_back(handle);
  ASSERT_EQ(log.Lines().size(), 1u);
  EXPECT_EQ(log.Lines()[0], "[kelo-opengl] cannot allocate [2160000] bytes.\n");
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  Draw(handle);
  // The last triangle comes from past the first megabyte.
  EXPECT_PIXEL_NEAR(8, 8, (Rgba{0, 255, 255, 255}), 0);
}

TEST_F(ShapesTest, RefusesWhatItCannotStoreAndIgnoresWhatIsNotThere) {
  unsigned long handle = 12345;
  EXPECT_FALSE(
      device.CreateShape(handle, static_cast<SHAPE_TYPE>(7), 4, RED, 1.0f, kQuad, nullptr));
  EXPECT_EQ(handle, 12345u);

  device.Clear(BLACK);
  device.SelectShape(0);
  device.DrawShape();
  device.ClipShape();
  EXPECT_FALSE(glIsEnabled(GL_STENCIL_TEST));
  device.DrawShape(static_cast<SHAPE_TYPE>(9), 4, kQuad, nullptr);
  EXPECT_TRUE(device.ReleaseShape(0));
  EXPECT_PIXEL_NEAR(32, 32, kBlack, 0);

  device.ReleaseGL();
  EXPECT_FALSE(device.CreateShape(handle, SHAPE_LINES, 2, RED, 1.0f, kQuad, nullptr))
      << "no storage before a display mode is set";
  EXPECT_EQ(handle, 12345u);
  EXPECT_FALSE(device.CreateShape(handle, SHAPE_LINES, 2, &RED, 1.0f, kQuad));
}

}  // namespace
}  // namespace Kelo
