#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "kelo/colors.h"
#include "tests/support/enumerated.h"
#include "tests/support/log_capture.h"
#include "tests/support/scripted_platform.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

// The default colour and the 140 named ones, alphabetically, hold the CSS
// keyword values (checked once against X11's rgb.txt and the CSS differences
// from it); the digest of their bytes stands for that whole table.
TEST(NamedColors, HoldTheCssKeywordValues) {
  // clang-format off
  const Color colours[] = {
      Color{}, ALICEBLUE, ANTIQUEWHITE, AQUA, AQUAMARINE, AZURE, BEIGE, BISQUE, BLACK,
      BLANCHEDALMOND, BLUE, BLUEVIOLET, BROWN, BURLYWOOD, CADETBLUE, CHARTREUSE, CHOCOLATE, CORAL,
      CORNFLOWERBLUE, CORNSILK, CRIMSON, CYAN, DARKBLUE, DARKCYAN, DARKGOLDENROD, DARKGREEN,
      DARKGREY, DARKKHAKI, DARKMAGENTA, DARKOLIVEGREEN, DARKORANGE, DARKORCHID, DARKRED, DARKSALMON,
      DARKSEAGREEN, DARKSLATEBLUE, DARKSLATEGREY, DARKTURQUOISE, DARKVIOLET, DEEPPINK, DEEPSKYBLUE,
      DIMGREY, DODGERBLUE, FIREBRICK, FLORALWHITE, FORESTGREEN, FUCHSIA, GAINSBORO, GHOSTWHITE,
      GOLD, GOLDENROD, GOLDENRODYELLOW, GREEN, GREENYELLOW, GREY, HONEYDEW, HOTPINK, INDIANRED,
      INDIGO, IVORY, KHAKI, LAVENDER, LAVENDERBLUSH, LAWNGREEN, LEMONCHIFFON, LIGHTBLUE, LIGHTCORAL,
      LIGHTCYAN, LIGHTGREEN, LIGHTGREY, LIGHTPINK, LIGHTSALMON, LIGHTSEAGREEN, LIGHTSKYBLUE,
      LIGHTSLATEGREY, LIGHTSTEELBLUE, LIGHTYELLOW, LIME, LIMEGREEN, LINEN, MAGENTA, MAROON,
      MEDIUMAQUAMARINE, MEDIUMBLUE, MEDIUMORCHID, MEDIUMPURPLE, MEDIUMSEAGREEN, MEDIUMSLATEBLUE,
      MEDIUMSPRINGGREEN, MEDIUMTURQUOISE, MEDIUMVIOLETRED, MIDNIGHTBLUE, MINTCREAM, MISTYROSE,
      MOCCASIN, NAVAJOWHITE, NAVY, OLDLACE, OLIVE, OLIVEDRAB, ORANGE, ORANGERED, ORCHID,
      PALEGOLDENROD, PALEGREEN, PALETURQUOISE, PALEVIOLETRED, PAPAYAWHIP, PEACHPUFF, PERU, PINK,
      PLUM, POWDERBLUE, PURPLE, RED, ROSYBROWN, ROYALBLUE, SADDLEBROWN, SALMON, SANDYBROWN,
      SEAGREEN, SEASHELL, SIENNA, SILVER, SKYBLUE, SLATEBLUE, SLATEGREY, SNOW, SPRINGGREEN,
      STEELBLUE, TAN, TEAL, THISTLE, TOMATO, TURQUOISE, VIOLET, WHEAT, WHITE, WHITESMOKE, YELLOW,
      YELLOWGREEN};
  // clang-format on
  std::uint32_t digest = 2166136261u;
  for (const Color& c : colours) {
    for (unsigned char byte : {c.r, c.g, c.b}) digest = (digest ^ byte) * 16777619u;
  }
  EXPECT_EQ(digest, 0x7e205f7bu);
}

using Support::ScriptedPlatform;
const ModeValue kNone{}, kNaN{ModeValue::State::NotANumber, 0.0};
ModeValue V(double value) { return ModeValue::Of(value); }
std::vector<char> Model(std::size_t length, bool terminated = true) {
  std::vector<char> bytes(length + terminated, '\0');
  for (std::size_t i = 0; i < length; ++i) bytes[i] = static_cast<char>('a' + i % 26);
  return bytes;
}
// `letters` letters, NULs up to `set` bytes, then `fill` up to a record's 64.
std::string Name(std::size_t letters, std::size_t set, char fill) {
  std::string name(Model(letters).data());
  name.resize(set, '\0');
  name.resize(64, fill);
  return name;
}

// Enumeration copies at most 63 bytes of the model data into a cleared record;
// the default device copies up to 64 characters of text, the NUL when it
// fits, and leaves the rest of the host's record alone.
TEST(DeviceNames, AreTheModelCutToTheRecord) {
  // clang-format off
  const std::tuple<std::optional<std::vector<char>>, std::string, std::string> cases[] = {
      {Model(5), Name(5, 64, 0), Name(5, 6, 'x')}, {Model(63), Name(63, 64, 0), Name(63, 64, 'x')},
      {Model(20, false), Name(20, 64, 0), Name(20, 21, 'x')},
      {Model(64), Name(63, 64, 0), Name(64, 64, 'x')}, {Model(65), Name(63, 64, 0), Name(63, 64, 'x')},
      {std::nullopt, std::string("Unknown video").append(51, 0),
       std::string("Unknown Video").append(1, 0).append(50, 'x')}};
  // clang-format on
  for (const auto& [model, enumerated, byDefault] : cases) {
    ScriptedPlatform platform;
    platform.mainDisplay = 9;
    platform.displays = {{7, Model(3), {}}, {9, model, {}}};
    IOpenGL device;
    std::vector<DeviceDescription> found;
    ASSERT_TRUE(device.EnumerateDevices(DEV_SUBCLASS_NONE, Support::CollectInto, &found));
    ASSERT_EQ(found.size(), 2u);
    DeviceDescription out;
    std::memset(&out, 'x', sizeof out);
    EXPECT_TRUE(device.GetDefaultDevice(DEV_SUBCLASS_NONE, out));
    EXPECT_EQ(
        std::string(found[0].name, 64) + std::string(found[1].name, 64) + std::string(out.name, 64),
        Name(3, 64, 0) + enumerated + byDefault);
    for (const DeviceDescription& d : {found[0], found[1], out})
      EXPECT_TRUE(d.deviceClass == DEV_CLASS_VIDEO && d.subClass == DEV_SUBCLASS_DISPLAY);
    EXPECT_EQ(std::vector<unsigned>({found[0].displayId, found[1].displayId, out.displayId}),
              std::vector<unsigned>({7, 9, 9}));
  }
  ScriptedPlatform platform;  // no display, then a list it cannot read
  std::vector<DeviceDescription> found;
  EXPECT_FALSE(IOpenGL().EnumerateDevices(DEV_SUBCLASS_DISPLAY, Support::CollectInto, &found));
  platform.displays = {{1, Model(3), {}}};
  platform.displayListReadable = false;
  EXPECT_FALSE(IOpenGL().EnumerateDevices(DEV_SUBCLASS_DISPLAY, Support::CollectInto, &found));
  EXPECT_TRUE(found.empty());
}

ListedMode Listed(ModeValue w, ModeValue bits, ModeValue rate, bool usable = true,
                  ModeValue stretched = kNone) {
  return {{w, V(48), bits, rate}, usable, stretched};
}

// Only usable, unstretched modes of more than 8 bits with a size are offered,
// in the platform's order, duplicates included, as full-screen modes with the
// rate in whole hertz (60 for none), and only those of the display asked.
TEST(EnumerateDisplayModes, OffersEachUsableModeOfMoreThan8Bits) {
  const ModeValue w = V(64), b = V(16), r = V(60);
  const std::optional<DisplayMode> none, m{{64, 48, 16, false, 60}};
  // clang-format off
  const std::vector<std::pair<ListedMode, std::optional<DisplayMode>>> cases = {
      {Listed(w, b, r), m}, {Listed(w, V(8), r), none}, {Listed(w, V(9), r), {{64, 48, 9, false, 60}}},
      {Listed(w, b, r, false), none}, {Listed(w, b, r, true, V(1)), none},
      {Listed(w, b, r, true, V(0)), m}, {Listed(w, kNone, r), none}, {Listed(kNone, b, r), none},
      {Listed(kNaN, b, r), none}, {Listed(w, b, V(59.94)), {{64, 48, 16, false, 59}}},
      {Listed(w, b, V(0)), m}, {Listed(w, b, V(-5)), m}, {Listed(w, b, V(std::nan(""))), m},
      {Listed(w, b, kNone), m}};
  // clang-format on
  ScriptedPlatform platform;
  platform.displays = {{1, {}, std::vector<ListedMode>{Listed(w, V(9), r)}},
                       {2, {}, std::vector<ListedMode>{}},
                       {4, {}, std::nullopt}};
  std::vector<DisplayMode> expected;
  for (const auto& [mode, offered] : cases) {
    platform.displays[1].modes->push_back(mode);
    if (offered) expected.push_back(*offered);
  }
  for (unsigned display : {2, 3, 4}) {
    Support::LogCapture log;
    DeviceDescription description{};
    description.displayId = display;
    std::vector<DisplayMode> modes;
    const bool listed = IOpenGL().EnumerateDisplayModes(description, Support::CollectInto, &modes);
    EXPECT_EQ(listed, display == 2);
    EXPECT_EQ(modes, listed ? expected : std::vector<DisplayMode>{});
    EXPECT_EQ(log.Lines(), std::vector<std::string>(
                               !listed, "[kelo-agl] failed to detect available display modes.\n"));
  }
}

// Init reads width, height and depth in that order and stops at the first it
// cannot read; the refresh rate is optional and 0 Hz reads as 60. The mode
// after Init is windowed when Init succeeds.
TEST(DeviceInit, ReadsTheDesktopModeKeyByKey) {
  const ModeValue w = V(1280), h = V(800), b = V(32);
  const DisplayMode kept{7, 7, 7, false, 7};
  // clang-format off
  const std::pair<std::optional<ModeRecord>, DisplayMode> cases[] = {
      {ModeRecord{w, h, b, V(59.94)}, {1280, 800, 32, true, 59}},
      {ModeRecord{w, h, b, V(0)}, {1280, 800, 32, true, 60}},
      {ModeRecord{w, h, b, kNaN}, {1280, 800, 32, true, 60}},
      {ModeRecord{w, h, b, kNone}, {1280, 800, 32, true, 7}}, {std::nullopt, kept},
      {ModeRecord{kNone, h, b, {}}, kept}, {ModeRecord{w, kNaN, b, {}}, {1280, 7, 7, false, 7}},
      {ModeRecord{w, h, kNone, {}}, {1280, 800, 7, false, 7}}};
  // clang-format on
  for (const auto& [desktop, expected] : cases) {
    ScriptedPlatform platform;
    platform.desktop = desktop;
    IOpenGL device;
    device.currentMode = kept;
    EXPECT_EQ(device.Init(), expected.windowed) << expected;
    DisplayMode mode{};
    EXPECT_TRUE(device.GetDisplayMode(mode) && mode == expected) << mode;
    EXPECT_EQ(device.desktopMode, expected.windowed ? expected : DisplayMode{});
  }
}

// InitDevice binds the display the host picked; EndRender presents whatever
// context is current; ReleaseDevice gives that display back and leaves the
// host's context current.
TEST(DeviceLifecycle, ReleaseDeviceGivesBackItsDisplay) {
  for (bool taken : {false, true}) {
    ScriptedPlatform platform;
    int window = 0;
    void* context = taken ? platform.MakeHostContextCurrent(&window) : nullptr;
    IOpenGL device;
    DeviceDescription description{};
    description.displayId = 4;
    unsigned long handle = 99;
    EXPECT_FALSE(device.SetDefaultDevice(description, handle));
    EXPECT_TRUE(handle == 99 && device.InitDevice(description, handle) && handle == 4);
    device.EndRender();
    EXPECT_EQ(platform.swaps, std::vector<void*>{context});
    platform.CaptureDisplay(taken ? 4 : 5);
    platform.CaptureDisplay(6);
    EXPECT_TRUE(device.ReleaseDevice(handle) && !platform.IsDisplayCaptured(4) &&
                platform.IsDisplayCaptured(6));
    EXPECT_TRUE(platform.CurrentContext() == context &&
                (!taken || !ScriptedPlatform::Made(context).destroyed));
  }
}

}  // namespace
}  // namespace Kelo
