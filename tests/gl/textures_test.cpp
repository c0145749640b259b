#include <GL/gl.h>
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "kelo/colors.h"
#include "tests/support/device_fixture.h"
#include "tests/support/pixels.h"
#include "tests/support/test_images.h"
#include "textures/ogl_texture.h"

namespace Kelo {
namespace {

using Support::ColorPath;
using Support::ExpectedColorPath;
using Support::ExpectedNonPowerOfTwo;
using Support::ImageKind;
using Support::Rgba;

bool PowerOfTwoOnly() { return ExpectedNonPowerOfTwo() == 0; }

GLint Parameter(GLenum name) {
  GLint value = 0;
  glGetTexParameteriv(GL_TEXTURE_2D, name, &value);
  return value;
}

GLint Level(GLenum name) {
  GLint value = 0;
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, name, &value);
  return value;
}

std::vector<unsigned char> Texels(GLuint name, GLenum layout, int channels) {
  glBindTexture(GL_TEXTURE_2D, name);
  std::vector<unsigned char> texels(static_cast<size_t>(Level(GL_TEXTURE_WIDTH)) *
                                    Level(GL_TEXTURE_HEIGHT) * channels);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glGetTexImage(GL_TEXTURE_2D, 0, layout, GL_UNSIGNED_BYTE, texels.data());
  return texels;
}

class TexturesTest : public Support::DeviceTest {
protected:
  void TearDown() override {
    for (unsigned long handle : handles) device.ReleaseTexture(handle);
    Support::DeviceTest::TearDown();
  }
  GLuint NameOf(unsigned long handle) { return reinterpret_cast<OGLTexture*>(handle)->glName; }
  unsigned long Keep(unsigned long handle) {
    handles.push_back(handle);
    return handle;
  }
  void ExpectNearestClamped(unsigned long handle) {
    glBindTexture(GL_TEXTURE_2D, NameOf(handle));
    EXPECT_EQ(Parameter(GL_TEXTURE_MIN_FILTER), GL_NEAREST);
    EXPECT_EQ(Parameter(GL_TEXTURE_MAG_FILTER), GL_NEAREST);
    EXPECT_EQ(Parameter(GL_TEXTURE_WRAP_S), GL_CLAMP);
    EXPECT_EQ(Parameter(GL_TEXTURE_WRAP_T), GL_CLAMP);
  }
  std::vector<unsigned long> handles;
  Support::TempFolder folder;
};

TEST_F(TexturesTest, RawBlocksUploadTightlyPackedRowsOfEachFormat) {
  const struct {
    const char* name;
    IMAGE_FORMAT format;
    int width, height, channels;
    GLenum layout;
  } cases[] = {
      {"3-pixel-wide grey", IMAGE_L8, 3, 2, 1, GL_LUMINANCE},
      {"3-pixel-wide RGB", IMAGE_RGB888, 3, 3, 3, GL_RGB},
      {"RGBA", IMAGE_RGBA8888, 2, 2, 4, GL_RGBA},
  };
  for (const auto& c : cases) {
    const auto pixels = Support::Gradient(c.width, c.height, c.channels);
    unsigned long handle = 0;
    ASSERT_TRUE(device.CreateTexture(handle, c.format, pixels.data(), c.width, c.height)) << c.name;
    Keep(handle);
    ExpectNearestClamped(handle);
    GLint alignment = 0;
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
    EXPECT_EQ(alignment, 4) << "the host's unpack alignment is put back";
    if (PowerOfTwoOnly()) {
      EXPECT_EQ(device.GetWidthTexture(handle), c.width == 3 ? 4 : c.width) << c.name;
      continue;
    }
    EXPECT_EQ(device.GetWidthTexture(handle), c.width) << c.name;
    EXPECT_EQ(device.GetHeightTexture(handle), c.height) << c.name;
    EXPECT_EQ(Texels(NameOf(handle), c.layout, c.channels), pixels) << c.name;
  }
}

TEST_F(TexturesTest, RefusedFormatsLeaveTheNameAlone) {
  OGLTexture texture{77};
  const unsigned char pixels[16] = {};
  for (IMAGE_FORMAT format : {IMAGE_UNKNOWN, IMAGE_A8, IMAGE_L8A8}) {
    EXPECT_FALSE(texture.Load(format, pixels, 2, 2)) << format;
    EXPECT_FALSE(texture.Load(format, 2u, 2u)) << format;
    EXPECT_FALSE(texture.LoadFont(format, pixels, 2, 2)) << format;
  }
  EXPECT_FALSE(texture.LoadFont(IMAGE_RGB888, pixels, 2, 2)) << "no font from RGB";
  EXPECT_EQ(texture.glName, 77u);
}

TEST_F(TexturesTest, FontsBecomeLuminanceAlphaFromTheLowestByte) {
  const unsigned char grey[] = {0x00, 0xFF};
  unsigned long handle = Keep(0);
  ASSERT_TRUE(device.CreateFontTexture(handle, IMAGE_L8, grey, 2, 1));
  handles.back() = handle;
  ExpectNearestClamped(handle);
  EXPECT_EQ(Texels(NameOf(handle), GL_LUMINANCE_ALPHA, 2),
            (std::vector<unsigned char>{255, 0, 255, 255}));

  const unsigned char words[] = {0x80, 0x11, 0x22, 0x33, 0x00, 0x00, 0x00, 0xFF};
  ASSERT_TRUE(device.CreateFontTexture(handle = 0, IMAGE_RGBA8888, words, 2, 1));
  Keep(handle);
  EXPECT_EQ(Texels(NameOf(handle), GL_LUMINANCE_ALPHA, 2),
            (std::vector<unsigned char>{0x80, 0x80, 0, 0}));
}

TEST_F(TexturesTest, WideRgbaFontRowsStartAtMultiplesOfTheHeight) {
  // Pixel (x, y) of an 8 x 4 block carries 1 + 8y + x in its lowest byte.
  std::vector<unsigned char> words(8 * 4 * 4, 0);
  for (int i = 0; i < 32; ++i) words[4 * i] = static_cast<unsigned char>(1 + i);
  unsigned long handle = 0;
  ASSERT_TRUE(device.CreateFontTexture(handle, IMAGE_RGBA8888, words.data(), 8, 4));
  Keep(handle);
  const auto texels = Texels(NameOf(handle), GL_LUMINANCE_ALPHA, 2);
  ASSERT_EQ(texels.size(), 64u);
  const struct {
    int element, expected;
  } cases[] = {
      {0, 1},                 // row 0 starts at element 0
      {4, 1 + 8},             // row 1 starts at element 4, over row 0's right half
      {8, 1 + 16},            // row 2 at element 8
      {12, 1 + 24},           // row 3 at element 12, whole
      {19, 1 + 31}, {20, 0},  // the end of the buffer stays unwritten
  };
  for (const auto& c : cases) EXPECT_EQ(texels[2 * c.element], c.expected) << c.element;
}

TEST_F(TexturesTest, TallRgbaFontsStayInsideTheirBuffer) {
  std::vector<unsigned char> words(2 * 6 * 4, 0xAB);
  unsigned long handle = 0;
  EXPECT_TRUE(device.CreateFontTexture(handle, IMAGE_RGBA8888, words.data(), 2, 6));
  Keep(handle);
}

TEST_F(TexturesTest, EmptyTexturesTakeANewNameEachTime) {
  unsigned long handle = 0;
  ASSERT_TRUE(device.CreateTexture(handle, IMAGE_RGB888, 16u, 8u));
  Keep(handle);
  ExpectNearestClamped(handle);
  EXPECT_EQ(device.GetWidthTexture(handle), 16);
  EXPECT_EQ(device.GetHeightTexture(handle), 8);

  OGLTexture texture{0};
  ASSERT_TRUE(texture.Load(IMAGE_RGBA8888, 4u, 4u));
  const GLuint first = texture.glName;
  ASSERT_TRUE(texture.Load(IMAGE_RGBA8888, 4u, 4u));
  EXPECT_NE(texture.glName, first);
  EXPECT_TRUE(glIsTexture(first)) << "the old name is abandoned, not deleted";
  glDeleteTextures(1, &first);
  texture.Release();
}

TEST_F(TexturesTest, AnEmptyGreyTextureHasANameButNoStorage) {
  unsigned long handle = 0;
  EXPECT_TRUE(device.CreateTexture(handle, IMAGE_L8, 64u, 64u));
  Keep(handle);
  // GL_LUMINANCE8 is no pixel format; OpenGL refuses the upload.
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_ENUM));
  EXPECT_EQ(device.GetWidthTexture(handle), 0);
  EXPECT_EQ(device.GetHeightTexture(handle), 0);
}

TEST_F(TexturesTest, FilesKeepTheirChannelsAndSize) {
  const struct {
    const char* name;
    ImageKind kind;
    int channels;
    GLenum sizeQuery;
  } files[] = {
      {"grey.png", ImageKind::Png, 1, GL_TEXTURE_LUMINANCE_SIZE},
      {"grey-alpha.png", ImageKind::Png, 2, GL_TEXTURE_ALPHA_SIZE},
      {"rgb.bmp", ImageKind::Bmp, 3, GL_TEXTURE_RED_SIZE},
      {"rgba.tga", ImageKind::Tga, 4, GL_TEXTURE_ALPHA_SIZE},
  };
  for (const auto& f : files) {
    const std::string path = Support::WriteImage(folder, f.name, f.kind, 100, 60, f.channels,
                                                 Support::Gradient(100, 60, f.channels));
    unsigned long handle = 0;
    ASSERT_TRUE(device.CreateTexture(handle, path.c_str())) << f.name;
    Keep(handle);
    ExpectNearestClamped(handle);
    EXPECT_GT(Level(f.sizeQuery), 0) << f.name;
    EXPECT_EQ(Level(GL_TEXTURE_ALPHA_SIZE) > 0, f.channels == 2 || f.channels == 4) << f.name;
    const bool padded = PowerOfTwoOnly();
    EXPECT_EQ(device.GetWidthTexture(handle), padded ? 128 : 100) << f.name;
    EXPECT_EQ(device.GetHeightTexture(handle), padded ? 64 : 60) << f.name;
  }
}

TEST_F(TexturesTest, AColourKeyClearsAlphaOnExactMatchesOfFourChannelFiles) {
  const std::vector<unsigned char> rgba = {0xFF, 0x00, 0xFF, 0x80, 0xFF, 0x00, 0xFE, 0x80,
                                           0x10, 0x20, 0x30, 0xFF, 0xFF, 0x00, 0xFF, 0xFF};
  const std::vector<unsigned char> rgb = {0xFF, 0x00, 0xFF, 0xFF, 0x00, 0xFE,
                                          0x10, 0x20, 0x30, 0xFF, 0x00, 0xFF};
  const std::string keyed = WriteImage(folder, "keyed.png", ImageKind::Png, 2, 2, 4, rgba);
  const std::string opaque = WriteImage(folder, "opaque.png", ImageKind::Png, 2, 2, 3, rgb);
  unsigned long handle = 0;
  ASSERT_TRUE(device.CreateTexture(handle, keyed.c_str(), FUCHSIA));
  Keep(handle);
  ExpectNearestClamped(handle);
  EXPECT_EQ(Texels(NameOf(handle), GL_RGBA, 4),
            (std::vector<unsigned char>{0xFF, 0x00, 0xFF, 0x00, 0xFF, 0x00, 0xFE, 0x80, 0x10, 0x20,
                                        0x30, 0xFF, 0xFF, 0x00, 0xFF, 0x00}));
  ASSERT_TRUE(device.CreateTexture(handle = 0, opaque.c_str(), FUCHSIA));
  Keep(handle);
  const auto texels = Texels(NameOf(handle), GL_RGBA, 4);
  ASSERT_EQ(texels.size(), 16u);
  EXPECT_EQ(texels[3], 0xFF) << "files without alpha are uploaded unkeyed";
}

TEST_F(TexturesTest, BadFilesFailCleanly) {
  const std::string missing = folder.Path("missing.png");
  const std::string corrupt = folder.Path("corrupt.png");
  { std::ofstream(corrupt) << "\x89PNG\r\n\x1a\n not really"; }

  OGLTexture plain{0};
  ASSERT_TRUE(plain.Load(IMAGE_RGB888, 1u, 1u));
  const GLuint held = plain.glName;
  EXPECT_FALSE(plain.Load(corrupt.c_str()));
  EXPECT_EQ(plain.glName, 0u) << "a failed plain load leaves no name";
  glDeleteTextures(1, &held);

  OGLTexture keyed{0};
  ASSERT_TRUE(keyed.Load(IMAGE_RGB888, 1u, 1u));
  EXPECT_FALSE(keyed.Load(missing.c_str(), BLACK));
  EXPECT_FALSE(keyed.Load(corrupt.c_str(), BLACK));
  EXPECT_NE(keyed.glName, 0u) << "a failed keyed load leaves the name alone";
  keyed.Release();
  EXPECT_EQ(keyed.glName, 0u);
  EXPECT_TRUE(keyed.Release()) << "releasing an empty record is harmless";

  unsigned long handle = 0;
  EXPECT_FALSE(device.CreateTexture(handle, missing.c_str()));
  EXPECT_NE(handle, 0u) << "a failed create still hands out a handle";
  EXPECT_TRUE(device.ReleaseTexture(handle));
  EXPECT_TRUE(device.ReleaseTexture(0));
}

TEST_F(TexturesTest, BatchesSwitchTexturingAroundTheirDraws) {
  const unsigned char white[] = {255, 255, 255, 255};
  unsigned long a = 0;
  unsigned long b = 0;
  ASSERT_TRUE(device.CreateTexture(a, IMAGE_RGBA8888, white, 1, 1));
  ASSERT_TRUE(device.CreateTexture(b, IMAGE_RGBA8888, white, 1, 1));
  Keep(a);
  Keep(b);
  device.BeginTextureBatch(a);
  EXPECT_TRUE(glIsEnabled(GL_TEXTURE_2D));
  GLint mode = 0;
  glGetTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, &mode);
  EXPECT_EQ(mode, GL_MODULATE);
  device.GetWidthTexture(b);
  GLint bound = 0;
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
  EXPECT_EQ(static_cast<GLuint>(bound), NameOf(b)) << "measuring binds the texture measured";
  device.EndTextureBatch();
  EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
  EXPECT_EQ(static_cast<GLuint>(bound), NameOf(b)) << "the texture stays bound";

  EXPECT_EQ(device.GetWidthTexture(0), 0);
  EXPECT_EQ(device.GetHeightTexture(0), 0);
  device.BeginTextureBatch(0);
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
  EXPECT_EQ(bound, 0);
  device.EndTextureBatch();
}

TEST_F(TexturesTest, ShapesInsideABatchShowTheTexelsAndOutsideItTheirColour) {
  // Bottom row red, green; top row blue, white (rows go bottom-up in GL).
  const unsigned char checker[] = {255, 0, 0,   255, 0,   255, 0,   255,
                                   0,   0, 255, 255, 255, 255, 255, 255};
  unsigned long texture = 0;
  ASSERT_TRUE(device.CreateTexture(texture, IMAGE_RGBA8888, checker, 2, 2));
  Keep(texture);
  const Point quad[] = {{-32, -32}, {32, -32}, {-32, 32}, {32, -32}, {32, 32}, {-32, 32}};
  const Point texcoords[] = {{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}};
  unsigned long shape = 0;
  ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLES, 6, WHITE, 1.0f, quad, texcoords));
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  device.BeginTextureBatch(texture);
  // Texture combining blends the tint into stored shapes' texels, so there
  // the host's own points carry the texture.
  if (ExpectedColorPath() == ColorPath::TextureCombine) {
    device.DrawShape(SHAPE_TRIANGLES, 6, quad, texcoords);
    glMatrixMode(GL_MODELVIEW);
  } else {
    device.SelectShape(shape);
    device.DrawShape();
  }
  device.EndTextureBatch();
  EXPECT_PIXEL_NEAR(16, 16, (Rgba{255, 0, 0, 255}), 0);
  EXPECT_PIXEL_NEAR(48, 16, (Rgba{0, 255, 0, 255}), 0);
  EXPECT_PIXEL_NEAR(16, 48, (Rgba{0, 0, 255, 255}), 0);
  EXPECT_PIXEL_NEAR(48, 48, (Rgba{255, 255, 255, 255}), 0);

  device.SelectShape(shape);
  device.DrawShape();
  EXPECT_PIXEL_NEAR(16, 16, (Rgba{255, 255, 255, 255}), 0);
  device.ReleaseShape(shape);
}

}  // namespace
}  // namespace Kelo
