// The engine's video device. A video plug-in exports
//   extern "C" Kelo::IVideo* CreateVideo();
// and the host drives the device it returns through this table alone. The
// order of the operations is fixed: hosts built against any version of this
// header call them by slot.
//
// Handles (devices, shapes, textures) are plain unsigned long values that the
// plug-in hands out and the host passes back; none is validated.
#pragma once

#include "kelo/system_device.h"
#include "kelo/types.h"

namespace Kelo {

using DisplayModeCallback = void (*)(const DisplayMode& mode, void* user);

class IVideo : public ISystemDevice {
public:
  // Renders into `window` (an SDL_Window* made with SDL_WINDOW_OPENGL) or takes
  // its display full screen, makes a new OpenGL context current and starts
  // OpenGL. Objects made under the previous context survive.
  virtual bool SetDisplayMode(void* window, const DisplayMode& mode, bool vsync) = 0;
  virtual bool GetDisplayMode(DisplayMode& out) const = 0;
  // Lists the usable full-screen modes of `device`'s display.
  virtual bool EnumerateDisplayModes(const DeviceDescription& device, DisplayModeCallback callback,
                                     void* user) = 0;

  virtual void BeginRender() = 0;
  // Flushes and presents the current context's back buffer.
  virtual void EndRender() = 0;

  // Recorded only: the view transform has no effect on drawing.
  virtual void SetViewTransform(const Matrix& m) = 0;
  // Replaces the transform of everything drawn next.
  virtual void SetWorldTransform(const Matrix& m) = 0;
  // `r` has a top-left origin on the display; always true.
  virtual bool SetViewport(const Rect& r) = 0;
  // An orthographic camera centred on the origin, y up, `width` x `height` units.
  virtual void SetCamera(float width, float height) = 0;
  // Clears colour and stencil; the depth buffer is left alone.
  virtual void Clear(const Color& c) = 0;
  // The tint multiplied into every stored shape drawn next.
  virtual void SetColor(const Color& color, float alpha) = 0;

  // Stores a shape of `count` points in one colour; `texcoords` may be null.
  virtual bool CreateShape(unsigned long& handle, SHAPE_TYPE type, unsigned long count,
                           const Color& colour, float alpha, const Point* points,
                           const Point* texcoords) = 0;
  // Stores a shape with a colour a point and no texture coordinates.
  virtual bool CreateShape(unsigned long& handle, SHAPE_TYPE type, unsigned long count,
                           const Color* colours, float alpha, const Point* points) = 0;
  virtual bool ReleaseShape(unsigned long handle) = 0;
  virtual void SelectShape(unsigned long handle) = 0;
  // Draws the selected stored shape, tinted by the colour of SetColor.
  virtual void DrawShape() = 0;
  // Draws straight from the host's arrays in the current colour, storing nothing.
  virtual void DrawShape(SHAPE_TYPE type, unsigned long count, const Point* points,
                         const Point* texcoords) = 0;
  // Draws the selected shape and limits later drawing to its pixels until
  // EndShapeBatch.
  virtual void ClipShape() = 0;
  // Opacity counts (alpha blending) between these two.
  virtual void BeginShapeBatch() = 0;
  virtual void EndShapeBatch() = 0;

  // Texture creators set `handle` even when loading fails; release it anyway.
  virtual bool CreateTexture(unsigned long& handle, IMAGE_FORMAT format, const void* pixels,
                             unsigned width, unsigned height) = 0;
  virtual bool CreateFontTexture(unsigned long& handle, IMAGE_FORMAT format, const void* pixels,
                                 unsigned width, unsigned height) = 0;
  // Loads a JPEG, PNG, BMP, PSD or TGA file.
  virtual bool CreateTexture(unsigned long& handle, const char* filename) = 0;
  // As above; pixels of exactly `colorKey` become transparent (RGBA files only).
  virtual bool CreateTexture(unsigned long& handle, const char* filename,
                             const Color& colorKey) = 0;
  virtual bool ReleaseTexture(unsigned long handle) = 0;
  // The stored size in texels, which may be padded to a power of two.
  virtual int GetWidthTexture(unsigned long handle) const = 0;
  virtual int GetHeightTexture(unsigned long handle) const = 0;
  // Shapes drawn between these two are textured with `handle`.
  virtual void BeginTextureBatch(unsigned long handle) = 0;
  virtual void EndTextureBatch() = 0;
};

}  // namespace Kelo

extern "C" {
using CreateVideoFunction = Kelo::IVideo* (*)();
}
