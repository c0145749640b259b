#include "video/opengl_device.h"

namespace Kelo {

void IOpenGL::InitGLPrograms() {}
void IOpenGL::SetColor(const Color&, float) {}

}  // namespace Kelo
