#include <optional>

#include "platform/platform.h"
#include "video/gl_errors.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

// Moves that keep the size are ignored. The window's size now is used, not
// the event's, so an event sent while the size is changing sees the old one.
// SDL keeps the drawable in step with the window by itself. Start-up needs
// the device's own context current: after ReleaseDevice there is none, and a
// context the host or another device made is not this device's to set up.
void FollowWindowSize(IOpenGL& device, void* window, std::optional<unsigned> attributes) {
  if (!attributes || !(*attributes & kWindowBoundsChangeSizeChanged)) return;
  Platform& platform = CurrentPlatform();
  if (!device.OwnContextCurrent()) return;
  if (!window || !platform.IsValidWindow(window)) return;
  int width = 0;
  int height = 0;
  if (!platform.WindowContentSize(window, width, height)) return;
  // The host may have an error pending on this context. Mesa keeps only the
  // first error, so it is read before start-up and raised again afterwards.
  const GLenum hostError = glGetError();
  device.InitGL(static_cast<unsigned>(width), static_cast<unsigned>(height));
  DiscardGLErrors();
  RaiseGLError(hostError);
}

// The handler is never installed for this kind; the branch is kept for a
// platform that delivers it.
void DetachFromWindow(const IOpenGL& device) {
  if (!device.currentMode.windowed) return;
  if (device.context) CurrentPlatform().AttachToWindow(device.context, nullptr);
}

}  // namespace

int IOpenGL::windowEventHandler(const WindowEvent& event, void* userData) {
  IOpenGL& device = *static_cast<IOpenGL*>(userData);
  if (!event.window || event.kind < kEventWindowBoundsChanging) return kEventNotHandled;
  if (event.kind == kEventWindowBoundsChanging || event.kind == kEventWindowBoundsChanged) {
    FollowWindowSize(device, *event.window, event.attributes);
  } else if (event.kind == kEventWindowDetach) {
    DetachFromWindow(device);
  }
  return kEventNotHandled;
}

}  // namespace Kelo
