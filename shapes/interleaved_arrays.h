// Interleaved vertex arrays left pointed at one place for many draws, so
// that shapes lying a whole number of vertices further on are drawn with a
// first index instead of new pointers. On Mesa a re-specified pointer makes
// the next draw revalidate its vertex state, which costs more than the draw.
#pragma once

#include <GL/gl.h>

#include <cstdint>

// Makes the arrays of `format` (GL_C4UB_V2F or GL_T2F_C4UB_V3F) read the
// vertex at `start` (an address, or an offset into `buffer`, the buffer
// object bound to GL_ARRAY_BUFFER, 0 for client memory) and returns its index
// in them. The arrays enabled and disabled are those glInterleavedArrays sets.
GLint PointInterleavedArrays(GLenum format, GLuint buffer, std::uintptr_t start);

// Forgets where the arrays were pointed, for when the buffers go away.
void ForgetInterleavedArrays();
