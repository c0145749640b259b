// Feeds arbitrary bytes to the plug-in's image decoding, in both the file's
// own channel count and forced RGBA, as player-supplied files reach it.
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "kelo/log.h"
#include "textures/image_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Refusal lines would only slow the fuzzing down.
  Kelo::Log::SetSink([](const char*, void*) {}, nullptr);
  for (int channels : {0, 4}) {
    Kelo::DecodedImage image;
    Kelo::DecodeImage(data, size, channels, image);
  }
  return 0;
}
