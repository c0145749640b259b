// Feeds arbitrary bytes to the plug-in's image decoding, in both the file's
// own channel count and forced RGBA, as player-supplied files reach it.
#include <cstddef>
#include <cstdint>

#include "kelo/log.h"
#include "textures/image_file.h"

namespace {
void Ignore(const char*, void*) {}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Refusal lines would only slow the fuzzing down.
  Kelo::Log::SetSink(&Ignore, nullptr);
  Kelo::DecodedImage own;
  Kelo::DecodeImage(data, size, 0, own);
  Kelo::DecodedImage rgba;
  Kelo::DecodeImage(data, size, 4, rgba);
  return 0;
}
