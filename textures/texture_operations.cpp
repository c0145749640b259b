#include "video/opengl_device.h"

namespace Kelo {

bool IOpenGL::CreateTexture(unsigned long&, IMAGE_FORMAT, const void*, unsigned, unsigned) {
  return false;
}
bool IOpenGL::CreateFontTexture(unsigned long&, IMAGE_FORMAT, const void*, unsigned, unsigned) {
  return false;
}
bool IOpenGL::CreateTexture(unsigned long&, const char*) { return false; }
bool IOpenGL::CreateTexture(unsigned long&, const char*, const Color&) { return false; }
bool IOpenGL::CreateTexture(unsigned long&, IMAGE_FORMAT, unsigned, unsigned) { return false; }
bool IOpenGL::ReleaseTexture(unsigned long) { return true; }
int IOpenGL::GetWidthTexture(unsigned long) const { return 0; }
int IOpenGL::GetHeightTexture(unsigned long) const { return 0; }
void IOpenGL::BeginTextureBatch(unsigned long) {}
void IOpenGL::EndTextureBatch() {}

}  // namespace Kelo
