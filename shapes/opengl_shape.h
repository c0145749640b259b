// A shape stored once and drawn many times: where its packed vertices lie in
// vertex storage and how OpenGL draws them.
#pragma once

#include "kelo/types.h"
#include "shapes/vram.h"

namespace Kelo {

class IOpenGLShape {
public:
  IOpenGLShape();
  ~IOpenGLShape();

  // Packs the vertices into the layout glInterleavedArrays reads and stores
  // them. `texcoords` may be null; the other arrays hold `count` elements.
  bool Init(SHAPE_TYPE type, unsigned long count, const Color* colours, float alpha,
            const Point* points, const Point* texcoords);
  // Gives the block back; only for shapes whose Init succeeded.
  void Release();
  // Whether the storage the shape was stored in is still the one in use: a
  // shape kept past ReleaseDevice, or past another device's, has lost it.
  bool InStorage() const;

  OGLVRAM::Node* block;
  unsigned long long storage;
  unsigned int format;
  unsigned int mode;
  unsigned long vertexCount;
};

// The two interleaved layouts, byte for byte.
struct TexturedVertex {
  float s, t;
  unsigned char r, g, b, a;
  float x, y, z;
};
struct ColouredVertex {
  unsigned char r, g, b, a;
  float x, y;
};
static_assert(sizeof(TexturedVertex) == 24 && sizeof(ColouredVertex) == 12);

}  // namespace Kelo
