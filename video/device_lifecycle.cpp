#include <GL/gl.h>

#include "platform/platform.h"
#include "video/opengl_device.h"

namespace Kelo {

// currentMode and displayId stay unset until Init and InitDevice fill them.
IOpenGL::IOpenGL()
    : desktopMode(),
      currentShape(0),
      shaderFlags(),
      program(0),
      viewMatrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1},
      context(nullptr) {}

// Releases nothing: the host calls ReleaseDevice first. Only the device's
// window-event handlers go, since the platform would otherwise hand them a
// destroyed device on the window's next event.
IOpenGL::~IOpenGL() { CurrentPlatform().RemoveWindowEventHandlers(this); }

bool IOpenGL::Init() {
  Platform& platform = CurrentPlatform();
  ModeRecord mode;
  if (!platform.DesktopMode(platform.MainDisplay(), mode)) return false;
  int value = 0;
  if (!mode.width.ReadInt(value)) return false;
  currentMode.width = static_cast<unsigned>(value);
  if (!mode.height.ReadInt(value)) return false;
  currentMode.height = static_cast<unsigned>(value);
  if (!mode.bitsPerPixel.ReadInt(value)) return false;
  currentMode.bitsPerPixel = static_cast<unsigned>(value);
  // Without a rate the field keeps what it held, as the constructor leaves it.
  if (mode.refreshRate.state != ModeValue::State::Absent) {
    currentMode.refreshRate = mode.refreshRate.WholeHertz();
  }
  currentMode.windowed = true;
  desktopMode = currentMode;
  return true;
}

bool IOpenGL::IsReady() const { return CurrentPlatform().CurrentContext() != nullptr; }

bool IOpenGL::Update() { return true; }

bool IOpenGL::Release() { return true; }

void IOpenGL::BeginRender() {}

void IOpenGL::EndRender() {
  glFlush();
  Platform& platform = CurrentPlatform();
  platform.SwapBuffers(platform.CurrentContext());
}

bool IOpenGL::GetDisplayMode(DisplayMode& out) const {
  out = currentMode;
  return true;
}

}  // namespace Kelo
