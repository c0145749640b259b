#pragma once

#include <string>
#include <vector>

namespace Kelo::Support {

// A fresh folder under the system's temporary folder, removed with its files
// when the object goes.
class TempFolder {
public:
  TempFolder();
  ~TempFolder();
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
std::vector<unsigned char> Gradient(int width, int height, int channels);

}  // namespace Kelo::Support
