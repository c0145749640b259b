// The smallest host: loads the installed plug-in, sets a windowed mode on an
// SDL window, draws one stored shape and checks the pixel it covers. Runs
// headless with SDL_VIDEODRIVER=offscreen.
#include <SDL.h>
#include <dlfcn.h>

#include <GL/gl.h>

#include <cstdio>
#include <string>

#include <kelo/colors.h>
#include <kelo/log.h>
#include <kelo/video.h>

namespace {

// The host framework's logger, redirected: the plug-in's lines land here.
void PrintLogLine(const char* line, void*) { std::printf("plug-in says: %s", line); }

int Fail(const char* what) {
  std::fprintf(stderr, "example-host: %s (%s)\n", what, SDL_GetError());
  return 1;
}

}  // namespace

int main() {
  Kelo::Log::SetSink(PrintLogLine, nullptr);
  void* plugin = dlopen(KELO_PLUGIN_DIR "/libKeloOGL.so", RTLD_NOW | RTLD_LOCAL);
  if (!plugin) return Fail(dlerror());
  auto create = reinterpret_cast<CreateVideoFunction>(dlsym(plugin, "CreateVideo"));
  if (!create || SDL_Init(SDL_INIT_VIDEO) != 0) return Fail("cannot start");

  // Clipping needs a stencil bit, which a window has only if asked for first.
  SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 1);
  SDL_Window* window = SDL_CreateWindow("example", 0, 0, 64, 64, SDL_WINDOW_OPENGL);
  Kelo::IVideo* video = create();
  Kelo::DeviceDescription display{};
  unsigned long device = 0;
  if (!window || !video->Init() || !video->GetDefaultDevice(Kelo::DEV_SUBCLASS_DISPLAY, display) ||
      !video->InitDevice(display, device) ||
      !video->SetDisplayMode(window, Kelo::DisplayMode{64, 64, 32, true, 60}, false)) {
    return Fail("cannot set a display mode");
  }

  const Kelo::Point square[] = {{-16, -16}, {16, -16}, {-16, 16}, {16, 16}};
  unsigned long shape = 0;
  video->CreateShape(shape, Kelo::SHAPE_TRIANGLE_STRIP, 4, Kelo::ORANGE, 1.0f, square, nullptr);
  video->BeginRender();
  video->Clear(Kelo::BLACK);
  video->SetColor(Kelo::WHITE, 1.0f);
  video->SelectShape(shape);
  video->DrawShape();
  unsigned char pixel[4] = {};
  glReadPixels(32, 32, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
  video->EndRender();
  video->ReleaseShape(shape);
  video->ReleaseDevice(device);
  delete video;
  SDL_DestroyWindow(window);

  const bool orange = pixel[0] == 255 && pixel[1] == 165 && pixel[2] == 0;
  std::printf("example-host: centre pixel %d %d %d: %s\n", pixel[0], pixel[1], pixel[2],
              orange ? "ok" : "wrong");
  return orange ? 0 : 1;
}
