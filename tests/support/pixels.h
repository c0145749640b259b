#pragma once

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace Kelo::Support {

struct Rgba {
  int r, g, b, a;
};

inline std::ostream& operator<<(std::ostream& out, const Rgba& c) {
  return out << "(" << c.r << ", " << c.g << ", " << c.b << ", " << c.a << ")";
}

// The framebuffer pixel at (x, y), bottom-left origin.
inline Rgba ReadPixel(int x, int y) {
  unsigned char p[4] = {};
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
  return {p[0], p[1], p[2], p[3]};
}

// A 2 x 2 RGBA texture, bottom row first: red, green; blue, white.
constexpr unsigned char kCheckerTexels[] = {255, 0, 0,   255, 0,   255, 0,   255,
                                            0,   0, 255, 255, 255, 255, 255, 255};

}  // namespace Kelo::Support

// Alpha is not compared: the framebuffer may have none.
#define EXPECT_PIXEL_NEAR(x, y, expected, tolerance)                                        \
  do {                                                                                      \
    const ::Kelo::Support::Rgba kActual = ::Kelo::Support::ReadPixel((x), (y)),             \
                                kWant = (expected);                                         \
    EXPECT_TRUE(std::abs(kActual.r - kWant.r) <= (tolerance) &&                             \
                std::abs(kActual.g - kWant.g) <= (tolerance) &&                             \
                std::abs(kActual.b - kWant.b) <= (tolerance))                               \
        << "pixel (" << (x) << ", " << (y) << ") is " << kActual << ", expected " << kWant; \
  } while (0)
