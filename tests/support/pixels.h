#pragma once

#include <GL/gl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace Kelo::Support {

struct Rgba {
  int r, g, b, a;
};

inline Rgba ReadPixel(int x, int y) {
  unsigned char p[4] = {};
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(x, y, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, p);
  return {p[0], p[1], p[2], p[3]};
}

// Alpha is not compared: the framebuffer may have none.
inline ::testing::AssertionResult PixelNear(int x, int y, Rgba want, int tolerance) {
  const Rgba got = ReadPixel(x, y);
  const int off =
      std::max({std::abs(got.r - want.r), std::abs(got.g - want.g), std::abs(got.b - want.b)});
  return (off <= tolerance ? ::testing::AssertionSuccess() : ::testing::AssertionFailure())
         << "the pixel is (" << got.r << ", " << got.g << ", " << got.b << ")";
}

// A 2 x 2 RGBA texture, bottom row first: red, green; blue, white.
constexpr unsigned char kCheckerTexels[] = {255, 0, 0,   255, 0,   255, 0,   255,
                                            0,   0, 255, 255, 255, 255, 255, 255};

}  // namespace Kelo::Support

#define EXPECT_PIXEL_NEAR(x, y, expected, tolerance) \
  EXPECT_TRUE(::Kelo::Support::PixelNear((x), (y), (expected), (tolerance)))
