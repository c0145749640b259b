#include <fstream>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "kelo/colors.h"
#include "tests/support/gl_fixture.h"
#include "tests/support/test_images.h"
#include "textures/ogl_texture.h"

namespace Kelo {
namespace {

using Bytes = std::vector<unsigned char>;

const bool kPowerOfTwoOnly = Support::Expected("NPOT") == "0";
const unsigned char kPixels[16] = {};
constexpr auto kPng = Support::ImageKind::Png;

class TexturesTest : public Support::DeviceTest {
protected:
  Bytes TexelsOf(unsigned long handle, GLenum layout, int channels) {
    Bytes texels(device.GetWidthTexture(handle) * device.GetHeightTexture(handle) * channels);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glGetTexImage(GL_TEXTURE_2D, 0, layout, GL_UNSIGNED_BYTE, texels.data());
    return texels;
  }
  // Magnify, minify, wrap s and t have consecutive names.
  static void ExpectNearestAndClamped() {
    std::vector<GLint> parameters(4);
    for (int i = 0; i < 4; ++i)
      glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER + i, &parameters[i]);
    EXPECT_EQ(parameters, (std::vector<GLint>{GL_NEAREST, GL_NEAREST, GL_CLAMP, GL_CLAMP}));
  }
  Support::TempFolder folder;
};

// Grey fonts are white with the grey as alpha; an RGBA font's texel is the source's lowest
// byte twice, and row y of an RGBA block starts at element y * height.
TEST_F(TexturesTest, RawBlocksUploadTightlyPackedAndFontsAsLuminanceAlpha) {
  const std::tuple<IMAGE_FORMAT, int, int, int, GLenum> cases[] = {
      {IMAGE_L8, 3, 2, 1, GL_LUMINANCE},
      {IMAGE_RGB888, 3, 3, 3, GL_RGB},
      {IMAGE_RGBA8888, 2, 2, 4, GL_RGBA}};
  for (IMAGE_FORMAT format : {IMAGE_UNKNOWN, IMAGE_A8, IMAGE_L8A8})
    EXPECT_FALSE(device.CreateTexture(textures.emplace_back(), format, kPixels, 2, 2) ||
                 device.CreateTexture(textures.emplace_back(), format, 2u, 2u));
  for (const auto& [format, width, height, channels, layout] : cases) {
    const Bytes pixels = Support::Gradient(width, height, channels);
    ASSERT_TRUE(
        device.CreateTexture(textures.emplace_back(), format, pixels.data(), width, height));
    EXPECT_EQ(Support::State(GL_UNPACK_ALIGNMENT, 1)[0], 4) << "the host's is put back";
    ExpectNearestAndClamped();
    EXPECT_TRUE(kPowerOfTwoOnly || TexelsOf(textures.back(), layout, channels) == pixels);
    EXPECT_EQ(device.GetWidthTexture(textures.back()), kPowerOfTwoOnly && width == 3 ? 4 : width);
  }
  ASSERT_TRUE(device.CreateTexture(textures.emplace_back(), IMAGE_RGB888, 16u, 8u));
  EXPECT_EQ(device.GetWidthTexture(textures.back()), 16);
  ExpectNearestAndClamped();
  const Bytes wide = Support::Gradient(8, 4, 4);
  const Bytes words = {0x80, 0x11, 0x22, 0x33, 0, 0, 0, 0xFF, 1, 0, 0, 0, 2, 0, 0, 1};
  using Texels = std::vector<std::pair<int, int>>;
  const std::tuple<IMAGE_FORMAT, Bytes, unsigned, unsigned, Texels> fonts[] = {
      {IMAGE_L8, {0x00, 0xFF}, 2, 1, {{0, 0xFF00}, {1, 0xFFFF}}},
      {IMAGE_RGBA8888, words, 4, 1, {{0, 0x8080}, {1, 0}, {2, 0x0101}, {3, 0x0202}}},
      {IMAGE_RGBA8888, wide, 8, 4, {{0, 0x0B0B}, {4, 0xABAB}, {12, 0xEBEB}, {19, 0xF7F7}, {20, 0}}},
      {IMAGE_RGBA8888, Bytes(2 * 6 * 4, 0xAB), 2, 6, {{0, 0xABAB}}}};
  EXPECT_FALSE(device.CreateFontTexture(textures.emplace_back(), IMAGE_RGB888, kPixels, 2, 2));
  for (const auto& [format, source, width, height, expected] : fonts) {
    ASSERT_TRUE(
        device.CreateFontTexture(textures.emplace_back(), format, source.data(), width, height));
    const Bytes texels = TexelsOf(textures.back(), GL_LUMINANCE_ALPHA, 2);
    for (const auto& [element, texel] : expected)
      EXPECT_EQ(texels[2 * element] << 8 | texels[2 * element + 1], texel) << "element " << element;
  }
}

TEST_F(TexturesTest, FilesAreKeyedOnExactMatchesOfFourChannelsOnlyOrFailCleanly) {
  const Bytes rgba = {0xFF, 0x00, 0xFF, 0x80, 0xFF, 0x00, 0xFE, 0x80,
                      0x10, 0x20, 0x30, 0xFF, 0xFF, 0x00, 0xFF, 0xFF};
  const std::string path = Support::WriteImage(folder, "keyed.png", kPng, 2, 2, 4, rgba);
  ASSERT_TRUE(device.CreateTexture(textures.emplace_back(), path.c_str()));
  EXPECT_EQ(TexelsOf(textures.back(), GL_RGBA, 4), rgba);
  ASSERT_TRUE(device.CreateTexture(textures.emplace_back(), path.c_str(), FUCHSIA));
  Bytes keyed = rgba;
  keyed[3] = keyed[15] = 0;
  EXPECT_EQ(TexelsOf(textures.back(), GL_RGBA, 4), keyed);
  const std::string opaquePath = Support::WriteImage(folder, "opaque.png", kPng, 2, 2, 3, rgba);
  ASSERT_TRUE(device.CreateTexture(textures.emplace_back(), opaquePath.c_str(), FUCHSIA));
  EXPECT_EQ(TexelsOf(textures.back(), GL_RGBA, 4)[3], 0xFF) << "files without alpha are not keyed";
  EXPECT_TRUE(device.ReleaseTexture(0));
  std::ofstream(folder.Path("corrupt.png")) << "\x89PNG\r\n\x1a\n not really";
  for (const char* name : {"missing.png", "corrupt.png"})
    EXPECT_FALSE(device.CreateTexture(textures.emplace_back(), folder.Path(name).c_str()) ||
                 device.CreateTexture(textures.emplace_back(), folder.Path(name).c_str(), BLACK));
}

// A device that has no context of its own yet (or no more) makes no texture: not with no context
// current, where the texture library would crash, nor in the host's context, which is another
// share group. Each create fails as without a context: false, the handle set, no texture name.
TEST_F(TexturesTest, NoTextureIsMadeWithoutTheDevicesOwnContext) {
  const std::string path =
      Support::WriteImage(folder, "any.png", kPng, 2, 2, 4, Support::Gradient(2, 2, 4));
  IOpenGL bare;
  const std::pair<const char*, std::function<bool(unsigned long&)>> creates[] = {
      {"pixels", [&](auto& h) { return bare.CreateTexture(h, IMAGE_RGBA8888, kPixels, 2, 2); }},
      {"font", [&](auto& h) { return bare.CreateFontTexture(h, IMAGE_L8, kPixels, 4, 4); }},
      {"file", [&](auto& h) { return bare.CreateTexture(h, path.c_str()); }},
      {"keyed file", [&](auto& h) { return bare.CreateTexture(h, path.c_str(), FUCHSIA); }},
      {"empty", [&](auto& h) { return bare.CreateTexture(h, IMAGE_RGB888, 4u, 4u); }}};
  for (bool hostsCurrent : {true, false}) {
    if (!hostsCurrent) SDL_GL_MakeCurrent(window, nullptr);
    for (const auto& [name, create] : creates) {
      unsigned long handle = 0;
      EXPECT_FALSE(create(handle)) << name << (hostsCurrent ? " in the host's" : "");
      ASSERT_NE(handle, 0u) << name;
      EXPECT_EQ(reinterpret_cast<OGLTexture*>(handle)->glName, 0u) << name;
      EXPECT_TRUE(bare.ReleaseTexture(handle));
    }
  }
  SDL_GL_MakeCurrent(window, context);
}

}  // namespace
}  // namespace Kelo
