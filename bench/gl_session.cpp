#include "bench/gl_session.h"

#include <GL/gl.h>

#include <cstdio>
#include <cstdlib>

#include "shapes/vram.h"

namespace Bench {

GLSession& GLSession::Get() {
  static GLSession session;
  return session;
}

GLSession::GLSession() {
  setenv("SDL_VIDEODRIVER", "offscreen", 0);
  SDL_SetHint(SDL_HINT_RENDER_DRIVER, "opengl");
  if (SDL_Init(SDL_INIT_VIDEO) != 0) {
    std::fprintf(stderr, "SDL: %s\n", SDL_GetError());
    std::exit(1);
  }
  // Every window of the run gets the framebuffer the device asks for (one
  // stencil bit, 2x multisampling), so both renderers fill the same pixels.
  SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 1);
  SDL_GL_SetAttribute(SDL_GL_MULTISAMPLEBUFFERS, 1);
  SDL_GL_SetAttribute(SDL_GL_MULTISAMPLESAMPLES, 2);
  deviceWindow = SDL_CreateWindow("bench", 0, 0, kWidth, kHeight, SDL_WINDOW_OPENGL);
  device.Init();
  Kelo::DeviceDescription display{};
  unsigned long handle = 0;
  device.GetDefaultDevice(Kelo::DEV_SUBCLASS_DISPLAY, display);
  device.InitDevice(display, handle);
  if (!device.SetDisplayMode(deviceWindow, Kelo::DisplayMode{kWidth, kHeight, 32, true, 60},
                             false)) {
    std::fprintf(stderr, "cannot start the device: %s\n", SDL_GetError());
    std::exit(1);
  }
  deviceContext = SDL_GL_GetCurrentContext();
  rendererWindow = SDL_CreateWindow("bench-sdl", 0, 0, kWidth, kHeight, SDL_WINDOW_OPENGL);
  renderer = SDL_CreateRenderer(rendererWindow, -1, SDL_RENDERER_ACCELERATED);
  if (!renderer) {
    std::fprintf(stderr, "cannot start SDL's renderer: %s\n", SDL_GetError());
    std::exit(1);
  }
}

// A start-up benchmark releases a device of its own, and with it the
// process's vertex storage, which is then started again here.
void GLSession::MakeDeviceCurrent() {
  SDL_GL_MakeCurrent(deviceWindow, deviceContext);
  if (!Kelo::VRAMManager) {
    Kelo::VRAMManager = new Kelo::OGLVRAM;
    Kelo::VRAMManager->Init();
  }
}

void Finish() {
  unsigned char pixel[4];
  glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
}

}  // namespace Bench
