// What a run of blocks offers a request, under the allocator's rule that a
// free block fits when its size minus the request, taken as a signed 32-bit
// number, is not negative. Only the low 32 bits of either count: a block fits
// when its size lies in the half-circle [bytes, bytes + 2^31) modulo 2^32.
//
// The sizes are kept by their top bit, as two halves of the circle. For a
// request in one half, a block of the same half fits when its size is at
// least the request; a block of the other half fits when its size is below
// the request's mirror in that half. So the largest and the smallest size of
// each half tell exactly whether anything in the run fits, whatever the
// sizes: the wrapped blocks left behind oversized requests included.
#pragma once

#include <algorithm>
#include <cstdint>

namespace Kelo {

struct FreeSpace {
  static constexpr uint32_t kHalf = 0x80000000u;

  // The largest size in each half, within the half, plus one (0 for none),
  // and the smallest (kHalf for none).
  uint32_t above[2] = {0, 0};
  uint32_t below[2] = {kHalf, kHalf};

  static FreeSpace Of(unsigned long size) {
    const auto low = static_cast<uint32_t>(size);
    FreeSpace space;
    space.above[low / kHalf] = low % kHalf + 1;
    space.below[low / kHalf] = low % kHalf;
    return space;
  }

  static FreeSpace Join(const FreeSpace& a, const FreeSpace& b) {
    FreeSpace space;
    for (int half = 0; half < 2; ++half) {
      space.above[half] = std::max(a.above[half], b.above[half]);
      space.below[half] = std::min(a.below[half], b.below[half]);
    }
    return space;
  }

  bool operator==(const FreeSpace& o) const {
    return above[0] == o.above[0] && above[1] == o.above[1] && below[0] == o.below[0] &&
           below[1] == o.below[1];
  }

  bool Fits(unsigned long bytes) const {
    const auto low = static_cast<uint32_t>(bytes);
    const uint32_t half = low / kHalf;
    return above[half] > low % kHalf || below[1 - half] < low % kHalf;
  }
};

}  // namespace Kelo
