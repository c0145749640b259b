#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/support/enumerated.h"
#include "tests/support/log_capture.h"
#include "tests/support/scripted_platform.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::ScriptedPlatform;

const ModeValue kAbsent{};
const ModeValue kNotANumber{ModeValue::State::NotANumber, 0.0};
const ModeValue k800v = ModeValue::Of(800), k600v = ModeValue::Of(600), k32v = ModeValue::Of(32),
                k60v = ModeValue::Of(60);

ListedMode Mode(ModeValue width, ModeValue height, ModeValue bits, ModeValue rate,
                bool usable = true, ModeValue stretched = kAbsent) {
  return {{width, height, bits, rate}, usable, stretched};
}

ListedMode Mode(double width, double height, double bits, double rate = 60) {
  return Mode(ModeValue::Of(width), ModeValue::Of(height), ModeValue::Of(bits),
              ModeValue::Of(rate));
}

struct Offered {
  bool result;
  std::vector<DisplayMode> modes;
};

Offered Offer(unsigned display) {
  IOpenGL device;
  DeviceDescription description{};
  description.displayId = display;
  Offered offered;
  offered.result =
      device.EnumerateDisplayModes(description, Support::CollectInto<DisplayMode>, &offered.modes);
  return offered;
}

// Only usable, unstretched modes of more than 8 bits with a size are offered,
// as full-screen modes with the rate in whole hertz (60 for none).
TEST(EnumerateDisplayModes, OffersEachUsableModeOfMoreThan8Bits) {
  const std::optional<DisplayMode> k800{{800, 600, 32, false, 60}}, k640{{640, 480, 16, false, 60}},
      none;
  // clang-format off
  const struct {
    const char* name;
    ListedMode listed;
    std::optional<DisplayMode> offered;
  } cases[] = {
      {"32 bits", Mode(800, 600, 32), k800}, {"8 bits", Mode(800, 600, 8), none},
      {"9 bits", Mode(800, 600, 9), DisplayMode{800, 600, 9, false, 60}},
      {"not for the desktop", Mode(k800v, k600v, k32v, k60v, false), none},
      {"stretched", Mode(k800v, k600v, k32v, k60v, true, ModeValue::Of(1)), none},
      {"stretched is 0", Mode(k800v, k600v, k32v, k60v, true, ModeValue::Of(0)), k800},
      {"stretched is not a number", Mode(k800v, k600v, k32v, k60v, true, kNotANumber), k800},
      {"no depth", Mode(k800v, k600v, kAbsent, k60v), none},
      {"depth not a number", Mode(k800v, k600v, kNotANumber, k60v), none},
      {"no width", Mode(kAbsent, k600v, k32v, k60v), none},
      {"height not a number", Mode(k800v, kNotANumber, k32v, k60v), none},
      {"75 Hz", Mode(640, 480, 16, 75), DisplayMode{640, 480, 16, false, 75}},
      {"59.94 Hz is truncated", Mode(640, 480, 16, 59.94), DisplayMode{640, 480, 16, false, 59}},
      {"0 Hz", Mode(640, 480, 16, 0), k640}, {"negative rate", Mode(640, 480, 16, -5), k640},
      {"NaN rate", Mode(640, 480, 16, std::nan("")), k640},
      {"no rate", Mode(k800v, k600v, k32v, kAbsent), k800},
      {"rate not a number", Mode(k800v, k600v, k32v, kNotANumber), k800},
  };
  // clang-format on
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    platform.displays = {{1, std::nullopt, std::vector<ListedMode>{c.listed}}};
    const Offered offered = Offer(1);
    EXPECT_TRUE(offered.result) << c.name;
    EXPECT_EQ(offered.modes,
              c.offered ? std::vector<DisplayMode>{*c.offered} : std::vector<DisplayMode>{})
        << c.name;
  }
}

TEST(EnumerateDisplayModes, KeepsTheOrderAndDuplicatesOfTheDisplayAsked) {
  ScriptedPlatform platform;
  platform.displays = {
      {1, std::nullopt, std::vector<ListedMode>{Mode(320, 200, 32)}},
      {2, std::nullopt,
       std::vector<ListedMode>{Mode(1024, 768, 32), Mode(640, 480, 8), Mode(640, 480, 16),
                               Mode(1024, 768, 32)}},
  };
  const std::vector<DisplayMode> expected = {
      {1024, 768, 32, false, 60}, {640, 480, 16, false, 60}, {1024, 768, 32, false, 60}};
  EXPECT_EQ(Offer(2).modes, expected);
}

TEST(EnumerateDisplayModes, FailsAndSaysSoWhenTheDisplayListsNoModes) {
  for (bool displayKnown : {true, false}) {
    ScriptedPlatform platform;
    if (displayKnown) platform.displays = {{1, std::nullopt, std::nullopt}};
    Support::LogCapture log;
    const Offered offered = Offer(1);
    EXPECT_FALSE(offered.result);
    EXPECT_TRUE(offered.modes.empty());
    EXPECT_EQ(log.Lines(),
              std::vector<std::string>{"[kelo-agl] failed to detect available display modes.\n"});
  }
}

}  // namespace
}  // namespace Kelo
