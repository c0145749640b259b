#include "textures/image_file.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <numeric>
#include <vector>

#include "tests/support/log_capture.h"
#include "tests/support/test_images.h"
#include "textures/jpeg_huffman_scan.h"

namespace Kelo {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}
Bytes Be16(unsigned v) { return {uint8_t(v >> 8), uint8_t(v)}; }
Bytes Be32(uint32_t v) { return Cat({Be16(v >> 16), Be16(v)}); }
Bytes Le32(uint32_t v) { return {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)}; }

// A 24-bit BMP of any claimed size with 64 zero bytes of pixels.
Bytes Bmp(int32_t width, int32_t height) {
  const Bytes info = Cat({Le32(40), Le32(width), Le32(height), {1, 0, 24, 0}});
  return Cat({{'B', 'M'}, Le32(118), Le32(0), Le32(54), info, Bytes(88)});
}

// A Photoshop image one pixel wide: `pixel` (red, green, blue, alpha), then
// twice opaque black; raw 8-bit, raw 16-bit (low bytes 255) or PackBits.
enum Layout { kPacked = 0, kRaw = 8, kRaw16 = 16 };
Bytes Psd(Bytes pixel, Layout layout = kRaw, unsigned channels = 4) {
  const Bytes size = Cat({Be16(channels), Be32(3), Be32(1), Be16(layout ? layout : 8), Be16(3)});
  const Bytes sections = Cat({Be32(0), Be32(4), Bytes(4, 0xFF), Be32(0)});
  Bytes psd = Cat({{'8', 'B', 'P', 'S', 0, 1}, Bytes(6), size, sections, Be16(layout == kPacked)});
  if (layout == kPacked) psd.resize(psd.size() + 6 * channels);  // the rows' lengths
  pixel.resize(channels);
  for (unsigned c = 0; c < channels; ++c) {
    const uint8_t black = c == 3 ? 255 : 0, p = pixel[c];
    const Bytes packed[] = {{128, 0, p, 255, black}, {1, p, black, 0, black}, {2, p, black, black}};
    const Bytes raw[] = {{p, black, black}, {p, 255, black, 255, black, 255}};
    psd = Cat({psd, layout == kPacked ? packed[c % 3] : raw[layout / 16]});
  }
  return psd;
}

Bytes Segment(uint8_t marker, const Bytes& body) {
  return Cat({{0xFF, marker}, Be16(unsigned(body.size()) + 2), body});
}
// A Huffman table of counts[i] codes of i + 1 bits, all for the symbol 1.
Bytes Table(uint8_t classAndId, Bytes counts) {
  counts.resize(16);
  return Cat({{classAndId}, counts, Bytes(std::accumulate(counts.begin(), counts.end(), 0u), 1)});
}
// AC table 0 of `eightBit` codes of 8 bits and `count` codes of `bits` bits.
Bytes Codes(unsigned bits, uint8_t count, uint8_t eightBit = 255) {
  Bytes counts(16);
  counts[7] = eightBit;
  counts[bits - 1] = count;
  return Table(0x10, counts);
}
Bytes Dht(std::initializer_list<Bytes> tables) { return Segment(0xC4, Cat(tables)); }
// A scan of one component for each byte of table ids (DC << 4 | AC).
Bytes Sos(Bytes tables, uint8_t spectralStart = 0, uint8_t approximationHigh = 0) {
  Bytes body = {uint8_t(tables.size())};
  for (uint8_t t : tables) body = Cat({body, {1, t}});
  return Segment(0xDA, Cat({body, {spectralStart, 63, uint8_t(approximationHigh << 4)}}));
}
// An 8 x 8 grey JPEG's start, baseline (0xC0) or progressive (0xC2).
Bytes Jpeg(std::initializer_list<Bytes> segments, uint8_t frame = 0xC0) {
  const Bytes header = Segment(frame, {8, 0, 8, 0, 8, 1, 1, 17, 1});
  return Cat({{0xFF, 0xD8}, Segment(0xDB, Bytes(65, 1)), header, Cat(segments)});
}
const Bytes kDc0 = Table(0x00, {1}), kAc0 = Table(0x10, {1}), kDc1 = Table(0x01, {1});
const Bytes kBoth0 = Dht({kDc0, kAc0}), k257 = Dht({Codes(16, 2)});
// The coded block leads the decoder to the 256th code, of 9 bits.
const Bytes kShort256th = Jpeg({Dht({kDc0, Codes(9, 1)}), Sos({0}), {0x7F, 0xC0, 0, 0, 255, 0xD9}});

// JPEG rows: whether the file is safe; others: the height loaded, 0 if none.
struct Case {
  const char* name;
  Bytes bytes;
  int want;
};

TEST(JpegHuffmanTablesSafe, RefusesTablesTheDecoderWouldLeave) {
  const Case cases[] = {
      {"256 codes, the last of 10 bits", Jpeg({Dht({Codes(10, 1)})}), true},
      {"257 codes", Jpeg({k257}), false},
      {"257 codes after fill bytes", Cat({{0xFF}, Jpeg({{0xFF}, k257})}), false},
      {"257 codes second in a segment", Jpeg({Dht({kDc0, Codes(16, 2)})}), false},
      {"257 codes past a segment's end", Jpeg({Segment(0xC4, Cat({kDc0, {16}})), Bytes(16, 17)}),
       false},
      {"257 codes after coded data",
       Jpeg({kBoth0, Sos({0}), {1, 255, 0, 255, 0xD0, 255, 0xD7}, k257}), false},
      {"257 codes inside another segment", Jpeg({Segment(0xE1, k257)}), true},
      {"257 codes in no JPEG", Cat({{0xD8, 0xD8}, k257}), true},
      {"256 codes, the last of 9 bits", kShort256th, false},
      {"255 codes, the last of 9 bits", Jpeg({Dht({Codes(9, 1, 254)})}), true},
      {"scan after its tables",
       Jpeg({Dht({kDc1, Table(0x13, {1}), Table(0x11, {1})}), Sos({0x13, 0x11})}), true},
      {"scan before them", Jpeg({Sos({0}), kBoth0}), false},
      {"scan without its DC table", Jpeg({Dht({kDc1, kAc0}), Sos({0})}), false},
      {"scan without its AC table", Jpeg({kBoth0, Sos({0x00, 0x01})}), false},
      {"scan cut short, naming tables 0", Jpeg({kBoth0, {0xFF, 0xDA, 0, 8, 1, 1}}), true},
      {"progressive DC scan with its DC table", Jpeg({Dht({kDc0}), Sos({0})}, 0xC2), true},
      {"progressive DC scan without it", Jpeg({Dht({kAc0}), Sos({0})}, 0xC2), false},
      {"DC refinement without tables", Jpeg({Sos({0}, 0, 1)}, 0xC2), true},
      {"AC scan with its AC table", Jpeg({Dht({kAc0}), Sos({0}, 1)}, 0xC2), true},
      {"AC scan without it", Jpeg({Dht({kDc0}), Sos({0}, 1)}, 0xC2), false},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(JpegHuffmanTablesSafe(c.bytes.data(), c.bytes.size()), c.want) << c.name;
  }
}

TEST(DecodeImage, LoadsWholeImagesOfSensibleSizeOnly) {
  const Case cases[] = {
      {"empty", {}, 0},
      {"zero width", Bmp(0, 16), 0},
      {"100000 x 100000 pixels", Bmp(100000, 100000), 0},
      {"top-down", Bmp(3, -2), 2},
      {"top-down, too many rows", Bmp(20000, -20000), 0},
      {"a JPEG whose 256th Huffman code has 9 bits", kShort256th, 0},
      // Removing the matte needs colour + alpha >= 255.
      {"red 254, alpha 1", Psd({254, 255, 255, 1}), 3},
      {"red 253, alpha 1", Psd({253, 255, 255, 1}), 0},
      {"blue 1, alpha 254", Psd({255, 255, 1, 254}), 3},
      {"blue 0, alpha 254", Psd({255, 255, 0, 254}), 0},
      {"blue 0, alpha 0", Psd({255, 255, 0, 0}), 3},
      {"16-bit green 0, alpha 1", Psd({255, 0, 255, 1}, kRaw16), 0},
      {"packed blue 254, alpha 1", Psd({255, 255, 254, 1}, kPacked), 3},
      {"packed blue 253, alpha 1", Psd({255, 255, 253, 1}, kPacked), 0},
      {"packed blue 253, alpha 1, five channels", Psd({255, 255, 253, 1}, kPacked, 5), 0},
      {"no alpha", Psd({0, 0, 0}, kRaw, 3), 3},
  };
  for (const auto& c : cases) {
    DecodedImage image;
    EXPECT_EQ(DecodeImage(c.bytes.data(), c.bytes.size(), 0, image), c.want != 0) << c.name;
    EXPECT_EQ(image.height, c.want) << c.name;
  }
  Support::TempFolder folder;
  DecodedImage image;
  EXPECT_FALSE(DecodeImageFile(nullptr, 0, image));
  EXPECT_FALSE(DecodeImageFile(folder.Path("").c_str(), 0, image)) << "a folder is no image";
}

// Files turned away for the decoder's sake, unlike files it cannot read, say
// why.
TEST(DecodeImage, SaysWhyItRefusesFilesThatWouldMisleadTheDecoder) {
  const std::pair<Bytes, const char*> cases[] = {
      {kShort256th, "[kelo-opengl] refused a JPEG whose Huffman tables the decoder cannot use.\n"},
      {Psd({253, 255, 255, 1}),
       "[kelo-opengl] refused a Photoshop file whose matte the decoder cannot remove.\n"},
      {Bmp(0, 16), nullptr},
  };
  for (const auto& [bytes, line] : cases) {
    Support::LogCapture log;
    DecodedImage image;
    EXPECT_FALSE(DecodeImage(bytes.data(), bytes.size(), 0, image));
    EXPECT_EQ(log.Lines(), line ? std::vector<std::string>{line} : std::vector<std::string>{});
  }
}

// Real files from other projects: none crashes, hangs or takes unbounded
// memory, and each loads or is refused as it always was: a refusal more
// means a check that turns away real files.
TEST(DecodeImage, HandlesRealWorldFiles) {
  const std::filesystem::path root = KELO_TEST_IMAGES;
  if (!std::filesystem::is_directory(root)) GTEST_SKIP() << "no test images at " << root;
  int loaded = 0;
  int refused = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    DecodedImage image;
    if (!entry.is_regular_file()) continue;
    DecodeImageFile(entry.path().c_str(), 4, image) ? ++loaded : ++refused;
    EXPECT_LE(static_cast<long long>(image.width) * image.height, kMaxImagePixels);
  }
  EXPECT_EQ(loaded, 338);
  EXPECT_EQ(refused, 75);
}

}  // namespace
}  // namespace Kelo
