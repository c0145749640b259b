#include "video/opengl_device.h"

namespace Kelo {

bool IOpenGL::EnumerateDevices(DEV_SUBCLASS, DeviceCallback, void*) { return false; }
bool IOpenGL::GetDefaultDevice(DEV_SUBCLASS, DeviceDescription&) { return false; }
bool IOpenGL::SetDefaultDevice(const DeviceDescription&, unsigned long&) { return false; }
bool IOpenGL::InitDevice(const DeviceDescription&, unsigned long&) { return false; }
bool IOpenGL::ReleaseDevice(unsigned long) { return false; }
bool IOpenGL::EnumerateDisplayModes(const DeviceDescription&, DisplayModeCallback, void*) {
  return false;
}

}  // namespace Kelo
