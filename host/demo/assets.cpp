#include "assets.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "png_file.h"

namespace Demo {
namespace {

bool WriteTiles(const std::string& path) {
  constexpr int kSize = 64;
  std::vector<unsigned char> rgb(kSize * kSize * 3);
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      const bool dark = ((x / 16) + (y / 16)) % 2;
      const bool mortar = x % 16 == 0 || y % 16 == 0;
      unsigned char* p = &rgb[(y * kSize + x) * 3];
      p[0] = mortar ? 60 : dark ? 150 : 200;
      p[1] = mortar ? 50 : dark ? 90 : 140;
      p[2] = mortar ? 40 : dark ? 60 : 80;
    }
  }
  return WritePng(path, kSize, kSize, 3, rgb.data());
}

// A diamond shaded from gold to orange; everything else is the key colour.
bool WriteGem(const std::string& path) {
  constexpr int kSize = 32;
  std::vector<unsigned char> rgba(kSize * kSize * 4);
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      const int distance = std::abs(x - kSize / 2) + std::abs(y - kSize / 2);
      unsigned char* p = &rgba[(y * kSize + x) * 4];
      const bool inside = distance < kSize / 2 - 1;
      p[0] = 255;
      p[1] = inside ? static_cast<unsigned char>(215 - distance * 6) : 0;
      p[2] = inside ? static_cast<unsigned char>(distance * 4) : 255;
      p[3] = 255;
    }
  }
  return WritePng(path, kSize, kSize, 4, rgba.data());
}

}  // namespace

Assets::Assets() {
  std::string pattern = (std::filesystem::temp_directory_path() / "kelo-demo-XXXXXX").string();
  if (!mkdtemp(pattern.data())) return;
  folder = pattern;
  if (!WriteTiles(Tiles()) || !WriteGem(Gem())) {
    std::filesystem::remove_all(folder);
    folder.clear();
  }
}

Assets::~Assets() {
  std::error_code ignored;
  if (!folder.empty()) std::filesystem::remove_all(folder, ignored);
}

}  // namespace Demo
