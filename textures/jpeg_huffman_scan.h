// Debian's stb_image trusts a JPEG's Huffman tables: it builds tables of more
// codes than it has room for, and decodes with tables that no segment of the
// file defined (uninitialised memory, whose garbage indexes far outside the
// tables). Such files are corrupt, and are refused before the decoder sees
// them, stbi_info included: it builds the tables of the header too.
#pragma once

#include <cstddef>

namespace Kelo {

// False for a JPEG whose Huffman tables would take the decoder outside them;
// true for anything else, including what is no JPEG.
bool JpegHuffmanTablesSafe(const unsigned char* bytes, size_t size);

}  // namespace Kelo
