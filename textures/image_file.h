// Decoding of image files from players and modders: untrusted input. Files
// are decoded here, never by the texture library's own decoders, and sizes
// are checked from the header before any pixel memory is taken.
#pragma once

#include <cstddef>
#include <memory>

namespace Kelo {

// No real 2-D texture comes near this many pixels; a header that claims more
// is refused before decoding.
constexpr long long kMaxImagePixels = 1ll << 26;

struct DecodedImage {
  struct Free {
    void operator()(unsigned char* pixels) const;
  };
  std::unique_ptr<unsigned char, Free> pixels;
  int width = 0;
  int height = 0;
  // The channel count of the file itself (1 grey, 2 grey-alpha, 3 RGB,
  // 4 RGBA), whatever count the pixels were converted to.
  int channels = 0;
};

// Decodes a JPEG, PNG, BMP, PSD or TGA image held in memory into
// `forceChannels` channels a pixel (0: the file's own). False for anything
// else, for an empty image and for one larger than kMaxImagePixels.
bool DecodeImage(const unsigned char* bytes, size_t size, int forceChannels, DecodedImage& out);

// The same for a file; false also when the file cannot be read.
bool DecodeImageFile(const char* path, int forceChannels, DecodedImage& out);

}  // namespace Kelo
