#include "tests/support/test_images.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

std::string Kelo::Support::WriteImageTo(const std::string& folder, const std::string& name,
                                        ImageKind kind, int width, int height, int channels,
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
