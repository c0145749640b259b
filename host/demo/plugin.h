#pragma once

#include <string>

#include "kelo/video.h"

namespace Demo {

// The video plug-in, loaded from a plug-ins folder as the engine's host loads
// it. The device must be destroyed before the plug-in is unloaded.
class Plugin {
public:
  ~Plugin();
  // Loads libKeloOGL.so from `folder`; on failure `error` says why.
  bool Load(const std::string& folder, std::string& error);
  Kelo::IVideo* CreateVideo() const { return create(); }

private:
  void* library = nullptr;
  CreateVideoFunction create = nullptr;
};

// The plug-ins folder beside the running executable: ../plugins in the build
// tree, the library folder's kelo/plugins once installed.
std::string DefaultPluginsDir();

}  // namespace Demo
