#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "tests/support/enumerated.h"
#include "tests/support/log_capture.h"
#include "tests/support/scripted_platform.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::LogCapture;
using Support::ScriptedPlatform;

const ModeValue kNotANumber{ModeValue::State::NotANumber, 0.0};
const ModeValue kAbsent{};

ListedMode Listed(ModeValue width, ModeValue height, ModeValue bits, ModeValue rate,
                  bool usable = true, ModeValue stretched = kAbsent) {
  return {{width, height, bits, rate}, usable, stretched};
}

ListedMode Mode(double width, double height, double bits, ModeValue rate = ModeValue::Of(60)) {
  return Listed(ModeValue::Of(width), ModeValue::Of(height), ModeValue::Of(bits), rate);
}

std::vector<DisplayMode> Offered(IOpenGL& device, unsigned display, bool& result) {
  std::vector<DisplayMode> offered;
  DeviceDescription description{};
  description.displayId = display;
  result = device.EnumerateDisplayModes(description, Support::CollectInto<DisplayMode>, &offered);
  return offered;
}

TEST(EnumerateDisplayModes, OffersOnlyUsableModesWithMoreThan8BitsAndASize) {
  const struct {
    const char* name;
    ListedMode listed;
    bool offered;
  } cases[] = {
      {"32 bits", Mode(800, 600, 32), true},
      {"16 bits", Mode(800, 600, 16), true},
      {"8 bits", Mode(800, 600, 8), false},
      {"9 bits", Mode(800, 600, 9), true},
      {"not for the desktop",
       Listed(ModeValue::Of(800), ModeValue::Of(600), ModeValue::Of(32), ModeValue::Of(60), false),
       false},
      {"stretched",
       Listed(ModeValue::Of(800), ModeValue::Of(600), ModeValue::Of(32), ModeValue::Of(60), true,
              ModeValue::Of(1)),
       false},
      {"stretched is 0",
       Listed(ModeValue::Of(800), ModeValue::Of(600), ModeValue::Of(32), ModeValue::Of(60), true,
              ModeValue::Of(0)),
       true},
      {"stretched is not a number",
       Listed(ModeValue::Of(800), ModeValue::Of(600), ModeValue::Of(32), ModeValue::Of(60), true,
              kNotANumber),
       true},
      {"no depth", Listed(ModeValue::Of(800), ModeValue::Of(600), kAbsent, ModeValue::Of(60)),
       false},
      {"depth not a number",
       Listed(ModeValue::Of(800), ModeValue::Of(600), kNotANumber, ModeValue::Of(60)), false},
      {"no width", Listed(kAbsent, ModeValue::Of(600), ModeValue::Of(32), ModeValue::Of(60)),
       false},
      {"height not a number",
       Listed(ModeValue::Of(800), kNotANumber, ModeValue::Of(32), ModeValue::Of(60)), false},
  };
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    platform.displays = {{1, std::nullopt, std::vector<ListedMode>{c.listed}}};
    IOpenGL device;
    bool result = false;
    const auto offered = Offered(device, 1, result);
    EXPECT_TRUE(result) << c.name;
    ASSERT_EQ(offered.size(), c.offered ? 1u : 0u) << c.name;
    if (c.offered) {
      EXPECT_EQ(offered[0].width, 800u) << c.name;
      EXPECT_EQ(offered[0].height, 600u) << c.name;
      EXPECT_FALSE(offered[0].windowed) << c.name;
    }
  }
}

TEST(EnumerateDisplayModes, ReportsRefreshRatesInWholeHertzWith60ForNone) {
  const struct {
    const char* name;
    ModeValue rate;
    unsigned expected;
  } cases[] = {
      {"75", ModeValue::Of(75.0), 75},
      {"59.94 is truncated", ModeValue::Of(59.94), 59},
      {"0", ModeValue::Of(0.0), 60},
      {"absent", kAbsent, 60},
      {"not a number", kNotANumber, 60},
      {"negative", ModeValue::Of(-5.0), 60},
      {"NaN", ModeValue::Of(std::nan("")), 60},
  };
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    platform.displays = {{1, std::nullopt, std::vector<ListedMode>{Mode(640, 480, 32, c.rate)}}};
    IOpenGL device;
    bool result = false;
    const auto offered = Offered(device, 1, result);
    ASSERT_EQ(offered.size(), 1u) << c.name;
    EXPECT_EQ(offered[0].refreshRate, c.expected) << c.name;
  }
}

TEST(EnumerateDisplayModes, KeepsThePlatformsOrderAndDuplicatesOfTheDisplayAsked) {
  ScriptedPlatform platform;
  platform.displays = {
      {1, std::nullopt, std::vector<ListedMode>{Mode(320, 200, 32)}},
      {2, std::nullopt,
       std::vector<ListedMode>{Mode(1024, 768, 32), Mode(640, 480, 8), Mode(640, 480, 16),
                               Mode(1024, 768, 32)}},
  };
  IOpenGL device;
  device.displayId = 1;
  bool result = false;
  const auto offered = Offered(device, 2, result);
  EXPECT_TRUE(result);
  const std::vector<DisplayMode> expected = {
      {1024, 768, 32, false, 60}, {640, 480, 16, false, 60}, {1024, 768, 32, false, 60}};
  EXPECT_EQ(offered, expected);
}

TEST(EnumerateDisplayModes, LogsWhenTheDisplayListsNoModes) {
  const struct {
    const char* name;
    std::vector<ScriptedPlatform::Display> displays;
  } cases[] = {
      {"modes unreadable", {{1, std::nullopt, std::nullopt}}},
      {"no such display", {}},
  };
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    platform.displays = c.displays;
    LogCapture log;
    IOpenGL device;
    bool result = true;
    EXPECT_TRUE(Offered(device, 1, result).empty()) << c.name;
    EXPECT_FALSE(result) << c.name;
    EXPECT_EQ(log.Lines(),
              std::vector<std::string>{"[kelo-agl] failed to detect available display modes.\n"})
        << c.name;
  }
}

TEST(EnumerateDisplayModes, ReportsNothingButStillSucceedsWhenNoModePasses) {
  ScriptedPlatform platform;
  platform.displays = {{1, std::nullopt, std::vector<ListedMode>{Mode(640, 480, 8)}}};
  IOpenGL device;
  bool result = false;
  EXPECT_TRUE(Offered(device, 1, result).empty());
  EXPECT_TRUE(result);
}

}  // namespace
}  // namespace Kelo
