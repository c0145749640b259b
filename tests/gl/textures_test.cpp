#include <fstream>

#include "kelo/colors.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/test_images.h"
#include "textures/ogl_texture.h"

namespace Kelo {
namespace {

using Bytes = std::vector<unsigned char>;

const bool kPowerOfTwoOnly = Support::Expected("NPOT") == "0";

class TexturesTest : public Support::DeviceTest {
protected:
  // Keeps the texture for teardown and binds it; every texture filters
  // nearest and clamps its coordinates.
  unsigned long Made(unsigned long handle) {
    textures.push_back(handle);
    glBindTexture(GL_TEXTURE_2D, reinterpret_cast<OGLTexture*>(handle)->glName);
    std::vector<GLint> parameters;
    for (GLenum parameter :
         {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER, GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T}) {
      glGetTexParameteriv(GL_TEXTURE_2D, parameter, &parameters.emplace_back());
    }
    EXPECT_EQ(parameters, (std::vector<GLint>{GL_NEAREST, GL_NEAREST, GL_CLAMP, GL_CLAMP}));
    return handle;
  }
  Bytes Texels(unsigned long handle, GLenum layout, int channels) {
    Bytes texels(static_cast<size_t>(device.GetWidthTexture(Made(handle)) *
                                     device.GetHeightTexture(handle) * channels));
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(GL_TEXTURE_2D, 0, layout, GL_UNSIGNED_BYTE, texels.data());
    return texels;
  }
  static GLint Format() {
    GLint format = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &format);
    return format;
  }
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
    EXPECT_EQ(Support::State<GLint>(GL_UNPACK_ALIGNMENT, 1)[0], 4) << "the host's is put back";
    if (kPowerOfTwoOnly) {
      EXPECT_EQ(device.GetWidthTexture(Made(handle)), c.width == 3 ? 4 : c.width);
    } else {
      EXPECT_EQ(Texels(handle, c.layout, c.channels), pixels) << c.format;
    }
  }
}

// OpenGL refuses GL_LUMINANCE8 as a pixel format: the name has no storage.
TEST_F(TexturesTest, EmptyTexturesAndRefusedFormats) {
  unsigned long rgb = 0, grey = 0;
  ASSERT_TRUE(device.CreateTexture(rgb, IMAGE_RGB888, 16u, 8u));
  ASSERT_TRUE(device.CreateTexture(grey, IMAGE_L8, 64u, 64u));
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_ENUM));
  EXPECT_EQ((std::vector<int>{device.GetWidthTexture(Made(rgb)), device.GetHeightTexture(rgb),
                              device.GetWidthTexture(Made(grey)), device.GetHeightTexture(grey)}),
            (std::vector<int>{16, 8, 0, 0}));
  OGLTexture texture{77};
  const unsigned char pixels[16] = {};
  for (IMAGE_FORMAT format : {IMAGE_UNKNOWN, IMAGE_A8, IMAGE_L8A8}) {
    EXPECT_FALSE(texture.Load(format, pixels, 2, 2) || texture.Load(format, 2u, 2u) ||
                 texture.LoadFont(format, pixels, 2, 2))
        << format;
  }
  EXPECT_FALSE(texture.LoadFont(IMAGE_RGB888, pixels, 2, 2));
  EXPECT_EQ(texture.glName, 77u);
}

// Grey fonts are white with the grey as alpha. Both bytes of an RGBA font's
// texel are the lowest byte of the source, zero when that is all the word
// holds; row y of an RGBA block starts at element y * height.
TEST_F(TexturesTest, FontsBecomeLuminanceAlpha) {
  Bytes wide(8 * 4 * 4, 0);  // pixel (x, y) carries 1 + 8y + x
  for (int i = 0; i < 32; ++i) wide[4 * i] = static_cast<unsigned char>(1 + i);
  const struct {
    IMAGE_FORMAT format;
    Bytes source;
    unsigned width, height;
    std::vector<std::pair<int, int>> texels;  // element, luminance and alpha as 0xLLAA
  } cases[] = {
      {IMAGE_L8, {0x00, 0xFF}, 2, 1, {{0, 0xFF00}, {1, 0xFFFF}}},
      {IMAGE_RGBA8888,
       {0x80, 0x11, 0x22, 0x33, 0, 0, 0, 0xFF, 1, 0, 0, 0, 2, 0, 0, 1},
       4,
       1,
       {{0, 0x8080}, {1, 0}, {2, 0x0101}, {3, 0x0202}}},
      {IMAGE_RGBA8888, wide, 8, 4, {{0, 0x101}, {4, 0x909}, {12, 0x1919}, {19, 0x2020}, {20, 0}}},
      {IMAGE_RGBA8888, Bytes(2 * 6 * 4, 0xAB), 2, 6, {{0, 0xABAB}}},  // taller than wide
  };
  for (const auto& c : cases) {
    unsigned long handle = 0;
    ASSERT_TRUE(device.CreateFontTexture(handle, c.format, c.source.data(), c.width, c.height));
    const Bytes texels = Texels(handle, GL_LUMINANCE_ALPHA, 2);
    for (const auto& [element, texel] : c.texels) {
      EXPECT_EQ(texels[2 * element] << 8 | texels[2 * element + 1], texel) << "element " << element;
    }
  }
}

TEST_F(TexturesTest, FilesKeepTheirChannelsAndAreScaledWhereNeeded) {
  unsigned long handle = 0;
  ASSERT_TRUE(device.CreateTexture(handle, WriteImage(folder, "la.png", Support::ImageKind::Png,
                                                      100, 60, 2, Support::Gradient(100, 60, 2))
                                               .c_str()));
  EXPECT_EQ(device.GetWidthTexture(Made(handle)), kPowerOfTwoOnly ? 128 : 100);
  EXPECT_EQ(device.GetHeightTexture(handle), kPowerOfTwoOnly ? 64 : 60);
  EXPECT_EQ(Format(), GL_LUMINANCE_ALPHA);
}

TEST_F(TexturesTest, AColourKeyClearsAlphaOnExactMatchesOfFourChannelFiles) {
  const Bytes rgba = {0xFF, 0x00, 0xFF, 0x80, 0xFF, 0x00, 0xFE, 0x80,
                      0x10, 0x20, 0x30, 0xFF, 0xFF, 0x00, 0xFF, 0xFF};
  const Bytes rgb = {0xFF, 0x00, 0xFF, 0xFF, 0x00, 0xFE, 0x10, 0x20, 0x30, 0xFF, 0x00, 0xFF};
  unsigned long keyed = 0, opaque = 0;
  ASSERT_TRUE(device.CreateTexture(
      keyed, WriteImage(folder, "keyed.png", Support::ImageKind::Png, 2, 2, 4, rgba).c_str(),
      FUCHSIA));
  EXPECT_EQ(Texels(keyed, GL_RGBA, 4), (Bytes{0xFF, 0x00, 0xFF, 0x00, 0xFF, 0x00, 0xFE, 0x80, 0x10,
                                              0x20, 0x30, 0xFF, 0xFF, 0x00, 0xFF, 0x00}));
  ASSERT_TRUE(device.CreateTexture(
      opaque, WriteImage(folder, "opaque.png", Support::ImageKind::Png, 2, 2, 3, rgb).c_str(),
      FUCHSIA));
  EXPECT_EQ(Texels(opaque, GL_RGBA, 4)[3], 0xFF) << "files without alpha are not keyed";
}

// A failed plain load leaves no name, a failed keyed one leaves the name
// alone; a failed create still hands out a handle.
TEST_F(TexturesTest, BadFilesFailCleanly) {
  const std::string missing = folder.Path("missing.png"), corrupt = folder.Path("corrupt.png");
  std::ofstream(corrupt) << "\x89PNG\r\n\x1a\n not really";
  OGLTexture plain{0}, keyed{0};
  ASSERT_TRUE(plain.Load(IMAGE_RGB888, 1u, 1u) && keyed.Load(IMAGE_RGB888, 1u, 1u));
  const GLuint held[] = {plain.glName, keyed.glName};
  EXPECT_FALSE(plain.Load(corrupt.c_str()) || keyed.Load(missing.c_str(), BLACK) ||
               keyed.Load(corrupt.c_str(), BLACK));
  EXPECT_EQ((std::vector<GLuint>{plain.glName, keyed.glName}), (std::vector<GLuint>{0, held[1]}));
  glDeleteTextures(2, held);
  unsigned long& handle = textures.emplace_back();
  EXPECT_FALSE(device.CreateTexture(handle, missing.c_str()));
  EXPECT_NE(handle, 0u);
  EXPECT_TRUE(device.ReleaseTexture(0));
}

}  // namespace
}  // namespace Kelo
