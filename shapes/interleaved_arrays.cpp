#include "shapes/interleaved_arrays.h"

namespace {

struct Layout {
  std::uintptr_t stride;
  std::uintptr_t colourAt;
  std::uintptr_t vertexAt;
  bool textured;
};

Layout LayoutOf(GLenum format) {
  return format == GL_T2F_C4UB_V3F ? Layout{24, 8, 12, true} : Layout{12, 0, 4, false};
}

// Where this file last pointed the arrays: a buffer, and the offset into it.
// The host may point them elsewhere (an unstored draw does) or switch the
// context, so this is believed only while OpenGL still reports the same.
struct Pointed {
  GLenum format = 0;
  GLuint buffer = 0;
  const unsigned char* memory = nullptr;
  std::uintptr_t offset = 0;

  std::uintptr_t Base() const { return reinterpret_cast<std::uintptr_t>(memory) + offset; }
};
Pointed pointed;

std::uintptr_t ArrayPointer(GLenum which) {
  void* pointer = nullptr;
  glGetPointerv(which, &pointer);
  return reinterpret_cast<std::uintptr_t>(pointer);
}

// The same arrays on and off as glInterleavedArrays leaves them.
bool EnabledAsInterleaved(bool textured) {
  return glIsEnabled(GL_VERTEX_ARRAY) && glIsEnabled(GL_COLOR_ARRAY) &&
         glIsEnabled(GL_TEXTURE_COORD_ARRAY) == textured && !glIsEnabled(GL_NORMAL_ARRAY) &&
         !glIsEnabled(GL_INDEX_ARRAY) && !glIsEnabled(GL_EDGE_FLAG_ARRAY);
}

// A deleted buffer's name can come back for a new buffer, so the buffer the
// vertex array reads is asked for, not just the one bound.
bool StillPointed(GLenum format, GLuint buffer) {
  if (pointed.format != format || pointed.buffer != buffer) return false;
  const Layout layout = LayoutOf(format);
  const std::uintptr_t base = pointed.Base();
  GLint vertexBuffer = 0;
  if (buffer) glGetIntegerv(GL_VERTEX_ARRAY_BUFFER_BINDING, &vertexBuffer);
  return static_cast<GLuint>(vertexBuffer) == buffer &&
         ArrayPointer(GL_VERTEX_ARRAY_POINTER) == base + layout.vertexAt &&
         ArrayPointer(GL_COLOR_ARRAY_POINTER) == base + layout.colourAt &&
         (!layout.textured || ArrayPointer(GL_TEXTURE_COORD_ARRAY_POINTER) == base) &&
         EnabledAsInterleaved(layout.textured);
}

}  // namespace

// Separate client-memory buffers can lie terabytes apart, which no index can
// span: a first index is only ever taken within the buffer pointed at.
GLint PointInterleavedArrays(GLenum format, GLuint buffer, const unsigned char* memory,
                             std::uintptr_t offset) {
  const std::uintptr_t stride = LayoutOf(format).stride;
  if (memory != pointed.memory || offset < pointed.offset ||
      (offset - pointed.offset) % stride != 0 || !StillPointed(format, buffer)) {
    pointed = {format, buffer, memory, offset};
    glInterleavedArrays(format, 0, reinterpret_cast<const void*>(pointed.Base()));
  }
  return static_cast<GLint>((offset - pointed.offset) / stride);
}

void ForgetInterleavedArrays() { pointed = {}; }
