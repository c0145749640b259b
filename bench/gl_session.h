#pragma once

#include <SDL.h>

#include "video/opengl_device.h"

namespace Bench {

// One offscreen window with the device started on it (its own context), and
// one with SDL's OpenGL renderer, shared by every benchmark of the run.
class GLSession {
public:
  static constexpr int kWidth = 640;
  static constexpr int kHeight = 480;

  static GLSession& Get();
  Kelo::IOpenGL& Device() { return device; }
  SDL_Window* DeviceWindow() { return deviceWindow; }
  void MakeDeviceCurrent();
  SDL_Renderer* Renderer() { return renderer; }

private:
  GLSession();
  SDL_Window* deviceWindow = nullptr;
  SDL_Window* rendererWindow = nullptr;
  SDL_Renderer* renderer = nullptr;
  void* deviceContext = nullptr;
  Kelo::IOpenGL device;
};

// Waits until the GPU (llvmpipe) has drawn everything asked of it.
void Finish();

}  // namespace Bench
