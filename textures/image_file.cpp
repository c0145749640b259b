#include "textures/image_file.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "kelo/log.h"
#include "textures/decoder_memory.h"
#include "textures/jpeg_huffman_scan.h"
#include "textures/psd_matte_scan.h"

// The plug-in's own copy of stb_image, private to this file: the texture
// library exports decoders of the same names. Its memory is bounded.
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_JPEG
#define STBI_ONLY_PNG
#define STBI_ONLY_BMP
#define STBI_ONLY_PSD
#define STBI_ONLY_TGA
#define STBI_NO_STDIO
#define STBI_FAILURE_USERMSG
#define STBI_MALLOC(size) Kelo::DecoderAllocate(size)
#define STBI_REALLOC(block, size) Kelo::DecoderReallocate(block, size)
#define STBI_FREE(block) Kelo::DecoderFree(block)
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wsign-compare"
#pragma GCC diagnostic ignored "-Wimplicit-fallthrough"
#endif
#include <stb/stb_image.h>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

namespace Kelo {
namespace {

// Files larger than the largest image that passes the pixel cap (four bytes
// a pixel, uncompressed, with room for headers) are not worth reading.
constexpr long kMaxFileBytes = 4 * kMaxImagePixels - (1 << 20);

bool ReadFile(const char* path, std::vector<unsigned char>& bytes) {
  std::FILE* file = path ? std::fopen(path, "rb") : nullptr;
  if (!file) return false;
  bool read = std::fseek(file, 0, SEEK_END) == 0;
  const long size = read ? std::ftell(file) : -1;
  read = size >= 0 && size <= kMaxFileBytes && std::fseek(file, 0, SEEK_SET) == 0;
  if (read) {
    bytes.resize(static_cast<size_t>(size));
    read = std::fread(bytes.data(), 1, bytes.size(), file) == bytes.size();
  }
  std::fclose(file);
  return read;
}

// stb reports a top-down BMP's height as negative from the header alone.
bool AcceptableSize(int width, int height) {
  const long long w = std::llabs(width);
  const long long h = std::llabs(height);
  return w > 0 && h > 0 && w * h <= kMaxImagePixels;
}

}  // namespace

void DecodedImage::Free::operator()(unsigned char* pixels) const { stbi_image_free(pixels); }

bool DecodeImage(const unsigned char* bytes, size_t size, int forceChannels, DecodedImage& out) {
  if (!bytes || size == 0 || size > static_cast<size_t>(kMaxFileBytes)) return false;
  // The two refusals below turn away files that would make the decoder
  // misbehave, not files it cannot read, so the host is told why.
  if (!JpegHuffmanTablesSafe(bytes, size)) {
    Log::Output("[kelo-opengl] refused a JPEG whose Huffman tables the decoder cannot use.\n");
    return false;
  }
  const int length = static_cast<int>(size);
  int width = 0;
  int height = 0;
  int channels = 0;
  if (!stbi_info_from_memory(bytes, length, &width, &height, &channels) ||
      !AcceptableSize(width, height)) {
    return false;
  }
  if (!PsdMatteSafe(bytes, size)) {
    Log::Output("[kelo-opengl] refused a Photoshop file whose matte the decoder cannot remove.\n");
    return false;
  }
  unsigned char* pixels =
      stbi_load_from_memory(bytes, length, &width, &height, &channels, forceChannels);
  if (!pixels) return false;
  out.pixels.reset(pixels);
  if (!AcceptableSize(width, height)) return false;
  out.width = width;
  out.height = height;
  out.channels = channels;
  return true;
}

bool DecodeImageFile(const char* path, int forceChannels, DecodedImage& out) {
  std::vector<unsigned char> bytes;
  return ReadFile(path, bytes) && DecodeImage(bytes.data(), bytes.size(), forceChannels, out);
}

}  // namespace Kelo
