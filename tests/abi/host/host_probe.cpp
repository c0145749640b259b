// A host as an engine build makes one: linked to nothing of ours, it loads the
// plug-in with dlopen and drives it through the interface alone. Built twice:
// with a logger of its own, exported from the executable, which must receive
// the plug-in's lines; and without, when the framework's logger (found
// through the plug-in's run path) writes them to stderr.
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
  Kelo::IVideo* other = create();
  if (!video || video == other) return Fail("each call must make a new device");
  delete other;
  // The offscreen display reports no refresh rate; no context exists yet.
  Kelo::DisplayMode mode{};
  if (!video->Init() || video->IsReady() || !video->GetDisplayMode(mode) || !mode.windowed ||
      mode.width * mode.height == 0 || mode.refreshRate != 60) {
    return Fail("Init did not read the desktop");
  }
  video->BeginRender();
  video->EndRender();
  // No window: the device refuses the mode and says so in the log.
  const bool accepted = video->SetDisplayMode(nullptr, {64, 64, 32, true, 60}, false);
  delete video;
  if (accepted) return Fail("a windowed mode without a window was accepted");
#ifdef KELO_PROBE_OWN_LOGGER
  if (logged != "[kelo-agl] invalid window handle.\n") return Fail("own logger got " + logged);
#endif
  return 0;
}
