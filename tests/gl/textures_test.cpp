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

using Support::ImageKind;
using Bytes = std::vector<unsigned char>;

bool PowerOfTwoOnly() { return Support::ExpectedNonPowerOfTwo() == 0; }

GLint Level(GLenum name) {
  GLint value = 0;
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, name, &value);
  return value;
}

class TexturesTest : public Support::DeviceTest {
protected:
  void TearDown() override {
    for (unsigned long handle : handles) device.ReleaseTexture(handle);
    DeviceTest::TearDown();
  }
  // Keeps the texture for teardown and checks what every texture must be:
  // nearest filters, clamped coordinates.
  GLuint Made(unsigned long handle) {
    handles.push_back(handle);
    const GLuint name = reinterpret_cast<OGLTexture*>(handle)->glName;
    glBindTexture(GL_TEXTURE_2D, name);
    for (const auto& [parameter, expected] : {std::pair{GL_TEXTURE_MIN_FILTER, GL_NEAREST},
                                              {GL_TEXTURE_MAG_FILTER, GL_NEAREST},
                                              {GL_TEXTURE_WRAP_S, GL_CLAMP},
                                              {GL_TEXTURE_WRAP_T, GL_CLAMP}}) {
      GLint value = 0;
      glGetTexParameteriv(GL_TEXTURE_2D, parameter, &value);
      EXPECT_EQ(value, expected);
    }
    return name;
  }
  static Bytes Texels(GLuint name, GLenum layout, int channels) {
    glBindTexture(GL_TEXTURE_2D, name);
    Bytes texels(static_cast<size_t>(Level(GL_TEXTURE_WIDTH)) * Level(GL_TEXTURE_HEIGHT) *
                 channels);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(GL_TEXTURE_2D, 0, layout, GL_UNSIGNED_BYTE, texels.data());
    return texels;
  }
  std::vector<unsigned long> handles;
  Support::TempFolder folder;
};

TEST_F(TexturesTest, RawBlocksUploadTightlyPackedRowsOfEachFormat) {
  const struct {
    IMAGE_FORMAT format;
    int width, height, channels;
    GLenum layout;
  } cases[] = {{IMAGE_L8, 3, 2, 1, GL_LUMINANCE},
               {IMAGE_RGB888, 3, 3, 3, GL_RGB},
               {IMAGE_RGBA8888, 2, 2, 4, GL_RGBA}};
  for (const auto& c : cases) {
    const Bytes pixels = Support::Gradient(c.width, c.height, c.channels);
    unsigned long handle = 0;
    ASSERT_TRUE(device.CreateTexture(handle, c.format, pixels.data(), c.width, c.height));
    const GLuint name = Made(handle);
    GLint alignment = 0;
    glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
    EXPECT_EQ(alignment, 4) << "the host's unpack alignment is put back";
    EXPECT_EQ(device.GetWidthTexture(handle), PowerOfTwoOnly() && c.width == 3 ? 4 : c.width);
    if (PowerOfTwoOnly()) continue;
    EXPECT_EQ(device.GetHeightTexture(handle), c.height);
    EXPECT_EQ(Texels(name, c.layout, c.channels), pixels) << c.format;
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

// Grey fonts are white with the grey as alpha. Both bytes of an RGBA font's
// texel come from the lowest byte of the source (zero when that is all the
// word holds); row y of an RGBA block starts at element y * height.
TEST_F(TexturesTest, FontsBecomeLuminanceAlpha) {
  const unsigned char grey[] = {0x00, 0xFF};
  unsigned long handle = 0;
  ASSERT_TRUE(device.CreateFontTexture(handle, IMAGE_L8, grey, 2, 1));
  EXPECT_EQ(Texels(Made(handle), GL_LUMINANCE_ALPHA, 2), (Bytes{255, 0, 255, 255}));
  Bytes wide(8 * 4 * 4, 0);  // pixel (x, y) carries 1 + 8y + x
  for (int i = 0; i < 32; ++i) wide[4 * i] = static_cast<unsigned char>(1 + i);
  const Bytes tall(2 * 6 * 4, 0xAB);
  // clang-format off
  const struct {
    const char* name;
    IMAGE_FORMAT format;
    Bytes source;
    unsigned width, height;
    std::vector<std::pair<int, int>> texels;  // element, both of its bytes
  } cases[] = {
      {"words", IMAGE_RGBA8888, {0x80, 0x11, 0x22, 0x33, 0, 0, 0, 0xFF, 1, 0, 0, 0, 2, 0, 0, 1}, 4, 1,
       {{0, 0x80}, {1, 0}, {2, 1}, {3, 2}}},
      {"wide rows overlap", IMAGE_RGBA8888, wide, 8, 4,
       {{0, 1}, {4, 9}, {8, 17}, {12, 25}, {19, 32}, {20, 0}}},
      {"tall rows stay inside the buffer", IMAGE_RGBA8888, tall, 2, 6, {{0, 0xAB}}},
  };
  // clang-format on
  for (const auto& c : cases) {
    ASSERT_TRUE(device.CreateFontTexture(handle = 0, c.format, c.source.data(), c.width, c.height));
    const Bytes texels = Texels(Made(handle), GL_LUMINANCE_ALPHA, 2);
    for (const auto& [element, value] : c.texels) {
      EXPECT_EQ(texels[2 * element], value) << c.name << " element " << element;
      EXPECT_EQ(texels[2 * element + 1], value) << c.name << " element " << element;
    }
  }
}

TEST_F(TexturesTest, EmptyTexturesTakeANewNameEachTime) {
  unsigned long handle = 0;
  ASSERT_TRUE(device.CreateTexture(handle, IMAGE_RGB888, 16u, 8u));
  Made(handle);
  EXPECT_EQ(device.GetWidthTexture(handle), 16);
  EXPECT_EQ(device.GetHeightTexture(handle), 8);
  // GL_LUMINANCE8 is no pixel format: OpenGL refuses the upload and the name
  // has no storage.
  EXPECT_TRUE(device.CreateTexture(handle = 0, IMAGE_L8, 64u, 64u));
  Made(handle);
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_ENUM));
  EXPECT_EQ(device.GetWidthTexture(handle) + device.GetHeightTexture(handle), 0);

  OGLTexture texture{0};
  ASSERT_TRUE(texture.Load(IMAGE_RGBA8888, 4u, 4u));
  const GLuint first = texture.glName;
  ASSERT_TRUE(texture.Load(IMAGE_RGBA8888, 4u, 4u));
  EXPECT_NE(texture.glName, first);
  EXPECT_TRUE(glIsTexture(first)) << "the old name is abandoned, not deleted";
  glDeleteTextures(1, &first);
  texture.Release();
}

TEST_F(TexturesTest, FilesKeepTheirChannelsAndSize) {
  const struct {
    const char* name;
    ImageKind kind;
    int channels;
    GLenum sizeQuery;
  } files[] = {{"grey.png", ImageKind::Png, 1, GL_TEXTURE_LUMINANCE_SIZE},
               {"grey-alpha.png", ImageKind::Png, 2, GL_TEXTURE_ALPHA_SIZE},
               {"rgb.bmp", ImageKind::Bmp, 3, GL_TEXTURE_RED_SIZE},
               {"rgba.tga", ImageKind::Tga, 4, GL_TEXTURE_ALPHA_SIZE}};
  for (const auto& f : files) {
    const std::string path = Support::WriteImage(folder, f.name, f.kind, 100, 60, f.channels,
                                                 Support::Gradient(100, 60, f.channels));
    unsigned long handle = 0;
    ASSERT_TRUE(device.CreateTexture(handle, path.c_str())) << f.name;
    Made(handle);
    EXPECT_GT(Level(f.sizeQuery), 0) << f.name;
    EXPECT_EQ(Level(GL_TEXTURE_ALPHA_SIZE) > 0, f.channels % 2 == 0) << f.name;
    EXPECT_EQ(device.GetWidthTexture(handle), PowerOfTwoOnly() ? 128 : 100) << f.name;
    EXPECT_EQ(device.GetHeightTexture(handle), PowerOfTwoOnly() ? 64 : 60) << f.name;
  }
}

TEST_F(TexturesTest, AColourKeyClearsAlphaOnExactMatchesOfFourChannelFiles) {
  const Bytes rgba = {0xFF, 0x00, 0xFF, 0x80, 0xFF, 0x00, 0xFE, 0x80,
                      0x10, 0x20, 0x30, 0xFF, 0xFF, 0x00, 0xFF, 0xFF};
  const Bytes rgb = {0xFF, 0x00, 0xFF, 0xFF, 0x00, 0xFE, 0x10, 0x20, 0x30, 0xFF, 0x00, 0xFF};
  unsigned long keyed = 0, opaque = 0;
  ASSERT_TRUE(device.CreateTexture(
      keyed, WriteImage(folder, "keyed.png", ImageKind::Png, 2, 2, 4, rgba).c_str(), FUCHSIA));
  EXPECT_EQ(Texels(Made(keyed), GL_RGBA, 4),
            (Bytes{0xFF, 0x00, 0xFF, 0x00, 0xFF, 0x00, 0xFE, 0x80, 0x10, 0x20, 0x30, 0xFF, 0xFF,
                   0x00, 0xFF, 0x00}));
  ASSERT_TRUE(device.CreateTexture(
      opaque, WriteImage(folder, "opaque.png", ImageKind::Png, 2, 2, 3, rgb).c_str(), FUCHSIA));
  EXPECT_EQ(Texels(Made(opaque), GL_RGBA, 4)[3], 0xFF) << "files without alpha are not keyed";
}

TEST_F(TexturesTest, BadFilesFailCleanly) {
  const std::string missing = folder.Path("missing.png");
  const std::string corrupt = folder.Path("corrupt.png");
  std::ofstream(corrupt) << "\x89PNG\r\n\x1a\n not really";

  OGLTexture plain{0}, keyed{0};
  ASSERT_TRUE(plain.Load(IMAGE_RGB888, 1u, 1u));
  const GLuint held = plain.glName;
  EXPECT_FALSE(plain.Load(corrupt.c_str()));
  EXPECT_EQ(plain.glName, 0u) << "a failed plain load leaves no name";
  glDeleteTextures(1, &held);
  ASSERT_TRUE(keyed.Load(IMAGE_RGB888, 1u, 1u));
  EXPECT_FALSE(keyed.Load(missing.c_str(), BLACK));
  EXPECT_FALSE(keyed.Load(corrupt.c_str(), BLACK));
  EXPECT_NE(keyed.glName, 0u) << "a failed keyed load leaves the name alone";
  EXPECT_TRUE(keyed.Release());
  EXPECT_EQ(keyed.glName, 0u);

  unsigned long handle = 0;
  EXPECT_FALSE(device.CreateTexture(handle, missing.c_str()));
  EXPECT_NE(handle, 0u) << "a failed create still hands out a handle";
  EXPECT_TRUE(device.ReleaseTexture(handle));
  EXPECT_TRUE(device.ReleaseTexture(0));
}

// Inside a batch a textured shape shows the texels, outside it its colour;
// texture combining blends the tint into stored shapes' texels, so there the
// host's own points carry the texture.
TEST_F(TexturesTest, BatchesSwitchTexturingAroundTheirDraws) {
  unsigned long texture = 0, other = 0;
  ASSERT_TRUE(device.CreateTexture(texture, IMAGE_RGBA8888, Support::kCheckerTexels, 2, 2));
  ASSERT_TRUE(device.CreateTexture(other, IMAGE_RGBA8888, Support::kCheckerTexels, 1, 1));
  Made(texture);
  const GLuint otherName = Made(other);
  const Point quad[] = {{-32, -32}, {32, -32}, {-32, 32}, {32, -32}, {32, 32}, {-32, 32}};
  const Point texcoords[] = {{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}};
  unsigned long shape = 0;
  ASSERT_TRUE(device.CreateShape(shape, SHAPE_TRIANGLES, 6, WHITE, 1.0f, quad, texcoords));
  device.SetColor(WHITE, 1.0f);
  device.Clear(BLACK);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
  device.BeginTextureBatch(texture);
  GLint mode = 0;
  glGetTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, &mode);
  EXPECT_EQ(mode, GL_MODULATE);
  if (Support::ExpectedColorPath() == Support::ColorPath::TextureCombine) {
    device.DrawShape(SHAPE_TRIANGLES, 6, quad, texcoords);
    glMatrixMode(GL_MODELVIEW);
  } else {
    device.SelectShape(shape);
    device.DrawShape();
  }
  EXPECT_EQ(device.GetWidthTexture(other), 1);
  GLint bound = 0;
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
  EXPECT_EQ(static_cast<GLuint>(bound), otherName) << "measuring binds the texture measured";
  device.EndTextureBatch();
  Support::ExpectCheckerUpright();
  device.SelectShape(shape);
  device.DrawShape();
  EXPECT_PIXEL_NEAR(16, 16, (Support::Rgba{255, 255, 255, 255}), 0);
  device.ReleaseShape(shape);

  device.BeginTextureBatch(0);
  glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
  EXPECT_EQ(bound, 0);
  device.EndTextureBatch();
  EXPECT_EQ(device.GetWidthTexture(0) + device.GetHeightTexture(0), 0);
}

}  // namespace
}  // namespace Kelo
