#include "textures/image_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <numeric>
#include <vector>

#include "tests/support/log_capture.h"
#include "textures/decoder_memory.h"
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

// A grey TGA of any claimed size and no pixels: the decoder reads zeros.
Bytes Tga(unsigned width, unsigned height) {
  return Cat({{0, 0, 3}, Bytes(9), Le32(width | height << 16), {8, 0}});
}

// A Photoshop file of its header to the pixel data's compression flag.
enum Layout { kPacked = 0, kRaw = 8, kRaw16 = 16 };
Bytes PsdHead(unsigned channels, uint32_t height, uint32_t width, Layout layout) {
  const Bytes size =
      Cat({Be16(channels), Be32(height), Be32(width), Be16(layout ? layout : 8), Be16(3)});
  const Bytes sections = Cat({Be32(0), Be32(4), Bytes(4, 0xFF), Be32(0)});
  return Cat({{'8', 'B', 'P', 'S', 0, 1}, Bytes(6), size, sections, Be16(layout == kPacked)});
}
// One pixel wide: `pixel` (red, green, blue, alpha) and twice opaque black,
// `pixel` first or last; raw 8-bit, raw 16-bit (low bytes 255) or PackBits.
Bytes Psd(Bytes pixel, Layout layout = kRaw, unsigned channels = 4, bool last = false) {
  Bytes psd = PsdHead(channels, 3, 1, layout);
  if (layout == kPacked) psd.resize(psd.size() + 6 * channels);  // the rows' lengths
  pixel.resize(channels);
  for (unsigned c = 0; c < channels; ++c) {
    const uint8_t k = c == 3 ? 255 : 0, p = pixel[c], first = last ? k : p, third = last ? p : k;
    const Bytes repeated = last ? Bytes{255, k, 128, 0, p} : Bytes{128, 0, p, 255, k};
    const Bytes packed[] = {repeated, {1, first, k, 0, third}, {2, first, k, third}};
    const Bytes raw[] = {{first, k, third}, {first, 255, k, 255, third, 255}};
    psd = Cat({psd, layout == kPacked ? packed[c % 3] : raw[layout / 16]});
  }
  return psd;
}
// Over the pixel cap, with a matte the decoder cannot remove in its first pixel.
Bytes PsdOverTheCap() {
  Bytes psd = Cat({PsdHead(4, 1, kMaxImagePixels + 1, kPacked), Bytes(8)});
  for (int channel = 0; channel < 3; ++channel) {
    for (int run = 0; run < kMaxImagePixels / 128; ++run) psd.insert(psd.end(), {129, 0});
    psd.insert(psd.end(), {0, 0});
  }
  return Cat({psd, {0, 1}});
}

// A 64 x 64 RGB PNG whose data chunks hold one byte each and whose last one
// claims `claim` bytes, of which the file holds the rest of its `size`.
Bytes PngClaiming(uint32_t claim, int oneByteChunks, size_t size) {
  const auto chunk = [](const char* type, uint32_t length, const Bytes& data) {
    return Cat({Be32(length), Bytes(type, type + 4), data, Be32(0)});
  };
  Bytes png = Cat({{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'},
                   chunk("IHDR", 13, Cat({Be32(64), Be32(64), {8, 2, 0, 0, 0}}))});
  for (int i = 0; i < oneByteChunks; ++i) png = Cat({png, chunk("IDAT", 1, {0x78})});
  png = Cat({png, Be32(claim), {'I', 'D', 'A', 'T'}});
  png.resize(size, 0x5A);
  return png;
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
  Bytes counts = {0, 0, 0, 0, 0, 0, 0, eightBit, 0, 0, 0, 0, 0, 0, 0, 0};
  return Table(0x10, (counts[bits - 1] = count, counts));
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

// JPEG rows: whether the file is safe; others: the height loaded, 0 if none,
// or which refusal the host is told of.
using Cases = std::vector<std::pair<Bytes, int>>;
enum Refusal { kHuffman = -1, kMatte = -2 };

TEST(JpegHuffmanTablesSafe, RefusesTablesTheDecoderWouldLeave) {
  // clang-format off
  const Cases cases = {
      // 256 codes, the last of 10 bits; 257 anywhere the decoder reads them, not elsewhere.
      {Jpeg({Dht({Codes(10, 1)})}), true}, {Jpeg({k257}), false},
      {Cat({{0xFF}, Jpeg({{0xFF}, k257})}), false}, {Jpeg({Dht({kDc0, Codes(16, 2)})}), false},
      {Jpeg({Segment(0xC4, Cat({kDc0, {16}})), Bytes(16, 17)}), false},
      {Jpeg({kBoth0, Sos({0}), {1, 255, 0, 255, 0xD0, 255, 0xD7}, k257}), false},
      {Jpeg({Segment(0xE1, k257)}), true}, {Cat({{0xD8, 0xD8}, k257}), true},
      // The 256th code of 9 bits, then 255 codes.
      {kShort256th, false}, {Jpeg({Dht({Codes(9, 1, 254)})}), true},
      // Scans after their tables, before them, without the DC or the AC one, cut short.
      {Jpeg({Dht({kDc1, Table(0x13, {1}), Table(0x11, {1})}), Sos({0x13, 0x11})}), true},
      {Jpeg({Sos({0}), kBoth0}), false}, {Jpeg({Dht({kDc1, kAc0}), Sos({0})}), false},
      {Jpeg({kBoth0, Sos({0x00, 0x01})}), false}, {Jpeg({kBoth0, {0xFF, 0xDA, 0, 8, 1, 1}}), true},
      // Progressive DC scans, DC refinement, AC scans.
      {Jpeg({Dht({kDc0}), Sos({0})}, 0xC2), true}, {Jpeg({Dht({kAc0}), Sos({0})}, 0xC2), false},
      {Jpeg({Sos({0}, 0, 1)}, 0xC2), true}, {Jpeg({Dht({kAc0}), Sos({0}, 1)}, 0xC2), true},
      {Jpeg({Dht({kDc0}), Sos({0}, 1)}, 0xC2), false}};
  // clang-format on
  for (size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(JpegHuffmanTablesSafe(cases[i].first.data(), cases[i].first.size()), cases[i].second)
        << i;
  }
}

// Files turned away for the decoder's sake, unlike files it cannot read, say
// why. Removing the matte needs colour + alpha >= 255.
TEST(DecodeImage, LoadsWholeImagesOfSensibleSizeOnly) {
  // clang-format off
  const Cases cases = {
      // Sizes: none, 0, 10^10 pixels, top-down, top-down too tall, the cap, one pixel more
      // (also as a PSD whose bad matte goes unmentioned), and a JPEG refused first.
      {{}, 0}, {Bmp(0, 16), 0}, {Bmp(100000, 100000), 0}, {Bmp(3, -2), 2}, {Bmp(20000, -20000), 0},
      {Tga(8192, 8192), 8192}, {Tga(41605, 1613), 0}, {PsdOverTheCap(), 0}, {kShort256th, kHuffman},
      // The pixel's colour and alpha decide; so does the layout, and where the pixel is.
      {Psd({254, 255, 255, 1}), 3}, {Psd({253, 255, 255, 1}), kMatte}, {Psd({255, 255, 1, 254}), 3},
      {Psd({255, 255, 0, 254}), kMatte}, {Psd({255, 255, 0, 0}), 3}, {Psd({0, 0, 0}, kRaw, 3), 3},
      {Psd({253, 255, 255, 1}, kRaw, 4, true), kMatte}, {Psd({255, 0, 255, 1}, kRaw16), kMatte},
      {Psd({255, 255, 254, 1}, kPacked), 3}, {Psd({255, 255, 253, 1}, kPacked), kMatte},
      {Psd({255, 255, 254, 1}, kPacked, 4, true), 3},
      {Psd({255, 255, 253, 1}, kPacked, 4, true), kMatte},
      {Psd({255, 255, 253, 1}, kPacked, 5), kMatte}};
  // clang-format on
  const std::string told[] = {
      "", "[kelo-opengl] refused a JPEG whose Huffman tables the decoder cannot use.\n",
      "[kelo-opengl] refused a Photoshop file whose matte the decoder cannot remove.\n"};
  for (size_t i = 0; i < cases.size(); ++i) {
    const auto& [bytes, want] = cases[i];
    Support::LogCapture log;
    DecodedImage image;
    EXPECT_EQ(DecodeImage(bytes.data(), bytes.size(), 0, image), want > 0) << i;
    EXPECT_EQ(image.height, std::max(want, 0)) << i;
    EXPECT_EQ(std::accumulate(log.Lines().begin(), log.Lines().end(), std::string()),
              told[std::max(-want, 0)])
        << i;
  }
  DecodedImage image;
  EXPECT_FALSE(DecodeImage(nullptr, 64, 0, image) || DecodeImageFile(nullptr, 0, image));
}

// The decoder grows a PNG's data buffer to what a chunk claims before it
// reads the chunk: such files end like any undecodable one, the decoder's
// memory going through the bound and staying within it.
TEST(DecodeImage, RefusesDataChunksLargerThanTheFileWithinTheBound) {
  const Bytes files[] = {
      // Three one-byte chunks, then 1,526,726,657 bytes claimed: the buffer doubles to 2 GiB.
      PngClaiming(1526726657, 3, 1307),
      // The first chunk claims the same, taken as it is.
      PngClaiming(1526726657, 0, 1307)};
  for (const Bytes& png : files) {
    Support::LogCapture log;
    DecodedImage image;
    TakeDecoderPeak();
    EXPECT_FALSE(DecodeImage(png.data(), png.size(), 0, image));
    const size_t peak = TakeDecoderPeak();
    EXPECT_GT(peak, 0u);
    EXPECT_LE(peak, kMaxDecoderRequest);
    EXPECT_TRUE(log.Lines().empty());
  }
}

// Requests in the decoder's order, the earlier ones held; only the last may
// be refused.
TEST(DecoderMemory, RefusesRequestsNoImageUnderTheCapMakes) {
  constexpr size_t kMiB = 1 << 20, kBlock = kMaxDecoderRequest;
  const std::vector<std::pair<std::vector<size_t>, bool>> cases = {
      {{kBlock}, true},
      {{kBlock + 1}, false},
      {{kBlock, kBlock, kBlock / 2 - kMiB}, true},
      {{kBlock, kBlock, kBlock / 2 + kMiB}, false}};
  for (size_t i = 0; i < cases.size(); ++i) {
    std::vector<void*> held;
    for (size_t size : cases[i].first) held.push_back(DecoderAllocate(size));
    EXPECT_EQ(held.back() != nullptr, cases[i].second) << i;
    EXPECT_EQ(std::count(held.begin(), held.end(), nullptr), !cases[i].second) << i;
    for (void* block : held) DecoderFree(block);
  }
}

// A grown block is held twice until realloc has copied it: beside a block of
// the largest size, one of half that size cannot grow to the largest size
// though the two would fit afterwards.
TEST(DecoderMemory, CountsAGrownBlockTwiceWhileItMoves) {
  constexpr size_t kMiB = 1 << 20, kBlock = kMaxDecoderRequest;
  void* first = DecoderAllocate(kBlock);
  void* second = DecoderAllocate(kBlock / 2 + kMiB);
  void* moved = DecoderReallocate(second, kBlock);
  EXPECT_EQ(moved, nullptr);
  if (moved) second = moved;
  void* grown = DecoderReallocate(second, kBlock / 2 + 2 * kMiB);
  EXPECT_NE(grown, nullptr);
  DecoderFree(grown ? grown : second);
  DecoderFree(first);
}

// Real files from other projects: none crashes, hangs or takes unbounded
// memory, and each loads or is refused as it always was: a refusal more
// means a check that turns away real files.
TEST(DecodeImage, HandlesRealWorldFiles) {
  const std::filesystem::path root = KELO_TEST_IMAGES;
  if (!std::filesystem::is_directory(root)) GTEST_SKIP() << "no test images at " << root;
  int loaded = 0, refused = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    DecodedImage image;
    if (!entry.is_regular_file()) continue;
    DecodeImageFile(entry.path().c_str(), 4, image) ? ++loaded : ++refused;
    EXPECT_LE(static_cast<long long>(image.width) * image.height, kMaxImagePixels);
  }
  EXPECT_EQ(std::make_pair(loaded, refused), std::make_pair(338, 75));
}

}  // namespace
}  // namespace Kelo
