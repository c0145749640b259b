// The two vertex-storage back-ends, each four plain functions that the
// storage manager picks once at start-up. Buffers are found again by name:
// an OpenGL buffer object name, or an index into RAM.
#pragma once

namespace Kelo {
class IOpenGLShape;
}

// Every buffer a back-end makes holds this many bytes.
constexpr unsigned long kVertexBufferSize = 1048576;

bool vbo_init(unsigned long* names, unsigned long first, unsigned long count,
              unsigned long* bufferSize);
bool vbo_copy(const Kelo::IOpenGLShape* shape, const void* vertices);
void vbo_render(const Kelo::IOpenGLShape* shape);
void vbo_release(unsigned long* names, unsigned long count);

bool ram_init(unsigned long* names, unsigned long first, unsigned long count,
              unsigned long* bufferSize);
bool ram_copy(const Kelo::IOpenGLShape* shape, const void* vertices);
void ram_render(const Kelo::IOpenGLShape* shape);
void ram_release(unsigned long* names, unsigned long count);

// The client-memory buffers: RAM[name] starts buffer `name`. RAM_size counts
// the entries the table was grown to; release leaves it, so names made later
// go on from there.
extern void** RAM;
extern unsigned long RAM_size;
