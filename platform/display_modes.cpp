#include <vector>

#include "kelo/log.h"
#include "platform/platform.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

// A mode is offered when it suits the desktop, is not stretched, has more
// than 8 bits a pixel and a size; a stretched key that is not a number does
// not count as stretched.
bool ReadOfferedMode(const ListedMode& listed, DisplayMode& mode) {
  if (!listed.usableForDesktopGUI) return false;
  int stretched = 0;
  if (listed.stretched.ReadInt(stretched) && stretched != 0) return false;
  const ModeRecord& record = listed.keys;
  int bitsPerPixel = 0;
  if (!record.bitsPerPixel.ReadInt(bitsPerPixel) || static_cast<unsigned>(bitsPerPixel) <= 8) {
    return false;
  }
  int width = 0;
  int height = 0;
  if (!record.width.ReadInt(width) || !record.height.ReadInt(height)) return false;
  mode.width = static_cast<unsigned>(width);
  mode.height = static_cast<unsigned>(height);
  mode.bitsPerPixel = static_cast<unsigned>(bitsPerPixel);
  mode.windowed = false;
  mode.refreshRate = record.refreshRate.WholeHertz();
  return true;
}

}  // namespace

// Lists the modes of the display described, not of the device's own; they
// come in the platform's order, duplicates included.
bool IOpenGL::EnumerateDisplayModes(const DeviceDescription& device, DisplayModeCallback callback,
                                    void* user) {
  std::vector<ListedMode> listed;
  if (!CurrentPlatform().DisplayModes(device.displayId, listed)) {
    Log::Output("[kelo-agl] failed to detect available display modes.\n");
    return false;
  }
  for (const ListedMode& entry : listed) {
    DisplayMode mode;
    if (ReadOfferedMode(entry, mode)) callback(mode, user);
  }
  return true;
}

}  // namespace Kelo
