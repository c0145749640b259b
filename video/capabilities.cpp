#include "video/capabilities.h"

#include <GL/gl.h>

#include <cstdlib>
#include <cstring>

namespace Kelo {

bool ExtensionListed(const char* extensions, const char* name) {
  if (!name || !*name || !extensions || !*extensions) return false;
  return std::strstr(extensions, name) != nullptr;
}

bool VersionAtLeast(const char* version, float required) {
  return static_cast<float>(std::atof(version)) >= required;
}

bool IsSupported(const char* name) {
  if (!name || !*name) return false;
  return ExtensionListed(reinterpret_cast<const char*>(glGetString(GL_EXTENSIONS)), name);
}

bool IsVersionSupported(float version) {
  return VersionAtLeast(reinterpret_cast<const char*>(glGetString(GL_VERSION)), version);
}

}  // namespace Kelo
