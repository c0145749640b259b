#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "kelo/types.h"

// Declared in Kelo so that GoogleTest and the standard algorithms find them.
namespace Kelo {
inline bool operator==(const DisplayMode& a, const DisplayMode& b) {
  return a.width == b.width && a.height == b.height && a.bitsPerPixel == b.bitsPerPixel &&
         a.windowed == b.windowed && a.refreshRate == b.refreshRate;
}
inline std::ostream& operator<<(std::ostream& out, const DisplayMode& m) {
  return out << m.width << "x" << m.height << "x" << m.bitsPerPixel << "@" << m.refreshRate
             << (m.windowed ? " windowed" : " full screen");
}

namespace Support {
// The one line the device logs when a display lists no such mode.
inline std::vector<std::string> NotSupported(const DisplayMode& m) {
  return {"[kelo-agl] mode " + std::to_string(m.width) + "x" + std::to_string(m.height) + "x" +
          std::to_string(m.bitsPerPixel) + "@" + std::to_string(m.refreshRate) +
          "Hz not supported\n"};
}

// An enumeration callback that keeps a copy of each item in the
// std::vector<T> passed as user data.
template <typename T>
void CollectInto(const T& item, void* user) {
  static_cast<std::vector<T>*>(user)->push_back(item);
}
}  // namespace Support
}  // namespace Kelo
