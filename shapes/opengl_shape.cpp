#include "shapes/opengl_shape.h"

#include <GL/gl.h>

#include <cmath>
#include <cstdlib>

#include "video/opacity.h"

namespace Kelo {
namespace {

// Stored strips take |t|: their unstored drawing mirrors t through the
// texture matrix instead, so both agree for t <= 0.
void PackTextured(TexturedVertex* out, SHAPE_TYPE type, unsigned long count, const Color* colours,
                  unsigned char opacity, const Point* points, const Point* texcoords) {
  for (unsigned long i = 0; i < count; ++i) {
    const float t = type == SHAPE_TRIANGLE_STRIP ? std::fabs(texcoords[i].y) : texcoords[i].y;
    out[i] = {texcoords[i].x, t,           colours[i].r, colours[i].g, colours[i].b,
              opacity,        points[i].x, points[i].y,  0.0f};
  }
}

void PackColoured(ColouredVertex* out, unsigned long count, const Color* colours,
                  unsigned char opacity, const Point* points) {
  for (unsigned long i = 0; i < count; ++i) {
    out[i] = {colours[i].r, colours[i].g, colours[i].b, opacity, points[i].x, points[i].y};
  }
}

}  // namespace

IOpenGLShape::IOpenGLShape() : block(nullptr), storage(0), format(0), mode(0), vertexCount(0) {}

IOpenGLShape::~IOpenGLShape() {}

bool IOpenGLShape::Init(SHAPE_TYPE type, unsigned long count, const Color* colours, float alpha,
                        const Point* points, const Point* texcoords) {
  const unsigned char opacity = OpacityByte(alpha);
  const size_t vertexSize = texcoords ? sizeof(TexturedVertex) : sizeof(ColouredVertex);
  void* scratch = std::malloc(count * vertexSize);
  if (!scratch) return false;
  if (texcoords) {
    PackTextured(static_cast<TexturedVertex*>(scratch), type, count, colours, opacity, points,
                 texcoords);
    format = GL_T2F_C4UB_V3F;
  } else {
    PackColoured(static_cast<ColouredVertex*>(scratch), count, colours, opacity, points);
    format = GL_C4UB_V2F;
  }
  storage = VRAMManager->identity;
  block = VRAMManager->Allocate(count * vertexSize);
  if (!block) {
    std::free(scratch);
    return false;
  }
  if (!VRAMManager->Copy(this, scratch)) {
    std::free(scratch);
    VRAMManager->Deallocate(block);
    block = nullptr;
    return false;
  }
  std::free(scratch);
  vertexCount = count;
  mode = KELOMODE_TO_GLMODE[type];
  return true;
}

void IOpenGLShape::Release() { VRAMManager->Deallocate(block); }

bool IOpenGLShape::InStorage() const { return VRAMManager && VRAMManager->identity == storage; }

}  // namespace Kelo
