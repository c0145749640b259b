// A host linked to nothing of ours loads the plug-in and drives it through the interface alone,
// with a logger of its own that must get the plug-in's lines, or with the framework's.
#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include "kelo/video.h"

#ifdef KELO_PROBE_OWN_LOGGER
static std::string logged;
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

static int Fail(const char* why) { return std::fprintf(stderr, "probe failed: %s\n", why), 1; }

int main(int, char** argv) {
  void* plugin = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  auto create = reinterpret_cast<CreateVideoFunction>(plugin ? dlsym(plugin, "CreateVideo") : 0);
  if (!create) return Fail(plugin ? "no CreateVideo" : dlerror());
  if (dlsym(plugin, "_ZN4Kelo7IOpenGL6InitGLEjj") || dlsym(plugin, "_ZN4Kelo16CurrentPlatformEv")) {
    return Fail("internal names are exported, so a host could bind to them");
  }
  Kelo::IVideo* video = create();
  const bool accepted = video->SetDisplayMode(nullptr, {64, 64, 32, true, 60}, false);
  delete video;
  if (accepted) return Fail("a windowed mode without a window was accepted");
#ifdef KELO_PROBE_OWN_LOGGER
  if (logged != "[kelo-agl] invalid window handle.\n")
    return Fail(("own logger got " + logged).c_str());
#endif
  return 0;
}
