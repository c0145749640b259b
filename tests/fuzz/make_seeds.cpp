// Writes the fuzzer's starting corpus: small images of every format and
// channel count the decoder reads, made as the texture tests make theirs.
#include <string>

#include "tests/support/test_images.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  using Kelo::Support::ImageKind;
  const std::pair<ImageKind, int> seeds[] = {
      {ImageKind::Png, 1}, {ImageKind::Png, 2}, {ImageKind::Png, 3}, {ImageKind::Png, 4},
      {ImageKind::Bmp, 3}, {ImageKind::Bmp, 4}, {ImageKind::Tga, 3}, {ImageKind::Tga, 4},
      {ImageKind::Jpg, 1}, {ImageKind::Jpg, 3}};
  for (const auto& [kind, channels] : seeds) {
    const std::string name = std::to_string(static_cast<int>(kind)) + std::to_string(channels);
    Kelo::Support::WriteImageTo(argv[1], name, kind, 7, 5, channels,
                                Kelo::Support::Gradient(7, 5, channels));
  }
  return 0;
}
