#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/support/enumerated.h"
#include "tests/support/scripted_platform.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

using Support::ScriptedPlatform;

// Model data of `length` letters, with a terminating NUL when asked.
std::vector<char> Model(std::size_t length, bool terminated = true) {
  std::vector<char> bytes(length, 'M');
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>('a' + i % 26);
  if (terminated) bytes.push_back('\0');
  return bytes;
}

std::string Letters(std::size_t length) {
  const std::vector<char> bytes = Model(length, false);
  return {bytes.begin(), bytes.end()};
}

std::vector<DeviceDescription> Enumerate(IOpenGL& device, DEV_SUBCLASS subClass, bool& result) {
  std::vector<DeviceDescription> found;
  result = device.EnumerateDevices(subClass, Support::CollectInto<DeviceDescription>, &found);
  return found;
}

TEST(EnumerateDevices, NamesEachDisplayByItsModelCutTo63Bytes) {
  const struct {
    const char* name;
    std::optional<std::vector<char>> model;
    std::string expected;
  } cases[] = {
      {"64 bytes: 63 letters and a NUL", Model(63), Letters(63)},
      {"65 bytes are cut to 63", Model(64), Letters(63)},
      {"a short name", Model(12), Letters(12)},
      {"data without a NUL", Model(20, false), Letters(20)},
      {"no model", std::nullopt, "Unknown video"},
  };
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    platform.displays = {{7, Model(5), {}}, {9, c.model, {}}};
    IOpenGL device;
    bool result = false;
    const auto found = Enumerate(device, DEV_SUBCLASS_DISPLAY, result);
    ASSERT_TRUE(result) << c.name;
    ASSERT_EQ(found.size(), 2u) << c.name;
    EXPECT_EQ(found[0].displayId, 7u) << c.name;
    EXPECT_STREQ(found[0].name, "abcde") << c.name;
    EXPECT_EQ(found[1].displayId, 9u) << c.name;
    EXPECT_EQ(std::string(found[1].name), c.expected) << c.name;
    EXPECT_EQ(found[1].name[63], '\0') << c.name;
  }
}

TEST(EnumerateDevices, ReportsDisplaysWhateverSubClassIsAsked) {
  for (DEV_SUBCLASS subClass : {DEV_SUBCLASS_NONE, DEV_SUBCLASS_DISPLAY, DEV_SUBCLASS(77)}) {
    ScriptedPlatform platform;
    platform.displays = {{3, Model(4), {}}};
    IOpenGL device;
    bool result = false;
    const auto found = Enumerate(device, subClass, result);
    ASSERT_TRUE(result);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].deviceClass, static_cast<unsigned>(DEV_CLASS_VIDEO));
    EXPECT_EQ(found[0].subClass, DEV_SUBCLASS_DISPLAY);
  }
}

TEST(EnumerateDevices, FailsWithoutCallingBackWhenNoDisplayIsListed) {
  const struct {
    const char* name;
    bool readable;
    std::vector<ScriptedPlatform::Display> displays;
  } cases[] = {
      {"list unreadable", false, {{1, Model(3), {}}}},
      {"no display", true, {}},
  };
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    platform.displayListReadable = c.readable;
    platform.displays = c.displays;
    IOpenGL device;
    bool result = true;
    EXPECT_TRUE(Enumerate(device, DEV_SUBCLASS_DISPLAY, result).empty()) << c.name;
    EXPECT_FALSE(result) << c.name;
  }
}

TEST(GetDefaultDevice, NamesTheMainDisplayKeepingTheRestOfTheRecord) {
  const struct {
    const char* name;
    std::optional<std::vector<char>> model;
    std::string expectedName;  // all 64 bytes of `name` that are set
    bool terminated;
  } cases[] = {
      {"64 letters fill the name without a NUL", Model(64), Letters(64), false},
      {"65 letters are cut to 63", Model(65), Letters(63), true},
      {"a short name", Model(5), Letters(5), true},
      {"no model", std::nullopt, "Unknown Video", true},
  };
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    platform.mainDisplay = 5;
    platform.displays = {{2, Model(3), {}}, {5, c.model, {}}};
    IOpenGL device;
    DeviceDescription out;
    std::memset(&out, 'x', sizeof out);
    EXPECT_TRUE(device.GetDefaultDevice(DEV_SUBCLASS_NONE, out)) << c.name;
    EXPECT_EQ(out.deviceClass, static_cast<unsigned>(DEV_CLASS_VIDEO)) << c.name;
    EXPECT_EQ(out.subClass, DEV_SUBCLASS_DISPLAY) << c.name;
    EXPECT_EQ(out.displayId, 5u) << c.name;
    EXPECT_EQ(std::string(out.name, c.expectedName.size()), c.expectedName) << c.name;
    if (c.terminated) {
      EXPECT_EQ(out.name[c.expectedName.size()], '\0') << c.name;
      if (c.expectedName.size() < 62) {
        EXPECT_EQ(out.name[c.expectedName.size() + 1], 'x') << c.name << ": the rest is kept";
      }
    }
  }
}

TEST(DeviceBinding, InitDeviceBindsTheDisplayAndSetDefaultDeviceIsRefused) {
  ScriptedPlatform platform;
  IOpenGL device;
  DeviceDescription description{};
  description.displayId = 0x4271;
  unsigned long handle = 99;
  EXPECT_FALSE(device.SetDefaultDevice(description, handle));
  EXPECT_EQ(handle, 99u);
  EXPECT_TRUE(device.InitDevice(description, handle));
  EXPECT_EQ(handle, 0x4271u);
  EXPECT_EQ(device.displayId, 0x4271u);
}

TEST(ReleaseDevice, GivesBackTheDisplayAndDestroysTheCurrentContext) {
  const struct {
    const char* name;
    bool captured;
    bool contextCurrent;
  } cases[] = {
      {"nothing to release", false, false},
      {"captured display, no context", true, false},
      {"context, display free", false, true},
      {"both", true, true},
  };
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    int window = 0;
    void* context = c.contextCurrent ? platform.MakeCurrentContext(&window) : nullptr;
    IOpenGL device;
    DeviceDescription description{};
    description.displayId = 4;
    unsigned long handle = 0;
    device.InitDevice(description, handle);
    if (c.captured) platform.CaptureDisplay(4);
    platform.CaptureDisplay(6);
    EXPECT_TRUE(device.ReleaseDevice(handle)) << c.name;
    EXPECT_FALSE(platform.IsDisplayCaptured(4)) << c.name;
    EXPECT_TRUE(platform.IsDisplayCaptured(6)) << c.name << ": other displays stay taken";
    EXPECT_EQ(platform.CurrentContext(), nullptr) << c.name;
    EXPECT_FALSE(device.IsReady()) << c.name;
    if (context) {
      EXPECT_TRUE(platform.Made(context).destroyed) << c.name;
    }
  }
}

}  // namespace
}  // namespace Kelo
