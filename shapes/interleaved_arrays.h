// Interleaved vertex arrays left pointed at one place for many draws, so
// that shapes lying a whole number of vertices further on in the same buffer
// are drawn with a first index instead of new pointers. On Mesa a
// re-specified pointer makes the next draw revalidate its vertex state, which
// costs more than the draw.
#pragma once

#include <GL/gl.h>

#include <cstdint>

// Makes the arrays of `format` (GL_C4UB_V2F or GL_T2F_C4UB_V3F) read the
// vertex `offset` bytes into one buffer of vertex storage and returns its
// index in them. The buffer is `buffer`, the buffer object bound to
// GL_ARRAY_BUFFER, with `memory` null; or, with `buffer` 0, client memory
// starting at `memory`. The arrays enabled and disabled are those
// glInterleavedArrays sets.
GLint PointInterleavedArrays(GLenum format, GLuint buffer, const unsigned char* memory,
                             std::uintptr_t offset);

// Forgets where the arrays were pointed, for when the buffers go away.
void ForgetInterleavedArrays();
