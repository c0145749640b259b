// Feeds arbitrary bytes to the plug-in's image decoding, in both the file's
// own channel count and forced RGBA, as player-supplied files reach it.
#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "kelo/log.h"
#include "textures/decoder_memory.h"
#include "textures/image_file.h"

// Twice what the largest real test image takes. Larger images are legal but
// take seconds under the sanitizers; kept out of the corpus, they are tried
// once each instead of once for every variation of them.
constexpr size_t kSlowDecoding = 32 << 20;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Refusal lines would only slow the fuzzing down.
  Kelo::Log::SetSink([](const char*, void*) {}, nullptr);
  Kelo::TakeDecoderPeak();
  for (int channels : {0, 4}) {
    Kelo::DecodedImage image;
    Kelo::DecodeImage(data, size, channels, image);
  }
  return Kelo::TakeDecoderPeak() > kSlowDecoding ? -1 : 0;
}
