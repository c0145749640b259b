// Image bytes as stb_image reads them from memory: every byte past the end
// reads as zero, so a pre-scan sees exactly what the decoder would.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Kelo {

struct PaddedBytes {
  const unsigned char* data;
  size_t size;

  unsigned operator[](size_t at) const { return at < size ? data[at] : 0; }
  unsigned Be16(size_t at) const { return (*this)[at] << 8 | (*this)[at + 1]; }
  uint32_t Be32(size_t at) const { return static_cast<uint32_t>(Be16(at)) << 16 | Be16(at + 2); }
};

}  // namespace Kelo
