#include "textures/decoder_memory.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>

namespace Kelo {
namespace {

std::atomic<size_t> held{0};
std::atomic<size_t> peak{0};

void RaisePeak(size_t now) {
  size_t seen = peak.load();
  while (now > seen && !peak.compare_exchange_weak(seen, now)) {
  }
}

bool Take(size_t size) {
  if (size > kMaxDecoderRequest) return false;
  const size_t now = held.fetch_add(size) + size;
  if (now > kMaxDecoderHeld) {
    held.fetch_sub(size);
    return false;
  }
  RaisePeak(now);
  return true;
}

void Give(size_t size) { held.fetch_sub(size); }

// Blocks are counted as malloc hands them out, a few bytes over the request,
// since that is what a free gives back. Asking malloc rather than keeping a
// size before each block leaves the sanitizers' guard just before it.
void* Granted(void* block, size_t asked) {
  if (!block) {
    Give(asked);
    return nullptr;
  }
  held.fetch_add(malloc_usable_size(block) - asked);
  return block;
}

}  // namespace

void* DecoderAllocate(size_t size) {
  return Take(size) ? Granted(std::malloc(size), size) : nullptr;
}

// Until realloc has copied the old block, both are held.
void* DecoderReallocate(void* block, size_t size) {
  if (!block) return DecoderAllocate(size);
  const size_t old = malloc_usable_size(block);
  if (!Take(size)) return nullptr;
  void* moved = Granted(std::realloc(block, size), size);
  if (moved) Give(old);
  return moved;
}

void DecoderFree(void* block) {
  if (!block) return;
  Give(malloc_usable_size(block));
  std::free(block);
}

size_t TakeDecoderPeak() { return peak.exchange(held.load()); }

}  // namespace Kelo
