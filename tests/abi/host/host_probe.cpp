// A host as an engine build makes one: it is not linked to the host-framework
// library, loads the plug-in from its folder with dlopen and drives it through
// the interface alone. Built twice: once with a logger of its own, exported
// from the executable, which must receive the plug-in's lines; once without,
// when the framework's logger (found through the plug-in's run path) writes
// them to stderr.
#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "kelo/video.h"

#ifdef KELO_PROBE_OWN_LOGGER
namespace {
std::string logged;
}

namespace Kelo::Log {
__attribute__((visibility("default"))) void Output(const char* format, ...) {
  char line[512];
  va_list args;
  va_start(args, format);
  std::vsnprintf(line, sizeof line, format, args);
  va_end(args);
  logged += line;
}
}  // namespace Kelo::Log
#endif

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s PLUGIN\n", argv[0]);
    return 2;
  }
  void* plugin = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (!plugin) {
    std::fprintf(stderr, "cannot load the plug-in: %s\n", dlerror());
    return 1;
  }
  auto create = reinterpret_cast<CreateVideoFunction>(dlsym(plugin, "CreateVideo"));
  if (!create) {
    std::fprintf(stderr, "the plug-in exports no CreateVideo\n");
    return 1;
  }
  Kelo::IVideo* video = create();
  const Kelo::DisplayMode windowed{64, 64, 32, true, 60};
  // No window: the device refuses the mode and says so in the log.
  const bool accepted = video->SetDisplayMode(nullptr, windowed, false);
  delete video;
  if (accepted) {
    std::fprintf(stderr, "a windowed mode without a window was accepted\n");
    return 1;
  }
#ifdef KELO_PROBE_OWN_LOGGER
  if (logged != "[kelo-agl] invalid window handle.\n") {
    std::fprintf(stderr, "the host's own logger got \"%s\"\n", logged.c_str());
    return 1;
  }
#endif
  return 0;
}
