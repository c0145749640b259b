#include "video/gl_errors.h"

namespace Kelo {

void DiscardGLErrors() {
  while (glGetError() != GL_NO_ERROR) {
  }
}

void RaiseGLError(GLenum error) {
  switch (error) {
    case GL_INVALID_ENUM:
      glEnable(GL_NONE);
      break;
    case GL_INVALID_VALUE:
      glLineWidth(-1.0f);
      break;
    case GL_INVALID_OPERATION:
      glEnd();  // outside glBegin
      break;
  }
}

}  // namespace Kelo
