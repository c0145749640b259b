#pragma once

#include <ostream>

#include "kelo/types.h"

// Lets tests compare and print display modes; declared in Kelo so that
// GoogleTest and the standard algorithms find them.
namespace Kelo {

inline bool operator==(const DisplayMode& a, const DisplayMode& b) {
  return a.width == b.width && a.height == b.height && a.bitsPerPixel == b.bitsPerPixel &&
         a.windowed == b.windowed && a.refreshRate == b.refreshRate;
}

inline std::ostream& operator<<(std::ostream& out, const DisplayMode& m) {
  return out << m.width << "x" << m.height << "x" << m.bitsPerPixel << "@" << m.refreshRate
             << (m.windowed ? " windowed" : " full screen");
}

}  // namespace Kelo
