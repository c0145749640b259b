#include "video/opengl_device.h"

namespace Kelo {

bool IOpenGL::SetDisplayMode(void*, const DisplayMode&, bool) { return false; }

}  // namespace Kelo
