#include "png_file.h"

#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace Demo {

bool WritePng(const std::string& path, int width, int height, int channels,
              const unsigned char* pixels) {
  return stbi_write_png(path.c_str(), width, height, channels, pixels, width * channels) != 0;
}

}  // namespace Demo
