#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace Kelo::Support {

// A fresh folder under the system's temporary folder, removed with its files
// when the object goes.
class TempFolder {
public:
  TempFolder() : path((std::filesystem::temp_directory_path() / "kelo-XXXXXX").string()) {
    if (!mkdtemp(path.data())) path.clear();
  }
  ~TempFolder() {
    std::error_code ignored;
    if (!path.empty()) std::filesystem::remove_all(path, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  std::string Path(const std::string& name) const { return path + "/" + name; }

private:
  std::string path;
};

enum class ImageKind { Png, Bmp, Tga, Jpg };

// Writes `pixels` (rows top-down, `channels` bytes a pixel) as an image file
// in `folder`; returns its path.
std::string WriteImageTo(const std::string& folder, const std::string& name, ImageKind kind,
                         int width, int height, int channels,
                         const std::vector<unsigned char>& pixels);
inline std::string WriteImage(const TempFolder& folder, const std::string& name, ImageKind kind,
                              int width, int height, int channels,
                              const std::vector<unsigned char>& pixels) {
  return WriteImageTo(folder.Path(""), name, kind, width, height, channels, pixels);
}

// A width x height image whose every pixel differs from its neighbours.
inline std::vector<unsigned char> Gradient(int width, int height, int channels) {
  std::vector<unsigned char> pixels(static_cast<size_t>(width) * height * channels);
  for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i * 37 + 11);
  return pixels;
}

}  // namespace Kelo::Support
