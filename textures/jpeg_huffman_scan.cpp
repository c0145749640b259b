#include "textures/jpeg_huffman_scan.h"

#include <bitset>

#include "textures/padded_bytes.h"

namespace Kelo {
namespace {

// The decoder's tables hold 256 codes. Its lookup of the codes of up to 9
// bits marks "no short code here" with the index 255, so a table whose 256th
// code is that short has it mistaken for a longer one (a failed assertion in
// debug builds).
constexpr unsigned kMaxCodes = 256;
constexpr unsigned kLookupBits = 9;

struct HuffmanState {
  // Indexed by a table's class and id byte: 0x00-0x03 DC, 0x10-0x13 AC. The
  // decoder stops at a table of any other class or id, so recording those
  // too changes nothing.
  std::bitset<256> defined;
  bool progressive = false;
};

// Checks the tables of one DHT segment and records them, reading as the
// decoder reads: table after table while the segment's length lasts.
bool ReadTables(PaddedBytes in, size_t at, long length, HuffmanState& state) {
  for (long left = length - 2; left > 0;) {
    unsigned codes = 0;
    unsigned shortCodes = 0;
    for (unsigned bits = 1; bits <= 16; ++bits) {
      codes += in[at + bits];
      if (bits <= kLookupBits) shortCodes += in[at + bits];
    }
    if (codes > kMaxCodes || shortCodes == kMaxCodes) return false;
    state.defined.set(in[at]);
    at += 17 + codes;
    left -= static_cast<long>(17 + codes);
  }
  return true;
}

// Whether a scan (the SOS segment's body at `at`) names only tables defined
// before it, among those it decodes with: a baseline scan uses both tables of
// each of its components; a progressive scan the DC one in a first DC pass,
// none in a DC refinement, the AC one in an AC pass.
bool ScanTablesDefined(PaddedBytes in, size_t at, const HuffmanState& state) {
  const unsigned components = in[at];
  const size_t after = at + 1 + 2 * components;
  const bool dcPass = in[after] == 0;
  const bool usesDc = dcPass && in[after + 2] >> 4 == 0;
  const bool usesAc = !state.progressive || !dcPass;
  for (unsigned i = 0; i < components; ++i) {
    const unsigned tables = in[at + 2 + 2 * i];
    if ((usesDc && !state.defined[tables >> 4]) ||
        (usesAc && !state.defined[0x10 | (tables & 15)])) {
      return false;
    }
  }
  return true;
}

// Segments are walked as the decoder walks them, entropy-coded data and all,
// so every table it would build and every scan it would decode is checked. A
// marker the decoder cannot take (a second start of image, 0x01) stops it, so
// how the walk reads on past one does not matter.
bool SegmentsSafe(PaddedBytes in) {
  HuffmanState state;
  for (size_t at = 0; at < in.size;) {
    const unsigned marker = in[at + 1];
    if (in[at] != 0xFF || marker == 0xFF) {
      ++at;  // coded data or a fill byte
    } else if (marker == 0x00 || (marker >= 0xD0 && marker <= 0xD8)) {
      at += 2;  // a stuffed zero, a restart or the start of the image
    } else if (marker == 0xD9) {
      break;
    } else {
      const long length = in.Be16(at + 2);
      if (marker == 0xC4 && !ReadTables(in, at + 4, length, state)) return false;
      if (marker == 0xDA && !ScanTablesDefined(in, at + 4, state)) return false;
      if (marker == 0xC2) state.progressive = true;
      at += 2 + length;
    }
  }
  return true;
}

// Like the decoder, takes the bytes for a JPEG when fill bytes (0xFF) lead
// to the start-of-image marker.
bool IsJpeg(PaddedBytes in) {
  size_t at = 0;
  while (in[at] == 0xFF) ++at;
  return at > 0 && in[at] == 0xD8;
}

}  // namespace

bool JpegHuffmanTablesSafe(const unsigned char* bytes, size_t size) {
  const PaddedBytes in{bytes, size};
  return !IsJpeg(in) || SegmentsSafe(in);
}

}  // namespace Kelo
