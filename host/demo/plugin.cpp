#include "plugin.h"

#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>

namespace Demo {

Plugin::~Plugin() {
  if (library) dlclose(library);
}

bool Plugin::Load(const std::string& folder, std::string& error) {
  const std::string path = folder + "/libKeloOGL.so";
  library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    error = "cannot load the video plug-in: " + std::string(dlerror());
    return false;
  }
  create = reinterpret_cast<CreateVideoFunction>(dlsym(library, "CreateVideo"));
  if (!create) {
    error = path + " is not a video plug-in: it exports no CreateVideo";
    return false;
  }
  return true;
}

std::string DefaultPluginsDir() {
  std::error_code failed;
  const std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", failed);
  const std::filesystem::path root = failed ? "." : exe.parent_path().parent_path();
  for (const char* candidate : {"plugins", KELO_INSTALLED_PLUGINS_DIR}) {
    if (std::filesystem::exists(root / candidate / "libKeloOGL.so")) return root / candidate;
  }
  return root / "plugins";
}

}  // namespace Demo
