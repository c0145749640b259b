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

// `length` letters, with a terminating NUL when asked.
std::vector<char> Model(std::size_t length, bool terminated = true) {
  std::vector<char> bytes;
  for (std::size_t i = 0; i < length; ++i) bytes.push_back(static_cast<char>('a' + i % 26));
  if (terminated) bytes.push_back('\0');
  return bytes;
}

std::string Letters(std::size_t length) {
  const std::vector<char> bytes = Model(length, false);
  return {bytes.begin(), bytes.end()};
}

// Enumeration copies at most 63 bytes of the model data into a cleared record;
// the default device copies up to 64 characters of text into the host's record
// and leaves the bytes after the name's end alone.
TEST(DeviceNames, AreTheModelCutToTheRecord) {
  const struct {
    const char* name;
    std::optional<std::vector<char>> model;
    std::string enumerated;
    std::string byDefault;  // the bytes of the default device's name that are set
  } cases[] = {
      {"a short name", Model(5), Letters(5), Letters(5) + '\0'},
      {"data without a NUL", Model(20, false), Letters(20), Letters(20) + '\0'},
      {"63 letters", Model(63), Letters(63), Letters(63) + '\0'},
      {"64 letters", Model(64), Letters(63), Letters(64)},
      {"65 letters", Model(65), Letters(63), Letters(63) + '\0'},
      {"no model", std::nullopt, "Unknown video", std::string("Unknown Video") + '\0'},
  };
  for (const auto& c : cases) {
    ScriptedPlatform platform;
    platform.mainDisplay = 9;
    platform.displays = {{7, Model(3), {}}, {9, c.model, {}}};
    IOpenGL device;
    std::vector<DeviceDescription> found;
    ASSERT_TRUE(device.EnumerateDevices(DEV_SUBCLASS_NONE, Support::CollectInto<DeviceDescription>,
                                        &found));
    ASSERT_EQ(found.size(), 2u) << c.name;
    EXPECT_STREQ(found[0].name, "abc") << c.name;
    EXPECT_EQ(std::string(found[1].name, sizeof found[1].name),
              c.enumerated + std::string(64 - c.enumerated.size(), '\0'))
        << c.name;
    DeviceDescription out;
    std::memset(&out, 'x', sizeof out);
    EXPECT_TRUE(device.GetDefaultDevice(DEV_SUBCLASS_NONE, out));
    EXPECT_EQ(std::string(out.name, sizeof out.name),
              c.byDefault + std::string(64 - c.byDefault.size(), 'x'))
        << c.name;
    for (const DeviceDescription& d : {found[0], found[1], out}) {
      EXPECT_EQ(d.deviceClass, static_cast<unsigned>(DEV_CLASS_VIDEO));
      EXPECT_EQ(d.subClass, DEV_SUBCLASS_DISPLAY);
    }
    EXPECT_EQ(found[0].displayId, 7u);
    EXPECT_EQ(found[1].displayId, 9u);
    EXPECT_EQ(out.displayId, 9u);
  }
}

TEST(EnumerateDevices, FailsWithoutCallingBackWhenNoDisplayIsListed) {
  for (bool readable : {false, true}) {
    ScriptedPlatform platform;
    platform.displayListReadable = readable;
    if (!readable) platform.displays = {{1, Model(3), {}}};
    IOpenGL device;
    std::vector<DeviceDescription> found;
    EXPECT_FALSE(device.EnumerateDevices(DEV_SUBCLASS_DISPLAY,
                                         Support::CollectInto<DeviceDescription>, &found));
    EXPECT_TRUE(found.empty());
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

TEST(ReleaseDevice, GivesBackItsDisplayAndDestroysTheCurrentContext) {
  for (bool captured : {false, true}) {
    for (bool contextCurrent : {false, true}) {
      ScriptedPlatform platform;
      int window = 0;
      void* context = contextCurrent ? platform.MakeCurrentContext(&window) : nullptr;
      IOpenGL device;
      DeviceDescription description{};
      description.displayId = 4;
      unsigned long handle = 0;
      device.InitDevice(description, handle);
      if (captured) platform.CaptureDisplay(4);
      platform.CaptureDisplay(6);
      EXPECT_TRUE(device.ReleaseDevice(handle));
      EXPECT_FALSE(platform.IsDisplayCaptured(4));
      EXPECT_TRUE(platform.IsDisplayCaptured(6)) << "other displays stay taken";
      EXPECT_EQ(platform.CurrentContext(), nullptr);
      EXPECT_TRUE(!context || ScriptedPlatform::Made(context).destroyed);
    }
  }
}

}  // namespace
}  // namespace Kelo
