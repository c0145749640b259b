// Writes the fuzzer's starting corpus: small images of every format and
// channel count the decoder reads, made as the texture tests make theirs,
// and files that once stopped the fuzzing.
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/test_images.h"

namespace {

// An 8 x 8 grey JPEG whose one block runs out of bits at the end marker just
// as a coefficient needs them: the decoder's bit count goes 8 below zero and
// its next refill shifts by 32, the shift the fuzzing lets pass.
std::vector<unsigned char> JpegOutOfBitsAtTheMarker() {
  std::vector<unsigned char> jpeg = {0xFF, 0xD8, 0xFF, 0xDB, 0, 67, 0};
  jpeg.insert(jpeg.end(), 64, 1);
  const unsigned char rest[] = {
      0xFF, 0xC0, 0, 11, 8, 0, 8, 0, 8, 1, 1, 0x11, 0,  // baseline frame, one component
      // DC: one code of 16 bits, for a 15-bit difference; AC: one of 2 bits, for 7 bits.
      0xFF, 0xC4, 0, 38, 0x00, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 15,  //
      0x10, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7,                      //
      0xFF, 0xDA, 0, 8, 1, 1, 0x00, 0, 63, 0,                                       // the scan
      0, 0, 0x7F, 0xFE,  // the DC code, its 15 bits, one bit left
      0xFF, 0xD9};
  jpeg.insert(jpeg.end(), std::begin(rest), std::end(rest));
  return jpeg;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  using Kelo::Support::ImageKind;
  const std::pair<ImageKind, int> seeds[] = {
      {ImageKind::Png, 1}, {ImageKind::Png, 2}, {ImageKind::Png, 3}, {ImageKind::Png, 4},
      {ImageKind::Bmp, 3}, {ImageKind::Bmp, 4}, {ImageKind::Tga, 3}, {ImageKind::Tga, 4},
      {ImageKind::Jpg, 1}, {ImageKind::Jpg, 3}};
  for (const auto& [kind, channels] : seeds) {
    const std::string name = std::to_string(static_cast<int>(kind)) + std::to_string(channels);
    Kelo::Support::WriteImageTo(argv[1], name, kind, 48, 32, channels,
                                Kelo::Support::Gradient(48, 32, channels));
  }
  const std::vector<unsigned char> jpeg = JpegOutOfBitsAtTheMarker();
  std::ofstream(std::string(argv[1]) + "/jpeg-out-of-bits-at-the-marker", std::ios::binary)
      .write(reinterpret_cast<const char*>(jpeg.data()), static_cast<std::streamsize>(jpeg.size()));
  return 0;
}
