#include "textures/psd_matte_scan.h"

#include <cstdint>

#include "textures/padded_bytes.h"

namespace Kelo {
namespace {

// The decoder computes 255 + (colour - 255) * 255 / alpha in float, for an
// alpha of 1 to 254. That is below -1 exactly when colour + alpha < 255, as
// running the decoder's own float arithmetic over every colour and alpha
// shows, and never reaches 256. A file written with a white matte always has
// colour + alpha >= 255.
bool MatteUnderflows(unsigned colour, unsigned alpha) { return alpha != 0 && colour + alpha < 255; }

// One channel of PackBits-compressed samples, read a byte at a time as the
// decoder reads it. Runs that overshoot the channel make the decoder refuse
// the file, so they need no care here.
class PackBits {
public:
  PackBits(PaddedBytes in, size_t at) : in_(in), at_(at) {}

  unsigned Next() {
    while (left_ == 0) {
      const unsigned header = in_[at_++];
      if (header == 128) continue;
      repeat_ = header > 128;
      left_ = repeat_ ? 257 - header : header + 1;
    }
    --left_;
    return repeat_ && left_ ? in_[at_] : in_[at_++];
  }

  // Where the next channel starts once this one gave `count` samples.
  size_t EndAfter(size_t count) {
    for (size_t i = 0; i < count; ++i) Next();
    return at_;
  }

private:
  PaddedBytes in_;
  size_t at_;
  unsigned left_ = 0;
  bool repeat_ = false;
};

bool RawPixelsSafe(PaddedBytes in, size_t at, size_t pixels, unsigned depth) {
  // A 16-bit sample becomes its high byte, the first of the two.
  const size_t step = depth == 16 ? 2 : 1;
  for (size_t i = 0; i < pixels; ++i) {
    const unsigned alpha = in[at + (3 * pixels + i) * step];
    for (size_t channel = 0; channel < 3; ++channel) {
      if (MatteUnderflows(in[at + (channel * pixels + i) * step], alpha)) return false;
    }
  }
  return true;
}

// Each channel is one PackBits stream whatever the depth: the four of them
// are read side by side, each from where the one before it ends.
bool PackBitsPixelsSafe(PaddedBytes in, size_t at, size_t pixels) {
  PackBits red(in, at);
  PackBits green(in, PackBits(red).EndAfter(pixels));
  PackBits blue(in, PackBits(green).EndAfter(pixels));
  PackBits alpha(in, PackBits(blue).EndAfter(pixels));
  for (size_t i = 0; i < pixels; ++i) {
    const unsigned r = red.Next();
    const unsigned g = green.Next();
    const unsigned b = blue.Next();
    const unsigned a = alpha.Next();
    if (MatteUnderflows(r, a) || MatteUnderflows(g, a) || MatteUnderflows(b, a)) return false;
  }
  return true;
}

}  // namespace

bool PsdMatteSafe(const unsigned char* bytes, size_t size) {
  const PaddedBytes in{bytes, size};
  const unsigned channels = in.Be16(12);
  const auto height = static_cast<int32_t>(in.Be32(14));
  const auto width = static_cast<int32_t>(in.Be32(18));
  // Only files of four channels or more have their matte removed; the decoder
  // refuses a negative size.
  if (in.Be32(0) != 0x38425053 || channels < 4 || height < 0 || width < 0) return true;
  const size_t pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
  // Past the colour-mode, resource and layer sections, each led by its length.
  size_t at = 26;
  for (int section = 0; section < 3; ++section) at += 4 + in.Be32(at);
  const bool packBits = in.Be16(at) != 0;
  at += 2;
  if (!packBits) return RawPixelsSafe(in, at, pixels, in.Be16(22));
  // Each row of each channel first gives its compressed length.
  return PackBitsPixelsSafe(in, at + static_cast<size_t>(height) * channels * 2, pixels);
}

}  // namespace Kelo
