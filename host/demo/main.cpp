// kelo-demo: a host for the OpenGL video plug-in. It loads the plug-in from
// its plug-ins folder, lists or binds a display, sets a mode on an SDL window
// and draws a scene that uses every capability of the device. Headless it
// renders offscreen and writes the frame to a PNG file.
#include <GL/gl.h>
#include <SDL.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "assets.h"
#include "options.h"
#include "plugin.h"
#include "png_file.h"
#include "scene.h"

namespace {

using Demo::Options;

int Fail(const std::string& message) {
  std::fprintf(stderr, "kelo-demo: %s\n", message.c_str());
  return 1;
}

void PrintDevice(const Kelo::DeviceDescription& device, void* video) {
  std::printf("display %u: %s\n", device.displayId, device.name);
  static_cast<Kelo::IVideo*>(video)->EnumerateDisplayModes(
      device,
      [](const Kelo::DisplayMode& mode, void*) {
        std::printf("  %ux%ux%u@%u\n", mode.width, mode.height, mode.bitsPerPixel,
                    mode.refreshRate);
      },
      nullptr);
}

// The frame in the back buffer, rows turned top-down for the file.
bool SaveFrame(SDL_Window* window, const std::string& path) {
  int width = 0;
  int height = 0;
  SDL_GL_GetDrawableSize(window, &width, &height);
  std::vector<unsigned char> pixels(static_cast<size_t>(width) * height * 4);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
  std::vector<unsigned char> rows(pixels.size());
  const size_t stride = static_cast<size_t>(width) * 4;
  for (int y = 0; y < height; ++y) {
    std::copy_n(&pixels[(height - 1 - y) * stride], stride, &rows[y * stride]);
  }
  return Demo::WritePng(path, width, height, 4, rows.data());
}

// The window's framebuffer is fixed when the window is made: ask for the
// stencil bit that clipping needs and for multisampling first. Where no
// multisampled framebuffer exists (Mesa's softpipe offers none) the window
// is made without.
SDL_Window* MakeWindow(int width, int height) {
  SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
  SDL_GL_SetAttribute(SDL_GL_STENCIL_SIZE, 1);
  for (int samples : {2, 0}) {
    SDL_GL_SetAttribute(SDL_GL_MULTISAMPLEBUFFERS, samples ? 1 : 0);
    SDL_GL_SetAttribute(SDL_GL_MULTISAMPLESAMPLES, samples);
    if (SDL_Window* window =
            SDL_CreateWindow("kelo-demo", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, width,
                             height, SDL_WINDOW_OPENGL | SDL_WINDOW_RESIZABLE)) {
      return window;
    }
  }
  return nullptr;
}

// The display --display names, as --list numbers it.
bool FindDisplay(Kelo::IVideo& video, unsigned id, Kelo::DeviceDescription& out) {
  struct Search {
    unsigned id;
    Kelo::DeviceDescription* out;
    bool found;
  } search{id, &out, false};
  video.EnumerateDevices(
      Kelo::DEV_SUBCLASS_DISPLAY,
      [](const Kelo::DeviceDescription& device, void* user) {
        auto& search = *static_cast<Search*>(user);
        if (device.displayId != search.id) return;
        *search.out = device;
        search.found = true;
      },
      &search);
  return search.found;
}

// SDL's offscreen driver sizes a window's surface once, when the window is
// made; a headless window is made at the size the resize will give it.
constexpr int kHeadlessWidth = 800;
constexpr int kHeadlessHeight = 600;

// With a display: frames until the window closes or the count is reached.
void RunWindowed(Kelo::IVideo& video, Demo::Scene& scene, int frames) {
  for (int frame = 0; frames == 0 || frame < frames; ++frame) {
    SDL_Event event;
    while (SDL_PollEvent(&event)) {
      if (event.type == SDL_QUIT) return;
    }
    video.BeginRender();
    scene.Draw(video, frame);
    video.EndRender();
  }
}

// Headless: a frame, a resize that restarts OpenGL at the new size, and the
// frame again, written to a file.
bool RunHeadless(Kelo::IVideo& video, Demo::Scene& scene, SDL_Window* window,
                 const std::string& out) {
  video.BeginRender();
  scene.Draw(video, 0);
  video.EndRender();
  SDL_SetWindowSize(window, kHeadlessWidth, kHeadlessHeight);
  SDL_PumpEvents();
  video.BeginRender();
  scene.Draw(video, 1);
  const bool saved = SaveFrame(window, out);
  video.EndRender();
  return saved;
}

int Run(const Options& options) {
  const bool headless =
      options.headless || (!std::getenv("DISPLAY") && !std::getenv("WAYLAND_DISPLAY"));
  if (headless) setenv("SDL_VIDEODRIVER", "offscreen", 1);

  Demo::Plugin plugin;
  std::string error;
  const std::string folder =
      options.pluginsDir.empty() ? Demo::DefaultPluginsDir() : options.pluginsDir;
  if (!plugin.Load(folder, error)) return Fail(error);
  if (SDL_Init(SDL_INIT_VIDEO) != 0) return Fail(std::string("SDL: ") + SDL_GetError());

  std::unique_ptr<Kelo::IVideo> video(plugin.CreateVideo());
  if (!video->Init()) return Fail("the device cannot read the desktop's display mode");
  if (options.list) {
    return video->EnumerateDevices(Kelo::DEV_SUBCLASS_DISPLAY, PrintDevice, video.get())
               ? 0
               : Fail("the device lists no displays");
  }

  Kelo::DeviceDescription display{};
  unsigned long device = 0;
  if (!options.display) {
    video->GetDefaultDevice(Kelo::DEV_SUBCLASS_DISPLAY, display);
  } else if (!FindDisplay(*video, static_cast<unsigned>(options.display), display)) {
    return Fail("there is no display " + std::to_string(options.display) + " (try --list)");
  }
  video->InitDevice(display, device);
  const Kelo::DisplayMode mode =
      options.fullScreen.value_or(Kelo::DisplayMode{640, 480, 32, true, 60});
  SDL_Window* window =
      headless ? MakeWindow(kHeadlessWidth, kHeadlessHeight)
               : MakeWindow(static_cast<int>(mode.width), static_cast<int>(mode.height));
  if (!window) return Fail(std::string("cannot make a window: ") + SDL_GetError());
  if (headless)
    SDL_SetWindowSize(window, static_cast<int>(mode.width), static_cast<int>(mode.height));

  Demo::Assets assets;
  Demo::Scene scene;
  int status = 0;
  if (!assets.Ready()) {
    status = Fail("cannot write the demo's images to a temporary folder");
  } else if (!video->SetDisplayMode(window, mode, !headless)) {
    status = Fail("the device refused the display mode " + std::to_string(mode.width) + "x" +
                  std::to_string(mode.height) + "x" + std::to_string(mode.bitsPerPixel) +
                  (mode.windowed ? " windowed" : "@" + std::to_string(mode.refreshRate)));
  } else if (!scene.Create(*video, assets, error)) {
    status = Fail(error);
  } else if (headless) {
    if (!RunHeadless(*video, scene, window, options.out)) {
      status = Fail("cannot write " + options.out);
    } else {
      std::printf("kelo-demo: wrote %s\n", options.out.c_str());
    }
  } else {
    RunWindowed(*video, scene, options.frames);
  }
  scene.Release(*video);
  video->ReleaseDevice(device);
  video.reset();
  SDL_DestroyWindow(window);
  SDL_Quit();
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  bool helped = false;
  const std::optional<Options> options = Demo::ParseOptions(argc, argv, helped);
  if (!options) return helped ? 0 : 2;
  return Run(*options);
}
