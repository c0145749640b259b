#include <GL/gl.h>

#include <vector>

#include "shapes/opengl_shape.h"
#include "video/gl_functions.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

IOpenGLShape* ShapeOf(unsigned long handle) { return reinterpret_cast<IOpenGLShape*>(handle); }

// A shape whose storage is gone is drawn nowhere.
bool Drawable(unsigned long handle) { return handle && ShapeOf(handle)->InStorage(); }

// Shapes need the storage that the first SetDisplayMode starts, and a kind
// the primitive table knows. The storage lives in the share group of the
// device's context: with none current, or one of the host's, a buffer it
// grows would be made nowhere, or among the host's objects.
bool CanStore(const IOpenGL& device, SHAPE_TYPE type) {
  return VRAMManager && type <= SHAPE_TRIANGLES && device.OwnContextCurrent();
}

bool Store(unsigned long& handle, SHAPE_TYPE type, unsigned long count, const Color* colours,
           float alpha, const Point* points, const Point* texcoords) {
  IOpenGLShape* shape = new IOpenGLShape();
  if (!shape->Init(type, count, colours, alpha, points, texcoords)) {
    delete shape;
    return false;
  }
  handle = reinterpret_cast<unsigned long>(shape);
  return true;
}

// The host's own points must be read from its memory, not as offsets into a
// bound vertex buffer, and arrays a stored draw left enabled must not take
// part. Both are put back afterwards, so the state is as the draw leaves it.
class ClientArraysOnly {
public:
  explicit ClientArraysOnly(bool withTexcoords)
      : colours(glIsEnabled(GL_COLOR_ARRAY)),
        texcoords(!withTexcoords && glIsEnabled(GL_TEXTURE_COORD_ARRAY)) {
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING_ARB, &buffer);
    if (buffer && gl::BindBufferARB) gl::BindBufferARB(GL_ARRAY_BUFFER_ARB, 0);
    if (colours) glDisableClientState(GL_COLOR_ARRAY);
    if (texcoords) glDisableClientState(GL_TEXTURE_COORD_ARRAY);
  }
  ~ClientArraysOnly() {
    if (texcoords) glEnableClientState(GL_TEXTURE_COORD_ARRAY);
    if (colours) glEnableClientState(GL_COLOR_ARRAY);
    if (buffer && gl::BindBufferARB)
      gl::BindBufferARB(GL_ARRAY_BUFFER_ARB, static_cast<GLuint>(buffer));
  }
  ClientArraysOnly(const ClientArraysOnly&) = delete;
  ClientArraysOnly& operator=(const ClientArraysOnly&) = delete;

private:
  GLint buffer = 0;
  bool colours;
  bool texcoords;
};

// Rotating by 180 degrees about z and mirroring x maps (s, t) to (s, -t),
// as storing |t| does for stored strips.
void DrawMirroredStrip(unsigned long count) {
  glPushMatrix();
  glRotatef(180.0f, 0.0f, 0.0f, 1.0f);
  glScalef(-1.0f, 1.0f, 1.0f);
  glDrawArrays(GL_TRIANGLE_STRIP, 0, static_cast<GLsizei>(count));
  glPopMatrix();
}

}  // namespace

bool IOpenGL::CreateShape(unsigned long& handle, SHAPE_TYPE type, unsigned long count,
                          const Color& colour, float alpha, const Point* points,
                          const Point* texcoords) {
  if (!CanStore(*this, type)) return false;
  const std::vector<Color> colours(count, colour);
  return Store(handle, type, count, colours.data(), alpha, points, texcoords);
}

bool IOpenGL::CreateShape(unsigned long& handle, SHAPE_TYPE type, unsigned long count,
                          const Color* colours, float alpha, const Point* points) {
  if (!CanStore(*this, type)) return false;
  return Store(handle, type, count, colours, alpha, points, nullptr);
}

// Released or foreign handles cannot be told apart without a table; 0 can.
// A shape whose storage is gone has no block to give back: the storage that
// replaced it may hold another shape's there.
bool IOpenGL::ReleaseShape(unsigned long handle) {
  IOpenGLShape* shape = ShapeOf(handle);
  if (shape && shape->InStorage()) shape->Release();
  delete shape;
  return true;
}

void IOpenGL::SelectShape(unsigned long handle) { currentShape = handle; }

void IOpenGL::DrawShape() {
  if (!Drawable(currentShape)) return;
  GLfloat colour[4];
  glGetFloatv(GL_CURRENT_COLOR, colour);
  HandOverColor(colour);
  VRAMManager->Render(ShapeOf(currentShape));
  TakeBackColor(colour);
}

// The points take the current colour; no colour path is involved. The matrix
// mode is left at GL_TEXTURE after a textured draw.
void IOpenGL::DrawShape(SHAPE_TYPE type, unsigned long count, const Point* points,
                        const Point* texcoords) {
  if (type > SHAPE_TRIANGLES) return;
  ClientArraysOnly clientArrays(texcoords != nullptr);
  glVertexPointer(2, GL_FLOAT, 0, points);
  if (!texcoords) {
    glEnableClientState(GL_VERTEX_ARRAY);
    glDrawArrays(KELOMODE_TO_GLMODE[type], 0, static_cast<GLsizei>(count));
    glDisableClientState(GL_VERTEX_ARRAY);
    return;
  }
  glTexCoordPointer(2, GL_FLOAT, 0, texcoords);
  glEnableClientState(GL_VERTEX_ARRAY);
  glEnableClientState(GL_TEXTURE_COORD_ARRAY);
  glMatrixMode(GL_TEXTURE);
  if (type == SHAPE_TRIANGLE_STRIP) {
    DrawMirroredStrip(count);
  } else {
    glDrawArrays(KELOMODE_TO_GLMODE[type], 0, static_cast<GLsizei>(count));
  }
  glDisableClientState(GL_VERTEX_ARRAY);
  glDisableClientState(GL_TEXTURE_COORD_ARRAY);
}

// The clip shape is drawn visibly too. Stencil values left by an earlier clip
// stay until Clear, or until a failing fragment zeroes them. Covered pixels
// are set to 1 rather than counted: with more than one stencil bit a pixel
// covered twice would hold 2 and fail the test on the low bit.
void IOpenGL::ClipShape() {
  if (!Drawable(currentShape)) return;
  glEnable(GL_STENCIL_TEST);
  glStencilFunc(GL_ALWAYS, 1, ~0u);
  glStencilOp(GL_ZERO, GL_ZERO, GL_REPLACE);
  DrawShape();
  glStencilFunc(GL_EQUAL, 1, 1);
  glStencilOp(GL_ZERO, GL_KEEP, GL_KEEP);
}

void IOpenGL::BeginShapeBatch() {
  glEnable(GL_BLEND);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
}

void IOpenGL::EndShapeBatch() {
  glDisable(GL_STENCIL_TEST);
  glDisable(GL_BLEND);
}

}  // namespace Kelo
