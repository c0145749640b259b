#include <gtest/gtest.h>

#include "tests/support/scripted_platform.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::ScriptedPlatform;

ModeRecord Desktop(ModeValue refreshRate) {
  return {ModeValue::Of(1280), ModeValue::Of(800), ModeValue::Of(32), refreshRate};
}

TEST(DeviceInit, ReadsTheDesktopModeAndItsRefreshRate) {
  const struct {
    const char* name;
    ModeValue refreshRate;
    unsigned expected;
  } cases[] = {
      {"0 Hz reads as 60", ModeValue::Of(0.0), 60},
      {"59.94 Hz is truncated", ModeValue::Of(59.94), 59},
      {"75 Hz", ModeValue::Of(75.0), 75},
      {"an unreadable rate reads as 0, so 60", {ModeValue::State::NotANumber, 0.0}, 60},
      {"no rate keeps what the field held", {}, 12345},
  };
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    platform.desktop = Desktop(c.refreshRate);
    IOpenGL device;
    device.currentMode.refreshRate = 12345;
    device.currentMode.windowed = false;
    ASSERT_TRUE(device.Init()) << c.name;
    DisplayMode mode{};
    EXPECT_TRUE(device.GetDisplayMode(mode));
    EXPECT_EQ(mode.width, 1280u) << c.name;
    EXPECT_EQ(mode.height, 800u) << c.name;
    EXPECT_EQ(mode.bitsPerPixel, 32u) << c.name;
    EXPECT_TRUE(mode.windowed) << c.name;
    EXPECT_EQ(mode.refreshRate, c.expected) << c.name;
    EXPECT_EQ(device.desktopMode.refreshRate, c.expected) << c.name;
    EXPECT_EQ(device.desktopMode.width, 1280u) << c.name;
  }
}

TEST(DeviceInit, StopsAtTheFirstMissingSizeKeyKeepingWhatItRead) {
  const struct {
    const char* name;
    ModeRecord record;
    unsigned width, height;
  } cases[] = {
      {"no width", {{}, ModeValue::Of(800), ModeValue::Of(32), ModeValue::Of(60)}, 7, 7},
      {"height not a number",
       {ModeValue::Of(1280), {ModeValue::State::NotANumber, 0}, ModeValue::Of(32), {}},
       1280,
       7},
      {"no depth", {ModeValue::Of(1280), ModeValue::Of(800), {}, ModeValue::Of(60)}, 1280, 800},
  };
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    platform.desktop = c.record;
    IOpenGL device;
    device.currentMode = {7, 7, 7, false, 7};
    EXPECT_FALSE(device.Init()) << c.name;
    EXPECT_EQ(device.currentMode.width, c.width) << c.name;
    EXPECT_EQ(device.currentMode.height, c.height) << c.name;
    EXPECT_FALSE(device.currentMode.windowed) << c.name;
    EXPECT_EQ(device.desktopMode.width, 0u) << c.name << ": the desktop mode is not kept";
  }
}

TEST(DeviceInit, FailsWithoutADesktopMode) {
  ScriptedPlatform platform;
  IOpenGL device;
  EXPECT_FALSE(device.Init());
}

TEST(DeviceLifecycle, ReportsReadinessFromTheCurrentContextAlone) {
  ScriptedPlatform platform;
  IOpenGL device;
  EXPECT_TRUE(device.Update());
  EXPECT_TRUE(device.Release());
  EXPECT_FALSE(device.IsReady());
  int context = 0;
  platform.context = &context;
  EXPECT_TRUE(device.IsReady());
  EXPECT_TRUE(device.Update());
  EXPECT_TRUE(device.Release());
}

TEST(DeviceLifecycle, EndRenderPresentsWhateverContextIsCurrent) {
  ScriptedPlatform platform;
  IOpenGL device;
  device.EndRender();
  int context = 0;
  platform.context = &context;
  device.EndRender();
  ASSERT_EQ(platform.swaps.size(), 2u);
  EXPECT_EQ(platform.swaps[0], nullptr);
  EXPECT_EQ(platform.swaps[1], &context);
}

}  // namespace
}  // namespace Kelo
