#include "tests/support/test_images.h"

#include <cstdlib>
#include <filesystem>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

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
  const unsigned char* data = pixels.data();
  if (kind == ImageKind::Png) stbi_write_png(file, width, height, channels, data, width * channels);
  if (kind == ImageKind::Bmp) stbi_write_bmp(file, width, height, channels, data);
  if (kind == ImageKind::Tga) stbi_write_tga(file, width, height, channels, data);
  if (kind == ImageKind::Jpg) stbi_write_jpg(file, width, height, channels, data, 95);
  return path;
}

std::vector<unsigned char> Gradient(int width, int height, int channels) {
  std::vector<unsigned char> pixels(static_cast<size_t>(width) * height * channels);
  for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i * 37 + 11);
  return pixels;
}

}  // namespace Kelo::Support
