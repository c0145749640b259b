#pragma once

#include <string>

namespace Demo {

// Writes rows top-down, `channels` bytes a pixel, as a PNG file.
bool WritePng(const std::string& path, int width, int height, int channels,
              const unsigned char* pixels);

}  // namespace Demo
