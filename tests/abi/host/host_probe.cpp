// A host as an engine build makes one: linked to nothing of ours, it loads the
// plug-in with dlopen and drives it through the interface alone. Built with a
// logger of its own, exported, which must get the plug-in's lines, and without,
// when the framework's logger (found through the plug-in's run path) writes them.
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

namespace {

int Fail(const std::string& why) {
  std::fprintf(stderr, "probe failed: %s\n", why.c_str());
  return 1;
}

}  // namespace

int main(int, char** argv) {
  void* plugin = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (!plugin) return Fail(dlerror());
  auto create = reinterpret_cast<CreateVideoFunction>(dlsym(plugin, "CreateVideo"));
  if (!create) return Fail("no CreateVideo");
  // Internal names stay hidden, so that no host binds to them by accident.
  if (dlsym(plugin, "_ZN4Kelo7IOpenGL6InitGLEjj") || dlsym(plugin, "_ZN4Kelo16CurrentPlatformEv")) {
    return Fail("internal names are exported");
  }
  Kelo::IVideo* video = create();
  // No window: the device refuses the mode and says so in the log.
  const bool accepted = video->SetDisplayMode(nullptr, {64, 64, 32, true, 60}, false);
  delete video;
  if (accepted) return Fail("a windowed mode without a window was accepted");
#ifdef KELO_PROBE_OWN_LOGGER
  if (logged != "[kelo-agl] invalid window handle.\n") return Fail("own logger got " + logged);
#endif
  return 0;
}
