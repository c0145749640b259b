#include <GL/gl.h>

#include <cstdlib>
#include <cstring>

#include "shapes/interleaved_arrays.h"
#include "shapes/opengl_shape.h"
#include "shapes/storage_backends.h"

void** RAM = nullptr;
unsigned long RAM_size = 0;

namespace {

unsigned char* Start(const Kelo::OGLVRAM::HVRAM_Desc& block) {
  return static_cast<unsigned char*>(RAM[block.buffer]) + block.offset;
}

}  // namespace

bool ram_init(unsigned long* names, unsigned long first, unsigned long count,
              unsigned long* bufferSize) {
  RAM_size += count;
  RAM = static_cast<void**>(std::realloc(RAM, RAM_size * sizeof(void*)));
  if (!RAM) return false;
  *bufferSize = kVertexBufferSize;
  for (unsigned long i = first; i < first + count; ++i) {
    names[i] = i;
    RAM[i] = std::malloc(*bufferSize);
    if (!RAM[i]) return false;
  }
  return true;
}

// Reports only whether the buffer exists, after the copy.
bool ram_copy(const Kelo::IOpenGLShape* shape, const void* vertices) {
  const Kelo::OGLVRAM::HVRAM_Desc& block = shape->block->data;
  const unsigned long end = block.offset + block.size;
  // A block larger than a buffer sits alone at the start of a new one, which
  // is given room for it.
  if (end > kVertexBufferSize) {
    void* grown = std::realloc(RAM[block.buffer], end);
    if (!grown) return false;
    RAM[block.buffer] = grown;
  }
  std::memcpy(Start(block), vertices, block.size);
  return RAM[block.buffer] != nullptr;
}

void ram_render(const Kelo::IOpenGLShape* shape) {
  const Kelo::OGLVRAM::HVRAM_Desc& block = shape->block->data;
  const GLint first = PointInterleavedArrays(
      shape->format, 0, static_cast<const unsigned char*>(RAM[block.buffer]), block.offset);
  glDrawArrays(shape->mode, first, static_cast<GLsizei>(shape->vertexCount));
}

void ram_release(unsigned long* names, unsigned long count) {
  ForgetInterleavedArrays();
  for (unsigned long k = 0; k < count; ++k) std::free(RAM[names[k]]);
  std::free(RAM);
  RAM = nullptr;
}
