#include "options.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Demo {
namespace {

const char kUsage[] =
    "usage: kelo-demo [options]\n"
    "  --plugins DIR              load libKeloOGL.so from DIR\n"
    "  --list                     list display devices and their modes, then exit\n"
    "  --headless                 render offscreen and write the frame to --out\n"
    "  --out FILE                 the PNG written when headless (default demo.png)\n"
    "  --frames N                 with a display, stop after N frames\n"
    "  --fullscreen WxHxBPP@HZ    ask for a full-screen mode, e.g. 1024x768x32@60\n"
    "  --display N                use display N of --list (default: the main one)\n"
    "Without a display (no DISPLAY or WAYLAND_DISPLAY) the demo runs headless.\n";

bool ParseMode(const char* text, Kelo::DisplayMode& mode) {
  unsigned width = 0, height = 0, bits = 0, rate = 0;
  char end = 0;
  if (std::sscanf(text, "%ux%ux%u@%u%c", &width, &height, &bits, &rate, &end) != 4) return false;
  mode = {width, height, bits, false, rate};
  return width && height && bits;
}

bool ParseCount(const char* text, int& count) {
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (*end || value < 1 || value > 1000000) return false;
  count = static_cast<int>(value);
  return true;
}

}  // namespace

std::optional<Options> ParseOptions(int argc, char** argv, bool& helped) {
  Options options;
  helped = false;
  for (int i = 1; i < argc; ++i) {
    const char* arg = argv[i];
    const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
    const bool takesValue = !std::strcmp(arg, "--plugins") || !std::strcmp(arg, "--out") ||
                            !std::strcmp(arg, "--frames") || !std::strcmp(arg, "--fullscreen") ||
                            !std::strcmp(arg, "--display");
    if (takesValue && !value) {
      std::fprintf(stderr, "kelo-demo: %s needs a value (try --help)\n", arg);
      return std::nullopt;
    }
    if (!std::strcmp(arg, "--help") || !std::strcmp(arg, "-h")) {
      std::fputs(kUsage, stdout);
      helped = true;
      return std::nullopt;
    } else if (!std::strcmp(arg, "--list")) {
      options.list = true;
    } else if (!std::strcmp(arg, "--headless")) {
      options.headless = true;
    } else if (!std::strcmp(arg, "--plugins")) {
      options.pluginsDir = argv[++i];
    } else if (!std::strcmp(arg, "--out")) {
      options.out = argv[++i];
    } else if (!std::strcmp(arg, "--frames")) {
      if (!ParseCount(argv[++i], options.frames)) {
        std::fprintf(stderr, "kelo-demo: --frames wants a count from 1, not \"%s\"\n", argv[i]);
        return std::nullopt;
      }
    } else if (!std::strcmp(arg, "--display")) {
      if (!ParseCount(argv[++i], options.display)) {
        std::fprintf(stderr, "kelo-demo: --display wants a number from 1, not \"%s\"\n", argv[i]);
        return std::nullopt;
      }
    } else if (!std::strcmp(arg, "--fullscreen")) {
      Kelo::DisplayMode mode{};
      if (!ParseMode(argv[++i], mode)) {
        std::fprintf(stderr, "kelo-demo: --fullscreen wants WxHxBPP@HZ, not \"%s\"\n", argv[i]);
        return std::nullopt;
      }
      options.fullScreen = mode;
    } else {
      std::fprintf(stderr, "kelo-demo: unknown option %s (try --help)\n", arg);
      return std::nullopt;
    }
  }
  return options;
}

}  // namespace Demo
