// Writes the fuzzer's starting corpus: small images of every format and
// channel count the decoder reads, made as the texture tests make theirs.
#include <cstdio>

#include "tests/support/test_images.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
    return 2;
  }
  using Kelo::Support::ImageKind;
  const struct {
    const char* name;
    ImageKind kind;
    int channels;
  } seeds[] = {
      {"grey.png", ImageKind::Png, 1}, {"grey-alpha.png", ImageKind::Png, 2},
      {"rgb.png", ImageKind::Png, 3},  {"rgba.png", ImageKind::Png, 4},
      {"rgb.bmp", ImageKind::Bmp, 3},  {"rgba.bmp", ImageKind::Bmp, 4},
      {"rgb.tga", ImageKind::Tga, 3},  {"rgba.tga", ImageKind::Tga, 4},
      {"grey.jpg", ImageKind::Jpg, 1}, {"rgb.jpg", ImageKind::Jpg, 3},
  };
  for (const auto& seed : seeds) {
    Kelo::Support::WriteImageTo(argv[1], seed.name, seed.kind, 7, 5, seed.channels,
                                Kelo::Support::Gradient(7, 5, seed.channels));
  }
  return 0;
}
