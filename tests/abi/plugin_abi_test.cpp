#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "kelo/video.h"

namespace Kelo {
namespace {

// A pointer to a virtual member function holds 1 + the slot's byte offset in
// the virtual table (Itanium C++ ABI); hosts call by that offset.
template <typename F>
std::ptrdiff_t Slot(F function) {
  std::ptrdiff_t raw[2];
  static_assert(sizeof(function) == sizeof(raw));
  std::memcpy(raw, &function, sizeof(raw));
  return (raw[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

using CreateShapeOne = bool (IVideo::*)(unsigned long&, SHAPE_TYPE, unsigned long, const Color&,
                                        float, const Point*, const Point*);
using CreateShapeEach = bool (IVideo::*)(unsigned long&, SHAPE_TYPE, unsigned long, const Color*,
                                         float, const Point*);
using DrawSelected = void (IVideo::*)();
using DrawUnstored = void (IVideo::*)(SHAPE_TYPE, unsigned long, const Point*, const Point*);
using CreateRaw = bool (IVideo::*)(unsigned long&, IMAGE_FORMAT, const void*, unsigned, unsigned);
using CreateFile = bool (IVideo::*)(unsigned long&, const char*);
using CreateKeyed = bool (IVideo::*)(unsigned long&, const char*, const Color&);

TEST(InterfaceTable, KeepsTheSlotOrderHostsCallBy) {
  // Slots 0 and 1 hold the two forms of the virtual destructor.
  // clang-format off
  const std::ptrdiff_t slots[] = {
      Slot(&ISystemDevice::Init), Slot(&ISystemDevice::IsReady), Slot(&ISystemDevice::Update),
      Slot(&ISystemDevice::Release), Slot(&ISystemDevice::EnumerateDevices),
      Slot(&ISystemDevice::GetDefaultDevice), Slot(&ISystemDevice::SetDefaultDevice),
      Slot(&ISystemDevice::InitDevice), Slot(&ISystemDevice::ReleaseDevice),
      Slot(&IVideo::SetDisplayMode), Slot(&IVideo::GetDisplayMode),
      Slot(&IVideo::EnumerateDisplayModes), Slot(&IVideo::BeginRender), Slot(&IVideo::EndRender),
      Slot(&IVideo::SetViewTransform), Slot(&IVideo::SetWorldTransform), Slot(&IVideo::SetViewport),
      Slot(&IVideo::SetCamera), Slot(&IVideo::Clear), Slot(&IVideo::SetColor),
      Slot(static_cast<CreateShapeOne>(&IVideo::CreateShape)),
      Slot(static_cast<CreateShapeEach>(&IVideo::CreateShape)), Slot(&IVideo::ReleaseShape),
      Slot(&IVideo::SelectShape), Slot(static_cast<DrawSelected>(&IVideo::DrawShape)),
      Slot(static_cast<DrawUnstored>(&IVideo::DrawShape)), Slot(&IVideo::ClipShape),
      Slot(&IVideo::BeginShapeBatch), Slot(&IVideo::EndShapeBatch),
      Slot(static_cast<CreateRaw>(&IVideo::CreateTexture)), Slot(&IVideo::CreateFontTexture),
      Slot(static_cast<CreateFile>(&IVideo::CreateTexture)),
      Slot(static_cast<CreateKeyed>(&IVideo::CreateTexture)), Slot(&IVideo::ReleaseTexture),
      Slot(&IVideo::GetWidthTexture), Slot(&IVideo::GetHeightTexture),
      Slot(&IVideo::BeginTextureBatch), Slot(&IVideo::EndTextureBatch),
  };
  // clang-format on

  for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(std::size(slots)); ++i) {
    EXPECT_EQ(slots[i], i + 2) << "operation " << i << " of the table";
  }
}

// Hosts are built against these values, so they are part of the table.
TEST(InterfaceValues, KeepTheirNumbers) {
  EXPECT_EQ(
      (std::vector<int>{DEV_CLASS_VIDEO, DEV_SUBCLASS_NONE, DEV_SUBCLASS_DISPLAY, SHAPE_LINES,
                        SHAPE_LINE_STRIP, SHAPE_TRIANGLE_STRIP, SHAPE_TRIANGLES, IMAGE_UNKNOWN,
                        IMAGE_L8, IMAGE_A8, IMAGE_L8A8, IMAGE_RGB888, IMAGE_RGBA8888}),
      (std::vector<int>{3, 0, 1, 0, 1, 2, 3, 0, 1, 2, 3, 4, 5}));
}

}  // namespace
}  // namespace Kelo
