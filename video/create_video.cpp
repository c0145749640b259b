#include "video/opengl_device.h"

extern "C" __attribute__((visibility("default"))) Kelo::IVideo* CreateVideo() {
  return new Kelo::IOpenGL();
}
