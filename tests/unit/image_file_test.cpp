#include "textures/image_file.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/test_images.h"

namespace Kelo {
namespace {

using Support::ImageKind;

std::vector<unsigned char> ReadAll(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// A 24-bit BMP header for any claimed size, followed by `pixelBytes` bytes.
std::vector<unsigned char> BmpHeader(int32_t width, int32_t height, size_t pixelBytes) {
  std::vector<unsigned char> bmp(54 + pixelBytes, 0);
  auto put32 = [&](size_t at, uint32_t v) { std::memcpy(&bmp[at], &v, 4); };
  bmp[0] = 'B';
  bmp[1] = 'M';
  put32(2, static_cast<uint32_t>(bmp.size()));
  put32(10, 54);
  put32(14, 40);
  put32(18, static_cast<uint32_t>(width));
  put32(22, static_cast<uint32_t>(height));
  bmp[26] = 1;
  bmp[28] = 24;
  return bmp;
}

// A JPEG start whose one Huffman table claims 320 codes, more than any table
// may hold.
std::vector<unsigned char> OverfullHuffmanTable() {
  std::vector<unsigned char> jpeg = {0xFF, 0xD8, 0xFF, 0xC4, 0x01, 0x53, 0x00};
  for (int i = 0; i < 16; ++i) jpeg.push_back(20);
  for (int i = 0; i < 320; ++i) jpeg.push_back(static_cast<unsigned char>(i));
  jpeg.insert(jpeg.end(), {0xFF, 0xD9});
  return jpeg;
}

// JPEG markers may be preceded by any number of 0xFF fill bytes.
std::vector<unsigned char> FillBytePrefixed(std::vector<unsigned char> jpeg) {
  jpeg.insert(jpeg.begin(), 0xFF);
  return jpeg;
}

TEST(DecodeImage, KeepsOrConvertsTheFilesChannels) {
  Support::TempFolder folder;
  const struct {
    const char* name;
    ImageKind kind;
    int channels;
  } files[] = {
      {"grey.png", ImageKind::Png, 1}, {"grey-alpha.png", ImageKind::Png, 2},
      {"rgb.png", ImageKind::Png, 3},  {"rgba.png", ImageKind::Png, 4},
      {"rgb.bmp", ImageKind::Bmp, 3},  {"rgba.tga", ImageKind::Tga, 4},
      {"rgb.jpg", ImageKind::Jpg, 3},
  };
  for (const auto& f : files) {
    const std::string path =
        WriteImage(folder, f.name, f.kind, 5, 3, f.channels, Support::Gradient(5, 3, f.channels));
    DecodedImage own;
    ASSERT_TRUE(DecodeImageFile(path.c_str(), 0, own)) << f.name;
    EXPECT_EQ(own.width, 5) << f.name;
    EXPECT_EQ(own.height, 3) << f.name;
    EXPECT_EQ(own.channels, f.channels) << f.name;
    DecodedImage rgba;
    ASSERT_TRUE(DecodeImageFile(path.c_str(), 4, rgba)) << f.name;
    EXPECT_EQ(rgba.channels, f.channels) << f.name << ": the file's own count is reported";
    if (f.kind != ImageKind::Jpg) {
      const auto source = Support::Gradient(5, 3, f.channels);
      EXPECT_EQ(own.pixels.get()[7], source[7]) << f.name;
    }
  }
}

TEST(DecodeImage, RefusesWhatIsNotAWholeImageOfSensibleSize) {
  Support::TempFolder folder;
  const std::string png =
      WriteImage(folder, "whole.png", ImageKind::Png, 16, 16, 3, Support::Gradient(16, 16, 3));
  std::vector<unsigned char> truncated = ReadAll(png);
  truncated.resize(truncated.size() / 2);
  std::vector<unsigned char> corrupt = ReadAll(png);
  for (size_t i = 40; i < corrupt.size(); i += 3) corrupt[i] ^= 0x5A;
  const std::vector<unsigned char> text = {'n', 'o', 't', ' ', 'a', 'n',
                                           ' ', 'i', 'm', 'a', 'g', 'e'};
  const struct {
    const char* name;
    std::vector<unsigned char> bytes;
  } cases[] = {
      {"truncated PNG", truncated},
      {"corrupt PNG", corrupt},
      {"text", text},
      {"a JPEG Huffman table of more than 256 codes", OverfullHuffmanTable()},
      {"the same after a fill byte", FillBytePrefixed(OverfullHuffmanTable())},
      {"empty", {}},
      {"zero width", BmpHeader(0, 16, 64)},
      {"a header claiming 100000 x 100000 pixels", BmpHeader(100000, 100000, 64)},
      {"a top-down header claiming too many rows", BmpHeader(20000, -20000, 64)},
  };
  for (const auto& c : cases) {
    DecodedImage image;
    EXPECT_FALSE(DecodeImage(c.bytes.data(), c.bytes.size(), 0, image)) << c.name;
  }
  DecodedImage image;
  EXPECT_FALSE(DecodeImageFile(folder.Path("missing.png").c_str(), 0, image));
  EXPECT_FALSE(DecodeImageFile(nullptr, 0, image));
  EXPECT_FALSE(DecodeImageFile(folder.Path("").c_str(), 0, image)) << "a folder is no image";
}

TEST(DecodeImage, TakesATopDownBitmapByItsRealHeight) {
  const std::vector<unsigned char> bmp = BmpHeader(3, -2, 2 * 12);
  DecodedImage image;
  ASSERT_TRUE(DecodeImage(bmp.data(), bmp.size(), 0, image));
  EXPECT_EQ(image.width, 3);
  EXPECT_EQ(image.height, 2);
}

bool StartsWith(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

// Files whose outcome differs from their name's promise, and why.
const char* const kDecodedDespiteBadChecksum[] = {"xhdn0g08.png", "xcsn0g01.png"};
const char* const kGoodButUnread[] = {"g_rgb24pal.bmp", "g_rgb16-565pal.bmp"};

bool Listed(const char* const (&list)[2], const std::string& name) {
  for (const char* listed : list) {
    if (name == listed) return true;
  }
  return false;
}

// Real files from other projects: the good ones load, the broken ones are
// refused, and none crashes, hangs or takes unbounded memory.
TEST(DecodeImage, HandlesRealWorldFiles) {
  const std::filesystem::path root = KELO_TEST_IMAGES;
  if (!std::filesystem::is_directory(root)) {
    GTEST_SKIP() << "no test images at " << root;
  }
  int loaded = 0;
  int refused = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file()) continue;
    const std::string folder = entry.path().parent_path().filename().string();
    const std::string name = entry.path().filename().string();
    DecodedImage image;
    const bool ok = DecodeImageFile(entry.path().c_str(), 4, image);
    ok ? ++loaded : ++refused;
    // The decoder does not verify PNG checksums; the pixels of those two
    // files are whole, so they load.
    if (folder == "pngsuite" && entry.path().extension() == ".png") {
      EXPECT_EQ(ok, !StartsWith(name, "x") || Listed(kDecodedDespiteBadChecksum, name))
          << entry.path();
    }
    // The decoder reads no run-length encoded bitmaps, nor palettes beside
    // 16- and 24-bit pixels; every other good bitmap loads.
    if (folder == "bmpsuite" && StartsWith(name, "g_") && name.find("rle") == std::string::npos) {
      EXPECT_EQ(ok, !Listed(kGoodButUnread, name)) << entry.path();
    }
    if (ok) {
      EXPECT_GT(image.width, 0);
      EXPECT_LE(static_cast<long long>(image.width) * image.height, kMaxImagePixels);
    }
  }
  EXPECT_GT(loaded, 250);
  EXPECT_GT(refused, 20);
}

}  // namespace
}  // namespace Kelo
