#pragma once

#include <optional>
#include <string>

#include "kelo/types.h"

namespace Demo {

struct Options {
  std::string pluginsDir;  // empty: next to the executable
  std::string out = "demo.png";
  bool list = false;
  bool headless = false;
  int frames = 0;   // 0: until the window is closed
  int display = 0;  // 0: the main display
  std::optional<Kelo::DisplayMode> fullScreen;
};

// Reads the command line; on a mistake writes one line to stderr and returns
// nothing. `--help` prints the usage and returns nothing as well.
std::optional<Options> ParseOptions(int argc, char** argv, bool& helped);

}  // namespace Demo
