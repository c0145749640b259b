#include <gtest/gtest.h>

#include "tests/support/enumerated.h"
#include "tests/support/scripted_platform.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::ScriptedPlatform;

const ModeValue kAbsent{};
const ModeValue kNotANumber{ModeValue::State::NotANumber, 0.0};

// Init reads width, height and depth in that order and stops at the first it
// cannot read; the refresh rate is optional and 0 Hz reads as 60.
TEST(DeviceInit, ReadsTheDesktopModeKeyByKey) {
  const ModeValue w = ModeValue::Of(1280), h = ModeValue::Of(800), bits = ModeValue::Of(32);
  const struct {
    const char* name;
    std::optional<ModeRecord> desktop;
    bool result;
    DisplayMode expected;  // starting from {7, 7, 7, false, 7}
  } cases[] = {
      {"75 Hz", ModeRecord{w, h, bits, ModeValue::Of(75.0)}, true, {1280, 800, 32, true, 75}},
      {"59.94 Hz is truncated",
       ModeRecord{w, h, bits, ModeValue::Of(59.94)},
       true,
       {1280, 800, 32, true, 59}},
      {"0 Hz", ModeRecord{w, h, bits, ModeValue::Of(0.0)}, true, {1280, 800, 32, true, 60}},
      {"an unreadable rate reads as 0",
       ModeRecord{w, h, bits, kNotANumber},
       true,
       {1280, 800, 32, true, 60}},
      {"no rate keeps the field", ModeRecord{w, h, bits, kAbsent}, true, {1280, 800, 32, true, 7}},
      {"no desktop", std::nullopt, false, {7, 7, 7, false, 7}},
      {"no width", ModeRecord{kAbsent, h, bits, {}}, false, {7, 7, 7, false, 7}},
      {"height not a number", ModeRecord{w, kNotANumber, bits, {}}, false, {1280, 7, 7, false, 7}},
      {"no depth", ModeRecord{w, h, kAbsent, {}}, false, {1280, 800, 7, false, 7}},
  };
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    platform.desktop = c.desktop;
    IOpenGL device;
    device.currentMode = {7, 7, 7, false, 7};
    EXPECT_EQ(device.Init(), c.result) << c.name;
    DisplayMode mode{};
    EXPECT_TRUE(device.GetDisplayMode(mode));
    EXPECT_EQ(mode, c.expected) << c.name;
    EXPECT_EQ(device.desktopMode, c.result ? c.expected : DisplayMode{}) << c.name;
  }
}

TEST(DeviceLifecycle, IsReadyAndPresentsWhateverContextIsCurrent) {
  ScriptedPlatform platform;
  IOpenGL device;
  int context = 0;
  for (void* current : {static_cast<void*>(nullptr), static_cast<void*>(&context)}) {
    platform.context = current;
    EXPECT_EQ(device.IsReady(), current != nullptr);
    EXPECT_TRUE(device.Update());
    EXPECT_TRUE(device.Release());
    device.EndRender();
    EXPECT_EQ(platform.swaps.back(), current);
  }
}

}  // namespace
}  // namespace Kelo
