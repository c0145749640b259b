#include <GL/gl.h>

#include <vector>

#include "shapes/interleaved_arrays.h"
#include "shapes/opengl_shape.h"
#include "shapes/storage_backends.h"
#include "video/gl_functions.h"

using Kelo::gl::BindBufferARB;

namespace {

// Binding costs more than asking, so bind only when another buffer is bound.
void BindIfOther(GLuint buffer) {
  GLint bound = 0;
  glGetIntegerv(GL_ARRAY_BUFFER_BINDING_ARB, &bound);
  if (static_cast<GLuint>(bound) != buffer) BindBufferARB(GL_ARRAY_BUFFER_ARB, buffer);
}

// A block larger than a buffer is only ever handed out alone at the start of
// a new buffer, so that buffer can be given room for it without losing data.
void GrowToHold(unsigned long end) {
  GLint size = 0;
  Kelo::gl::GetBufferParameterivARB(GL_ARRAY_BUFFER_ARB, GL_BUFFER_SIZE_ARB, &size);
  if (end > static_cast<unsigned long>(size)) {
    Kelo::gl::BufferDataARB(GL_ARRAY_BUFFER_ARB, static_cast<GLsizeiptrARB>(end), nullptr,
                            GL_DYNAMIC_DRAW_ARB);
  }
}

}  // namespace

bool vbo_init(unsigned long* names, unsigned long first, unsigned long count,
              unsigned long* bufferSize) {
  std::vector<GLuint> made(count);
  Kelo::gl::GenBuffersARB(static_cast<GLsizei>(count), made.data());
  *bufferSize = kVertexBufferSize;
  for (unsigned long i = 0; i < count; ++i) {
    names[first + i] = made[i];
    BindBufferARB(GL_ARRAY_BUFFER_ARB, made[i]);
    Kelo::gl::BufferDataARB(GL_ARRAY_BUFFER_ARB, static_cast<GLsizeiptrARB>(*bufferSize), nullptr,
                            GL_DYNAMIC_DRAW_ARB);
  }
  return true;
}

bool vbo_copy(const Kelo::IOpenGLShape* shape, const void* vertices) {
  const Kelo::OGLVRAM::HVRAM_Desc& block = shape->block->data;
  const GLuint buffer = static_cast<GLuint>(block.buffer);
  BindIfOther(buffer);
  if (block.offset + block.size > kVertexBufferSize) GrowToHold(block.offset + block.size);
  Kelo::gl::BufferSubDataARB(GL_ARRAY_BUFFER_ARB, static_cast<GLintptrARB>(block.offset),
                             static_cast<GLsizeiptrARB>(block.size), vertices);
  return Kelo::gl::IsBufferARB(buffer) == GL_TRUE;
}

// With a buffer bound, array pointers are read as offsets into it.
void vbo_render(const Kelo::IOpenGLShape* shape) {
  const Kelo::OGLVRAM::HVRAM_Desc& block = shape->block->data;
  const GLuint buffer = static_cast<GLuint>(block.buffer);
  BindIfOther(buffer);
  const GLint first = PointInterleavedArrays(shape->format, buffer, nullptr, block.offset);
  glDrawArrays(shape->mode, first, static_cast<GLsizei>(shape->vertexCount));
}

void vbo_release(unsigned long* names, unsigned long count) {
  ForgetInterleavedArrays();
  std::vector<GLuint> buffers(names, names + count);
  Kelo::gl::DeleteBuffersARB(static_cast<GLsizei>(count), buffers.data());
}
