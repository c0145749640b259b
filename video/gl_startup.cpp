#include "video/opengl_device.h"

namespace Kelo {

void IOpenGL::InitGL(unsigned, unsigned) {}
void IOpenGL::ReleaseGL() {}

}  // namespace Kelo
