#include "tests/support/test_images.h"

#include <cstdlib>
#include <filesystem>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-function"
#endif
#include <stb/stb_image_write.h>
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

namespace Kelo::Support {

TempFolder::TempFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "kelo-XXXXXX").string();
  path = mkdtemp(pattern.data()) ? pattern : std::string();
}

TempFolder::~TempFolder() {
  std::error_code ignored;
  if (!path.empty()) std::filesystem::remove_all(path, ignored);
}

std::string WriteImageTo(const std::string& folder, const std::string& name, ImageKind kind,
                         int width, int height, int channels,
                         const std::vector<unsigned char>& pixels) {
  const std::string path = folder + "/" + name;
  const char* file = path.c_str();
  switch (kind) {
    case ImageKind::Png:
      stbi_write_png(file, width, height, channels, pixels.data(), width * channels);
      break;
    case ImageKind::Bmp:
      stbi_write_bmp(file, width, height, channels, pixels.data());
      break;
    case ImageKind::Tga:
      stbi_write_tga(file, width, height, channels, pixels.data());
      break;
    case ImageKind::Jpg:
      stbi_write_jpg(file, width, height, channels, pixels.data(), 95);
      break;
  }
  return path;
}

std::vector<unsigned char> Gradient(int width, int height, int channels) {
  std::vector<unsigned char> pixels(static_cast<size_t>(width) * height * channels);
  for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i * 37 + 11);
  return pixels;
}

}  // namespace Kelo::Support
