#include <algorithm>
#include <cstring>
#include <vector>

#include "platform/platform.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

constexpr std::size_t kNameSize = sizeof(DeviceDescription::name);

// At most 63 bytes of the model data. The record was cleared first, so the
// name stays terminated even when the data carries no NUL of its own.
void CopyModelData(const std::vector<char>& model, char* name) {
  std::memcpy(name, model.data(), std::min(model.size(), kNameSize - 1));
}

// Up to 64 characters are copied, the NUL with them when it fits. A text of
// exactly 64 characters would put its NUL on `displayId`, which is written
// right after; that NUL is left out so nothing is written past `name`.
void CopyModelText(const std::vector<char>& model, char* name) {
  const std::size_t length = strnlen(model.data(), model.size());
  if (length > kNameSize) {
    std::memcpy(name, model.data(), kNameSize - 1);
    name[kNameSize - 1] = '\0';
    return;
  }
  std::memcpy(name, model.data(), length);
  if (length < kNameSize) name[length] = '\0';
}

}  // namespace

bool IOpenGL::EnumerateDevices(DEV_SUBCLASS, DeviceCallback callback, void* user) {
  Platform& platform = CurrentPlatform();
  std::vector<unsigned> displays;
  if (!platform.ActiveDisplays(displays) || displays.empty()) return false;
  for (unsigned display : displays) {
    DeviceDescription description;
    std::memset(&description, 0, sizeof description);
    description.deviceClass = DEV_CLASS_VIDEO;
    description.subClass = DEV_SUBCLASS_DISPLAY;
    std::vector<char> model;
    if (platform.ModelName(display, model)) {
      CopyModelData(model, description.name);
    } else {
      std::strcpy(description.name, "Unknown video");
    }
    description.displayId = display;
    callback(description, user);
  }
  return true;
}

// Fills `out` field by field; what the name does not cover keeps its bytes.
bool IOpenGL::GetDefaultDevice(DEV_SUBCLASS, DeviceDescription& out) {
  Platform& platform = CurrentPlatform();
  out.deviceClass = DEV_CLASS_VIDEO;
  out.subClass = DEV_SUBCLASS_DISPLAY;
  std::vector<char> model;
  if (platform.ModelName(platform.MainDisplay(), model)) {
    CopyModelText(model, out.name);
  } else {
    std::strcpy(out.name, "Unknown Video");
  }
  out.displayId = platform.MainDisplay();
  return true;
}

bool IOpenGL::SetDefaultDevice(const DeviceDescription&, unsigned long&) { return false; }

// The display is taken on trust; SetDisplayMode finds out whether it exists.
bool IOpenGL::InitDevice(const DeviceDescription& device, unsigned long& handle) {
  displayId = device.displayId;
  handle = displayId;
  return true;
}

// Giving a display back does not give back its mode here: a device released
// in full screen first returns the display to the desktop and takes the
// window out of full screen. Window-event handlers stay.
// The program and the storage are released on the device's own context, made
// current even when its window is gone; without it nothing is current for
// them, so their deletes reach no context of the host's. What the host had
// current is current again afterwards.
bool IOpenGL::ReleaseDevice(unsigned long) {
  Platform& platform = CurrentPlatform();
  const Platform::Binding before = platform.CurrentBinding();
  if (!context || !platform.MakeCurrent(context)) platform.MakeCurrent(nullptr);
  ReleaseGL();
  textureGeneration = NextTextureGeneration();
  if (fullScreenWindow) LeaveFullScreen();
  platform.ReleaseDisplay(displayId);
  platform.MakeCurrent(nullptr);
  platform.DestroyContext(context);
  if (before.context && before.context != context) platform.RestoreBinding(before);
  context = nullptr;
  return true;
}

}  // namespace Kelo
