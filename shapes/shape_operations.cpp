#include "video/opengl_device.h"

namespace Kelo {

bool IOpenGL::CreateShape(unsigned long&, SHAPE_TYPE, unsigned long, const Color&, float,
                          const Point*, const Point*) {
  return false;
}
bool IOpenGL::CreateShape(unsigned long&, SHAPE_TYPE, unsigned long, const Color*, float,
                          const Point*) {
  return false;
}
bool IOpenGL::ReleaseShape(unsigned long) { return true; }
void IOpenGL::SelectShape(unsigned long handle) { currentShape = handle; }
void IOpenGL::DrawShape() {}
void IOpenGL::DrawShape(SHAPE_TYPE, unsigned long, const Point*, const Point*) {}
void IOpenGL::ClipShape() {}
void IOpenGL::BeginShapeBatch() {}
void IOpenGL::EndShapeBatch() {}

}  // namespace Kelo
