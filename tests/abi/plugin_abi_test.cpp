#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "kelo/video.h"

namespace Kelo {
namespace {

// Hosts call by virtual-table offset: a pointer to a virtual member holds 1 +
// that offset (Itanium C++ ABI), after the destructor's two slots.
template <typename F>
long Slot(F function) {
  long raw[2];
  std::memcpy(raw, &function, sizeof(raw));
  return (raw[0] - 1) / static_cast<long>(sizeof(void*)) - 2;
}

TEST(InterfaceTable, KeepsTheSlotOrderAndValuesHostsAreBuiltAgainst) {
  // clang-format off
  using S = ISystemDevice; using V = IVideo; using H = unsigned long&;
  const std::vector<long> slots{Slot(&S::Init), Slot(&S::IsReady), Slot(&S::Update),
      Slot(&S::Release), Slot(&S::EnumerateDevices), Slot(&S::GetDefaultDevice),
      Slot(&S::SetDefaultDevice), Slot(&S::InitDevice), Slot(&S::ReleaseDevice),
      Slot(&V::SetDisplayMode), Slot(&V::GetDisplayMode), Slot(&V::EnumerateDisplayModes),
      Slot(&V::BeginRender), Slot(&V::EndRender), Slot(&V::SetViewTransform),
      Slot(&V::SetWorldTransform), Slot(&V::SetViewport), Slot(&V::SetCamera), Slot(&V::Clear),
      Slot(&V::SetColor), Slot<bool (V::*)(H, SHAPE_TYPE, unsigned long, const Color&, float,
      const Point*, const Point*)>(&V::CreateShape), Slot<bool (V::*)(H, SHAPE_TYPE, unsigned long,
      const Color*, float, const Point*)>(&V::CreateShape), Slot(&V::ReleaseShape),
      Slot(&V::SelectShape), Slot<void (V::*)()>(&V::DrawShape), Slot<void (V::*)(SHAPE_TYPE,
      unsigned long, const Point*, const Point*)>(&V::DrawShape), Slot(&V::ClipShape),
      Slot(&V::BeginShapeBatch), Slot(&V::EndShapeBatch), Slot<bool (V::*)(H, IMAGE_FORMAT,
      const void*, unsigned, unsigned)>(&V::CreateTexture), Slot(&V::CreateFontTexture),
      Slot<bool (V::*)(H, const char*)>(&V::CreateTexture), Slot<bool (V::*)(H, const char*,
      const Color&)>(&V::CreateTexture), Slot(&V::ReleaseTexture), Slot(&V::GetWidthTexture),
      Slot(&V::GetHeightTexture), Slot(&V::BeginTextureBatch), Slot(&V::EndTextureBatch)};
  // clang-format on
  for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], long(i));
  EXPECT_EQ(
      (std::vector<int>{DEV_CLASS_VIDEO, DEV_SUBCLASS_NONE, DEV_SUBCLASS_DISPLAY, SHAPE_LINES,
                        SHAPE_LINE_STRIP, SHAPE_TRIANGLE_STRIP, SHAPE_TRIANGLES, IMAGE_UNKNOWN,
                        IMAGE_L8, IMAGE_A8, IMAGE_L8A8, IMAGE_RGB888, IMAGE_RGBA8888}),
      (std::vector<int>{3, 0, 1, 0, 1, 2, 3, 0, 1, 2, 3, 4, 5}));
}

}  // namespace
}  // namespace Kelo
