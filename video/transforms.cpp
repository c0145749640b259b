#include <GL/gl.h>

#include "video/opengl_device.h"

namespace Kelo {
namespace {

// Places the 2 x 3 row-major matrix into OpenGL's 4 x 4 column-major array,
// leaving the other ten elements as they are.
void Widen(const Matrix& m, float e[16]) {
  e[0] = m.m[0];
  e[1] = m.m[3];
  e[4] = m.m[1];
  e[5] = m.m[4];
  e[12] = m.m[2];
  e[13] = m.m[5];
}

}  // namespace

// The view transform is recorded and never applied: hosts place the scene
// with the camera and the world transform.
void IOpenGL::SetViewTransform(const Matrix& m) { Widen(m, viewMatrix); }

void IOpenGL::SetWorldTransform(const Matrix& m) {
  glMatrixMode(GL_MODELVIEW);
  float e[16] = {};
  Widen(m, e);
  e[10] = 1.0f;
  e[15] = 1.0f;
  glLoadMatrixf(e);
}

bool IOpenGL::SetViewport(const Rect& r) {
  const int y = static_cast<int>(currentMode.height) - r.height - r.y;
  glViewport(r.x, y, r.width, r.height);
  glScissor(r.x, y, r.width, r.height);
  return true;
}

// Near 1 and far -1, the reverse of the usual order, make eye-space z equal
// normalised device z; start-up reverses the depth range to match.
void IOpenGL::SetCamera(float width, float height) {
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  const float hw = 0.5f * width;
  const float hh = 0.5f * height;
  glOrtho(-hw, hw, -hh, hh, 1.0, -1.0);
}

// Depth is never tested, so only colour and the clipping stencil are cleared.
void IOpenGL::Clear(const Color& c) {
  glClearColor(c.r / 255.0f, c.g / 255.0f, c.b / 255.0f, 1.0f);
  glClear(GL_COLOR_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
}

}  // namespace Kelo
