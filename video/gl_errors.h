// Start-up raises errors of its own: drivers other than Apple's refuse its
// transform hint. Those are the device's; the host must find only its own.
#pragma once

#include <GL/gl.h>

namespace Kelo {

// Clears every error pending on the current context.
void DiscardGLErrors();
// Raises `error` again on the current context through a call that fails that
// way and changes nothing else. Nothing for GL_NO_ERROR, nor for the errors
// no such call raises (stack overflow and underflow, out of memory).
void RaiseGLError(GLenum error);

}  // namespace Kelo
