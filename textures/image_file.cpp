#include "textures/image_file.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

// The plug-in's own copy of stb_image, private to this file: the texture
// library exports decoders of the same names.
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STBI_ONLY_JPEG
#define STBI_ONLY_PNG
#define STBI_ONLY_BMP
#define STBI_ONLY_PSD
#define STBI_ONLY_TGA
#define STBI_NO_STDIO
#define STBI_FAILURE_USERMSG
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
constexpr long kMaxFileBytes = 4 * kMaxImagePixels + (1 << 20);

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

// Debian's decoder builds each JPEG Huffman table without checking that it
// holds at most 256 codes, and writes past the table when it holds more
// (found by fuzzing). Such files are corrupt: they are refused before
// decoding. Segments are walked as the decoder walks them, entropy-coded
// data and all, so every table it would build is checked.
bool JpegHuffmanTablesFit(const unsigned char* bytes, size_t size, size_t at) {
  while (at + 4 <= size) {
    const unsigned char marker = bytes[at + 1];
    if (bytes[at] != 0xFF || marker == 0xFF || marker == 0x00 || marker == 0x01 ||
        (marker >= 0xD0 && marker <= 0xD8)) {
      at += bytes[at] == 0xFF && marker != 0xFF ? 2 : 1;
      continue;
    }
    if (marker == 0xD9) break;
    const size_t length = static_cast<size_t>(bytes[at + 2]) << 8 | bytes[at + 3];
    if (marker == 0xC4) {
      long left = static_cast<long>(length) - 2;
      // The decoder reads past the end of the data as zeros.
      for (size_t table = at + 4; left > 0 && table < size;) {
        size_t codes = 0;
        for (size_t i = 1; i <= 16 && table + i < size; ++i) codes += bytes[table + i];
        if (codes > 256) return false;
        table += 17 + codes;
        left -= static_cast<long>(17 + codes);
      }
    }
    at += 2 + length;
  }
  return true;
}

// Where a JPEG's segments start, after its start-of-image marker, or 0 when
// the decoder would not take the bytes for a JPEG. Like the decoder, fill
// bytes (0xFF) before the marker are skipped.
size_t JpegSegmentsStart(const unsigned char* bytes, size_t size) {
  if (size < 2 || bytes[0] != 0xFF) return 0;
  size_t at = 1;
  while (at < size && bytes[at] == 0xFF) ++at;
  return at < size && bytes[at] == 0xD8 ? at + 1 : 0;
}

}  // namespace

void DecodedImage::Free::operator()(unsigned char* pixels) const { stbi_image_free(pixels); }

bool DecodeImage(const unsigned char* bytes, size_t size, int forceChannels, DecodedImage& out) {
  if (!bytes || size == 0 || size > static_cast<size_t>(kMaxFileBytes)) return false;
  const size_t segments = JpegSegmentsStart(bytes, size);
  if (segments && !JpegHuffmanTablesFit(bytes, size, segments)) return false;
  const int length = static_cast<int>(size);
  int width = 0;
  int height = 0;
  int channels = 0;
  if (!stbi_info_from_memory(bytes, length, &width, &height, &channels) ||
      !AcceptableSize(width, height)) {
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
