#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <vector>

#include "kelo/video.h"

namespace Kelo {
namespace {

// A pointer to a virtual member function holds 1 + the slot's byte offset in
// the virtual table (Itanium C++ ABI); hosts call by that offset. Slots 0 and
// 1 hold the two forms of the virtual destructor.
template <typename F>
long Slot(F function) {
  long raw[2];
  static_assert(sizeof(function) == sizeof(raw));
  std::memcpy(raw, &function, sizeof(raw));
  return (raw[0] - 1) / static_cast<long>(sizeof(void*)) - 2;
}

// Hosts are built against the order of the operations and the enum values.
TEST(InterfaceTable, KeepsTheSlotOrderAndValuesHostsAreBuiltAgainst) {
  using S = ISystemDevice;
  using V = IVideo;
  using Texels = const void*;
  // clang-format off
  const std::vector<long> slots{Slot(&S::Init), Slot(&S::IsReady), Slot(&S::Update),
      Slot(&S::Release), Slot(&S::EnumerateDevices), Slot(&S::GetDefaultDevice),
      Slot(&S::SetDefaultDevice), Slot(&S::InitDevice), Slot(&S::ReleaseDevice),
      Slot(&V::SetDisplayMode), Slot(&V::GetDisplayMode), Slot(&V::EnumerateDisplayModes),
      Slot(&V::BeginRender), Slot(&V::EndRender), Slot(&V::SetViewTransform),
      Slot(&V::SetWorldTransform), Slot(&V::SetViewport), Slot(&V::SetCamera), Slot(&V::Clear),
      Slot(&V::SetColor),
      Slot<bool (V::*)(unsigned long&, SHAPE_TYPE, unsigned long, const Color&, float, const Point*,
                       const Point*)>(&V::CreateShape),
      Slot<bool (V::*)(unsigned long&, SHAPE_TYPE, unsigned long, const Color*, float,
                       const Point*)>(&V::CreateShape),
      Slot(&V::ReleaseShape), Slot(&V::SelectShape), Slot<void (V::*)()>(&V::DrawShape),
      Slot<void (V::*)(SHAPE_TYPE, unsigned long, const Point*, const Point*)>(&V::DrawShape),
      Slot(&V::ClipShape), Slot(&V::BeginShapeBatch), Slot(&V::EndShapeBatch),
      Slot<bool (V::*)(unsigned long&, IMAGE_FORMAT, Texels, unsigned, unsigned)>(&V::CreateTexture),
      Slot(&V::CreateFontTexture), Slot<bool (V::*)(unsigned long&, const char*)>(&V::CreateTexture),
      Slot<bool (V::*)(unsigned long&, const char*, const Color&)>(&V::CreateTexture),
      Slot(&V::ReleaseTexture), Slot(&V::GetWidthTexture), Slot(&V::GetHeightTexture),
      Slot(&V::BeginTextureBatch), Slot(&V::EndTextureBatch)};
  // clang-format on
  std::vector<long> order(slots.size());
  std::iota(order.begin(), order.end(), 0);
  EXPECT_EQ(slots, order);
  EXPECT_EQ(
      (std::vector<int>{DEV_CLASS_VIDEO, DEV_SUBCLASS_NONE, DEV_SUBCLASS_DISPLAY, SHAPE_LINES,
                        SHAPE_LINE_STRIP, SHAPE_TRIANGLE_STRIP, SHAPE_TRIANGLES, IMAGE_UNKNOWN,
                        IMAGE_L8, IMAGE_A8, IMAGE_L8A8, IMAGE_RGB888, IMAGE_RGBA8888}),
      (std::vector<int>{3, 0, 1, 0, 1, 2, 3, 0, 1, 2, 3, 4, 5}));
}

}  // namespace
}  // namespace Kelo
