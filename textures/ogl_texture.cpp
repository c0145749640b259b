#include "textures/ogl_texture.h"

#include <SOIL/SOIL.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "textures/image_file.h"

namespace {

using Kelo::DecodedImage;
using Kelo::IMAGE_FORMAT;

// Channel count of a raw block, or 0 for a format no loader takes.
int ChannelsOf(IMAGE_FORMAT format) {
  switch (format) {
    case Kelo::IMAGE_L8:
      return 1;
    case Kelo::IMAGE_RGB888:
      return 3;
    case Kelo::IMAGE_RGBA8888:
      return 4;
    default:
      return 0;
  }
}

// The texture library picks linear filters of its own; every texture ends
// with nearest filtering and clamped coordinates instead.
void UseNearestClamped(GLuint name) {
  glBindTexture(GL_TEXTURE_2D, name);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP);
}

// Hands decoded or converted pixels to the texture library, which scales them
// to powers of two where the driver needs it and uploads them under `name`
// (a fresh name when 0). Rows are tightly packed, which the library does not
// tell OpenGL.
GLuint Upload(const unsigned char* pixels, int width, int height, int channels, GLuint name) {
  GLint alignment = 4;
  glGetIntegerv(GL_UNPACK_ALIGNMENT, &alignment);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  const GLuint made = SOIL_create_OGL_texture(pixels, width, height, channels, name, 0);
  glPixelStorei(GL_UNPACK_ALIGNMENT, alignment);
  if (made) UseNearestClamped(made);
  return made;
}

// Both bytes of a font texel are the lowest byte of the source word, in the
// host's byte order.
uint16_t FontTexelOfWord(uint32_t v) {
  if ((v & 0x00FFFFFFu) == 0) return static_cast<uint16_t>(v & 0xFF);
  return static_cast<uint16_t>((v & 0xFF) | ((v & 0xFF) << 8));
}

// Row y of an RGBA font block starts at element y * height, kept as hosts have
// always seen it; the buffer is sized so that a block taller than wide still
// stays inside it.
size_t FontElements(unsigned width, unsigned height) {
  const size_t square = static_cast<size_t>(width) * height;
  const size_t lastRowEnd = height ? static_cast<size_t>(height - 1) * height + width : 0;
  return square > lastRowEnd ? square : lastRowEnd;
}

void ConvertL8Font(const unsigned char* source, unsigned char* texels, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    texels[2 * i] = 255;
    texels[2 * i + 1] = source[i];
  }
}

void ConvertRgbaFont(const unsigned char* source, uint16_t* texels, unsigned width,
                     unsigned height) {
  for (unsigned y = 0; y < height; ++y) {
    uint16_t* row = texels + static_cast<size_t>(y) * height;
    for (unsigned x = 0; x < width; ++x) {
      uint32_t v;
      std::memcpy(&v, source + (static_cast<size_t>(y) * width + x) * 4, sizeof v);
      row[x] = FontTexelOfWord(v);
    }
  }
}

// Pixels of exactly the key colour lose their alpha; their colour stays.
void ApplyColorKey(unsigned char* pixels, int width, int height, const Kelo::Color& key) {
  const long long count = static_cast<long long>(width) * height;
  for (long long i = 0; i < count; ++i) {
    uint32_t v;
    std::memcpy(&v, pixels + 4 * i, sizeof v);
    if ((v & 0xFF) == key.r && ((v >> 8) & 0xFF) == key.g && ((v >> 16) & 0xFF) == key.b) {
      v &= 0x00FFFFFFu;
      std::memcpy(pixels + 4 * i, &v, sizeof v);
    }
  }
}

}  // namespace

bool OGLTexture::Release() {
  if (glIsTexture(glName)) glDeleteTextures(1, &glName);
  glName = 0;
  return true;
}

bool OGLTexture::Load(IMAGE_FORMAT format, const void* pixels, unsigned width, unsigned height) {
  const int channels = ChannelsOf(format);
  if (!channels) return false;
  glName = Upload(static_cast<const unsigned char*>(pixels), static_cast<int>(width),
                  static_cast<int>(height), channels, glName);
  return glIsTexture(glName) != 0;
}

// For IMAGE_L8 the pixel format GL_LUMINANCE8 is refused by OpenGL, so the
// name exists without storage: hosts have always relied on exactly this call.
bool OGLTexture::Load(IMAGE_FORMAT format, unsigned width, unsigned height) {
  GLenum layout = 0;
  switch (format) {
    case Kelo::IMAGE_L8:
      layout = GL_LUMINANCE8;
      break;
    case Kelo::IMAGE_RGB888:
      layout = GL_RGB;
      break;
    case Kelo::IMAGE_RGBA8888:
      layout = GL_RGBA;
      break;
    default:
      return false;
  }
  glGenTextures(1, &glName);
  glBindTexture(GL_TEXTURE_2D, glName);
  glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_GENERATE_MIPMAP, GL_FALSE);
  glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP);
  glTexParameterf(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP);
  glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(layout), static_cast<GLsizei>(width),
               static_cast<GLsizei>(height), 0, layout, GL_UNSIGNED_BYTE, nullptr);
  return glIsTexture(glName) != 0;
}

bool OGLTexture::LoadFont(IMAGE_FORMAT format, const void* pixels, unsigned width,
                          unsigned height) {
  if (format != Kelo::IMAGE_L8 && format != Kelo::IMAGE_RGBA8888) return false;
  const auto* source = static_cast<const unsigned char*>(pixels);
  auto* texels = static_cast<uint16_t*>(std::calloc(FontElements(width, height) + 1, 2));
  if (format == Kelo::IMAGE_L8) {
    ConvertL8Font(source, reinterpret_cast<unsigned char*>(texels),
                  static_cast<size_t>(width) * height);
  } else {
    ConvertRgbaFont(source, texels, width, height);
  }
  glName = Upload(reinterpret_cast<unsigned char*>(texels), static_cast<int>(width),
                  static_cast<int>(height), 2, glName);
  std::free(texels);
  return glIsTexture(glName) != 0;
}

bool OGLTexture::Load(const char* filename) {
  DecodedImage image;
  glName = Kelo::DecodeImageFile(filename, 0, image)
               ? Upload(image.pixels.get(), image.width, image.height, image.channels, glName)
               : 0;
  return glIsTexture(glName) != 0;
}

bool OGLTexture::Load(const char* filename, const Kelo::Color& colorKey) {
  DecodedImage image;
  if (!Kelo::DecodeImageFile(filename, 4, image)) return false;
  if (image.channels == 4) ApplyColorKey(image.pixels.get(), image.width, image.height, colorKey);
  glName = Upload(image.pixels.get(), image.width, image.height, 4, glName);
  return glIsTexture(glName) != 0;
}
