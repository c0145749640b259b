// Memory for the image decoder. A header that passes the pixel cap can still
// be followed by chunks, runs and tables that claim any size, and the decoder
// sizes its buffers from those claims. Every block it takes comes from here,
// so that no file, whatever its bytes, makes it ask for or hold more than the
// largest image under the cap needs. A refused block reads to the decoder as
// memory running out, so the file is refused like any it cannot read.
#pragma once

#include <cstddef>

#include "textures/image_file.h"

namespace Kelo {

// The largest image under the cap is 2^26 pixels of 16-bit RGBA, 512 MiB.
// The decoder's largest block for it is a PNG's inflated rows: those bytes
// and a filter byte a row, for at most 2^24 rows (its own limit on a side).
constexpr size_t kMaxDecoderRequest = kMaxImagePixels * 8 + (size_t{1} << 24);

// The most it holds at once is for that image interlaced: the inflated rows,
// the finished image and the pass being filled in, half the image at most;
// two and a half requests also cover the passes' own filter bytes. Any other
// format or conversion needs less: a progressive CMYK JPEG, the next, about
// 16 bytes a pixel; the PNG reader's copy of the compressed data, at most
// twice the file, is freed before the image is built. The file itself stays
// with the caller beside this.
constexpr size_t kMaxDecoderHeld = kMaxDecoderRequest * 5 / 2;

// malloc, realloc and free within those bounds: null for a block that would
// pass either of them. Blocks are counted for the whole process, whichever
// thread takes them.
void* DecoderAllocate(size_t size);
void* DecoderReallocate(void* block, size_t size);
void DecoderFree(void* block);

// The most the decoder has held at once since the last call; counting starts
// again from what it holds now.
size_t TakeDecoderPeak();

}  // namespace Kelo
