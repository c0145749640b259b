// The plug-in's one device: every operation of Kelo::IVideo on OpenGL.
// The operations are implemented by subsystem: video/ (lifecycle, start-up,
// colour programs, transforms), shapes/, textures/ and platform/.
#pragma once

#include "kelo/video.h"

namespace Kelo {

struct WindowEvent;

class IOpenGL : public IVideo {
public:
  IOpenGL();
  ~IOpenGL() override;

  bool Init() override;
  bool IsReady() const override;
  bool Update() override;
  bool Release() override;
  bool EnumerateDevices(DEV_SUBCLASS subClass, DeviceCallback callback, void* user) override;
  bool GetDefaultDevice(DEV_SUBCLASS subClass, DeviceDescription& out) override;
  bool SetDefaultDevice(const DeviceDescription& device, unsigned long& handle) override;
  bool InitDevice(const DeviceDescription& device, unsigned long& handle) override;
  bool ReleaseDevice(unsigned long handle) override;

  bool SetDisplayMode(void* window, const DisplayMode& mode, bool vsync) override;
  bool GetDisplayMode(DisplayMode& out) const override;
  bool EnumerateDisplayModes(const DeviceDescription& device, DisplayModeCallback callback,
                             void* user) override;
  void BeginRender() override;
  void EndRender() override;
  void SetViewTransform(const Matrix& m) override;
  void SetWorldTransform(const Matrix& m) override;
  bool SetViewport(const Rect& r) override;
  void SetCamera(float width, float height) override;
  void Clear(const Color& c) override;
  void SetColor(const Color& color, float alpha) override;

  bool CreateShape(unsigned long& handle, SHAPE_TYPE type, unsigned long count, const Color& colour,
                   float alpha, const Point* points, const Point* texcoords) override;
  bool CreateShape(unsigned long& handle, SHAPE_TYPE type, unsigned long count,
                   const Color* colours, float alpha, const Point* points) override;
  bool ReleaseShape(unsigned long handle) override;
  void SelectShape(unsigned long handle) override;
  void DrawShape() override;
  void DrawShape(SHAPE_TYPE type, unsigned long count, const Point* points,
                 const Point* texcoords) override;
  void ClipShape() override;
  void BeginShapeBatch() override;
  void EndShapeBatch() override;

  bool CreateTexture(unsigned long& handle, IMAGE_FORMAT format, const void* pixels, unsigned width,
                     unsigned height) override;
  bool CreateFontTexture(unsigned long& handle, IMAGE_FORMAT format, const void* pixels,
                         unsigned width, unsigned height) override;
  bool CreateTexture(unsigned long& handle, const char* filename) override;
  bool CreateTexture(unsigned long& handle, const char* filename, const Color& colorKey) override;
  bool ReleaseTexture(unsigned long handle) override;
  int GetWidthTexture(unsigned long handle) const override;
  int GetHeightTexture(unsigned long handle) const override;
  void BeginTextureBatch(unsigned long handle) override;
  void EndTextureBatch() override;

  // An empty texture of the given size; reachable only through this class.
  bool CreateTexture(unsigned long& handle, IMAGE_FORMAT format, unsigned width, unsigned height);

  // OpenGL start-up on the current context: fixed state, camera from
  // `currentMode`, the colour path and its program.
  void InitGL(unsigned width, unsigned height);
  // Deletes the last colour program and releases the vertex storage.
  void ReleaseGL();
  void DeleteColorProgram();
  void InitGLPrograms();
  // Picks the colour path, logs it and loads its entry points; false for
  // texture combining, which needs no program.
  bool ChooseColorPath();
  // Around each stored draw: hands the current colour `c` to the colour path,
  // then puts it back as OpenGL's current colour.
  void HandOverColor(const float c[4]);
  void TakeBackColor(const float c[4]);

  // All platform work of SetDisplayMode: display capture and switch, the new
  // context, its window, the event handler and the swap interval.
  bool SetDisplayModePlatform(void* window, const DisplayMode& mode, bool vsync);
  // Returns the display to its desktop, takes the window the device made full
  // screen out of it and gives the display back; false, logged and with the
  // display given back, when the desktop cannot be restored.
  bool LeaveFullScreen();
  // Switches the device's display, through `window`, back to its desktop;
  // false, logged and with the display given back, on failure.
  bool ReturnToDesktop(void* window);
  // A new context sharing objects with the device's own (see ShareContext),
  // for rendering into `window` or full screen on the device's display
  // through it; null on failure.
  void* InitGLWindowedCtx(void* window, const DisplayMode& mode);
  void* InitGLFullscreenCtx(void* window, const DisplayMode& mode);
  // The context a new one of the device's shares objects with: its own, else
  // one that another device made (and holds, or left behind), else none. So
  // every context the devices made is of one share group, where the
  // process-wide storage lives.
  void* ShareContext() const;
  // Whether the device's own context is current: the device's objects live in
  // its share group, so they are made only there.
  bool OwnContextCurrent() const;
  // Follows the size of the host's window; `userData` is the device. Always
  // answers kEventNotHandled.
  static int windowEventHandler(const WindowEvent& event, void* userData);

  struct ShaderFlags {
    unsigned useShader : 1;
    unsigned useARBShader : 1;
    unsigned useARBProgram : 1;
  };

  DisplayMode currentMode;
  DisplayMode desktopMode;
  unsigned long currentShape;
  ShaderFlags shaderFlags;
  unsigned int program;
  float viewMatrix[16];
  unsigned int displayId;
  // The host's window the device made full screen, while it is.
  void* fullScreenWindow = nullptr;
  // The context the device made and holds: null until a SetDisplayMode
  // succeeds, and again after ReleaseDevice. Never a context of the host's.
  void* context;
  // Textures go with the device's context. Each is made in a generation of
  // the device's textures, unique in the process and replaced when the
  // device lets go of its context: a texture of an older one names nothing,
  // since its OpenGL name may belong to a texture of the next context.
  static unsigned long NextTextureGeneration();
  unsigned long textureGeneration = NextTextureGeneration();
};

}  // namespace Kelo
