#include "shapes/vram.h"

#include <cstdint>
#include <cstdlib>

#include "kelo/log.h"
#include "shapes/storage_backends.h"
#include "video/capabilities.h"
#include "video/gl_loaders.h"

namespace Kelo {

OGLVRAM* VRAMManager = nullptr;

namespace {

// The name array grows one buffer at a time; on failure it stays as it was.
bool GrowNames(unsigned long*& buffers, unsigned long count) {
  void* grown = std::realloc(buffers, count * sizeof(unsigned long));
  if (!grown) return false;
  buffers = static_cast<unsigned long*>(grown);
  return true;
}

bool SameBuffer(const OGLVRAM::Node* a, const OGLVRAM::Node* b) {
  return a->data.buffer == b->data.buffer;
}

}  // namespace

OGLVRAM::OGLVRAM() : buffers(nullptr), bufferCount(0), bufferSize(0), identity(0) {}

OGLVRAM::~OGLVRAM() {}

bool OGLVRAM::Init() {
  static unsigned long long started = 0;
  identity = ++started;
  bufferCount = 1;
  if (!GrowNames(buffers, bufferCount)) return false;
  if (IsSupported("GL_ARB_vertex_buffer_object")) {
    Log::Output("[kelo-opengl] Will use [%s]\n", "GL_ARB_vertex_buffer_object");
    InitGL_ARB_VBO();
    init = vbo_init;
    copy = vbo_copy;
    render = vbo_render;
    release = vbo_release;
  } else {
    Log::Output("[kelo-opengl] Will use vertex arrays ");
    Log::Output(" with no storage optimization.\n");
    init = ram_init;
    copy = ram_copy;
    render = ram_render;
    release = ram_release;
  }
  if (!init(buffers, 0, bufferCount, &bufferSize)) return false;
  for (unsigned long i = 0; i < bufferCount; ++i)
    blocks.push_back({buffers[i], 0, bufferSize, true});
  return true;
}

// First fit in list order; the front of the free block is handed out. The
// remainder is taken as a signed 32-bit number, so the wrapped free block
// left behind an oversized block fits no request of realistic size.
OGLVRAM::Node* OGLVRAM::Allocate(unsigned long bytes) {
  if (bufferSize < bytes)
    Log::Output("[kelo-opengl] cannot allocate [%d] bytes.\n", static_cast<int>(bytes));
  Node* node = blocks.find_first([bytes](const FreeSpace& space) { return space.Fits(bytes); });
  if (!node) return AllocateInNewBuffer(bytes);
  const HVRAM_Desc found = node->data;
  const int32_t remainder = static_cast<int32_t>(static_cast<uint32_t>(found.size - bytes));
  if (remainder == 0) {
    blocks.set(node, {found.buffer, found.offset, found.size, false});
    return node;
  }
  node->data = {found.buffer, found.offset, bytes, false};
  blocks.split(node,
               {found.buffer, found.offset + bytes, static_cast<unsigned long>(remainder), true});
  return node;
}

// A request never spans buffers: when nothing fits, a new buffer starts with
// the block, followed by whatever is left of the buffer.
OGLVRAM::Node* OGLVRAM::AllocateInNewBuffer(unsigned long bytes) {
  ++bufferCount;
  if (!GrowNames(buffers, bufferCount)) return nullptr;
  if (!init(buffers, bufferCount - 1, 1, &bufferSize)) return nullptr;
  const unsigned long name = buffers[bufferCount - 1];
  blocks.push_back({name, 0, bytes, false});
  Node* block = blocks.tail;
  blocks.push_back({name, bytes, bufferSize - bytes, true});
  return block;
}

// Merges with free neighbours of the same buffer, keeping the node nearer the
// front; relies on the blocks of a buffer standing in offset order. The
// sentinel before the first block never counts as free.
void OGLVRAM::Deallocate(Node* block) {
  Node* before = block->prev != blocks.head ? block->prev : nullptr;
  Node* after = block->next;
  const HVRAM_Desc& b = block->data;
  if (before && before->data.free) {
    const HVRAM_Desc& a = before->data;
    if (after && after->data.free && SameBuffer(before, block) && SameBuffer(block, after)) {
      blocks.merge(before, after, {a.buffer, a.offset, a.size + b.size + after->data.size, a.free});
      return;
    }
    if (SameBuffer(before, block)) {
      blocks.merge(before, block, {a.buffer, a.offset, a.size + b.size, a.free});
      return;
    }
  }
  if (after && after->data.free && SameBuffer(block, after)) {
    blocks.merge(block, after, {b.buffer, b.offset, b.size + after->data.size, true});
    return;
  }
  blocks.set(block, {b.buffer, b.offset, b.size, true});
}

bool OGLVRAM::Copy(const IOpenGLShape* shape, const void* vertices) {
  return copy(shape, vertices);
}

void OGLVRAM::Render(const IOpenGLShape* shape) { render(shape); }

// The back-end and the buffer size stay as chosen.
bool OGLVRAM::Release() {
  release(buffers, bufferCount);
  std::free(buffers);
  buffers = nullptr;
  bufferCount = 0;
  blocks.clear();
  return true;
}

}  // namespace Kelo
