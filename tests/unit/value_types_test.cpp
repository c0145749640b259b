#include <gtest/gtest.h>

#include "kelo/colors.h"
#include "video/opacity.h"

namespace Kelo {
namespace {

struct Named {
  const char* name;
  Color actual;
  Color expected;
};

TEST(NamedColors, KeepTheirDeliberateNamesAndValues) {
  const Named cases[] = {
      {"GOLDENRODYELLOW", GOLDENRODYELLOW, {250, 250, 210}},
      {"CORNFLOWERBLUE", CORNFLOWERBLUE, {100, 149, 237}},
      {"GREEN", GREEN, {0, 128, 0}},
      {"LIME", LIME, {0, 255, 0}},
      {"GREY", GREY, {128, 128, 128}},
      {"DARKSLATEGREY", DARKSLATEGREY, {47, 79, 79}},
      {"AQUA", AQUA, {0, 255, 255}},
      {"CYAN", CYAN, {0, 255, 255}},
      {"FUCHSIA", FUCHSIA, {255, 0, 255}},
      {"BLACK", BLACK, {0, 0, 0}},
      {"YELLOWGREEN", YELLOWGREEN, {154, 205, 50}},
  };
  for (const Named& c : cases) {
    EXPECT_EQ(c.actual.r, c.expected.r) << c.name;
    EXPECT_EQ(c.actual.g, c.expected.g) << c.name;
    EXPECT_EQ(c.actual.b, c.expected.b) << c.name;
  }
}

TEST(OpacityByte, TruncatesAndWrapsWithoutClamping) {
  const struct {
    float alpha;
    int expected;
  } cases[] = {
      {1.0f, 255}, {0.0f, 0}, {0.5f, 127}, {0.999f, 254}, {1.5f, 126}, {-0.5f, 129},
  };
  for (const auto& c : cases) EXPECT_EQ(OpacityByte(c.alpha), c.expected) << "alpha " << c.alpha;
}

}  // namespace
}  // namespace Kelo
