#pragma once

#include <cmath>

namespace Kelo {

// A float opacity as a byte: times 255, truncated, low 8 bits kept. Values
// outside 0..1 wrap instead of clamping, as hosts have always seen them do.
inline unsigned char OpacityByte(float alpha) {
  const double product = alpha * 255.0;
  // Beyond the range of long long the conversion itself would be undefined.
  if (!(std::fabs(product) < 9.2e18)) return 0;
  return static_cast<unsigned char>(static_cast<long long>(product));
}

}  // namespace Kelo
