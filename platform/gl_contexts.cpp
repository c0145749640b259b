#include "kelo/log.h"
#include "platform/platform.h"
#include "video/opengl_device.h"

namespace Kelo {
namespace {

constexpr int kDrawableSlot = 4;
constexpr int kPixelSizeSlot = 17;

// The preferred pixel format: one stencil bit for shape clipping, two
// samples a pixel, no depth buffer. The drawable kind and the pixel size are
// patched in before each use.
int attributes[20] = {AGL_RGBA,
                      AGL_NO_RECOVERY,
                      AGL_DOUBLEBUFFER,
                      AGL_ACCELERATED,
                      AGL_WINDOW,
                      AGL_LEVEL,
                      0,
                      AGL_DEPTH_SIZE,
                      0,
                      AGL_STENCIL_SIZE,
                      1,
                      AGL_SAMPLE_BUFFERS_ARB,
                      1,
                      AGL_SAMPLES_ARB,
                      2,
                      AGL_MULTISAMPLE,
                      AGL_PIXEL_SIZE,
                      0,
                      AGL_NONE,
                      0};
// The fall-back: any accelerated double-buffered RGBA format.
int defaultAttributes[8] = {
    AGL_RGBA, AGL_NO_RECOVERY, AGL_DOUBLEBUFFER, AGL_ACCELERATED, AGL_WINDOW, AGL_NONE, 0, 0};

void PatchAttributes(int drawable, const DisplayMode& mode) {
  attributes[kDrawableSlot] = drawable;
  attributes[kPixelSizeSlot] = static_cast<int>(mode.bitsPerPixel);
}

// The preferred format, else the fall-back; null, logged, when neither exists.
void* ChooseFormat(const int* device, int drawable) {
  Platform& platform = CurrentPlatform();
  if (void* format = platform.ChoosePixelFormat(device, attributes)) return format;
  defaultAttributes[kDrawableSlot] = drawable;
  void* format = platform.ChoosePixelFormat(device, defaultAttributes);
  if (!format) Log::Output("[kelo-agl] no valid PixelFormat found.\n");
  return format;
}

// Sharing every object with the device's context is what lets textures,
// buffers and programs outlive a mode change, and a window made anew.
void* CreateSharingContext(void* format, void* window, void* share) {
  Platform& platform = CurrentPlatform();
  void* context = platform.CreateContext(format, window, share);
  platform.DestroyPixelFormat(format);
  return context;
}

}  // namespace

void* IOpenGL::ShareContext() const {
  Platform& platform = CurrentPlatform();
  return platform.OwnsContext(context) ? context : platform.AnyContext();
}

bool IOpenGL::OwnContextCurrent() const {
  return context && CurrentPlatform().CurrentContext() == context;
}

void* IOpenGL::InitGLWindowedCtx(void* window, const DisplayMode& mode) {
  PatchAttributes(AGL_WINDOW, mode);
  void* format = ChooseFormat(nullptr, AGL_WINDOW);
  return format ? CreateSharingContext(format, window, ShareContext()) : nullptr;
}

void* IOpenGL::InitGLFullscreenCtx(void* window, const DisplayMode& mode) {
  PatchAttributes(AGL_FULLSCREEN, mode);
  int device = 0;
  if (!CurrentPlatform().GraphicsDevice(displayId, device)) {
    Log::Output("[kero-agl] cannot get GDHandle.\n");
    return nullptr;
  }
  void* format = ChooseFormat(&device, AGL_FULLSCREEN);
  return format ? CreateSharingContext(format, window, ShareContext()) : nullptr;
}

}  // namespace Kelo
