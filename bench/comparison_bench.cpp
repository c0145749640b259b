// The device against SDL's own OpenGL renderer (and plain GL) on the same
// work, all on llvmpipe in one run. bench/compare.py prints the ratios.
#include <GL/gl.h>
#include <SDL.h>
#include <SDL_image.h>
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/gl_session.h"
#include "host/demo/png_file.h"
#include "kelo/colors.h"
#include "shapes/vram.h"

namespace Kelo {
namespace {

using Bench::Finish;
using Bench::GLSession;

constexpr int kQuads = 100000;
constexpr int kQuadsAShape = 1000;
constexpr int kFiles = 100;

// Quad i of the static scene, in camera units (origin at the centre, y up).
void QuadCorners(int i, float& x, float& y) {
  x = static_cast<float>(i % 400) * 1.6f - 320;
  y = static_cast<float>(i / 400) * 1.9f - 240;
}
constexpr float kQuadSize = 1.5f;

Color QuadColour(int i) { return {static_cast<unsigned char>(i * 7), 200, 255}; }

// A 2 x 2 white-and-grey texture for the quads and sprites.
const unsigned char kTexels[] = {255, 255, 255, 255, 128, 128, 128, 255,
                                 128, 128, 128, 255, 255, 255, 255, 255};

void BM_Scene_Kelo(benchmark::State& state) {
  GLSession& session = GLSession::Get();
  session.MakeDeviceCurrent();
  IOpenGL& device = session.Device();
  unsigned long texture = 0;
  device.CreateTexture(texture, IMAGE_RGBA8888, kTexels, 2, 2);
  std::vector<unsigned long> shapes;
  for (int first = 0; first < kQuads; first += kQuadsAShape) {
    std::vector<Point> points, texcoords;
    for (int i = first; i < first + kQuadsAShape; ++i) {
      float x, y;
      QuadCorners(i, x, y);
      const float r = x + kQuadSize, t = y + kQuadSize;
      points.insert(points.end(), {{x, y}, {r, y}, {x, t}, {r, y}, {r, t}, {x, t}});
      texcoords.insert(texcoords.end(), {{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}});
    }
    shapes.push_back(0);
    device.CreateShape(shapes.back(), SHAPE_TRIANGLES, points.size(), QuadColour(first), 1.0f,
                       points.data(), texcoords.data());
  }
  device.SetColor(WHITE, 1.0f);
  for (auto _ : state) {
    device.Clear(BLACK);
    device.BeginTextureBatch(texture);
    for (unsigned long shape : shapes) {
      device.SelectShape(shape);
      device.DrawShape();
    }
    device.EndTextureBatch();
    Finish();
  }
  for (unsigned long shape : shapes) device.ReleaseShape(shape);
  device.ReleaseTexture(texture);
  state.SetItemsProcessed(state.iterations() * kQuads);
}
BENCHMARK(BM_Scene_Kelo)->Unit(benchmark::kMillisecond)->UseRealTime();

SDL_Texture* SdlTexture(SDL_Renderer* renderer) {
  SDL_Texture* texture =
      SDL_CreateTexture(renderer, SDL_PIXELFORMAT_ABGR8888, SDL_TEXTUREACCESS_STATIC, 2, 2);
  SDL_UpdateTexture(texture, nullptr, kTexels, 8);
  return texture;
}

// SDL's renderer has y down from the top-left corner.
SDL_FPoint ToSdl(float x, float y) {
  return {x + GLSession::kWidth / 2.0f, GLSession::kHeight / 2.0f - y};
}

void BM_Scene_SDL(benchmark::State& state) {
  SDL_Renderer* renderer = GLSession::Get().Renderer();
  SDL_Texture* texture = SdlTexture(renderer);
  std::vector<SDL_Vertex> vertices;
  std::vector<int> indices;
  for (int i = 0; i < kQuads; ++i) {
    float x, y;
    QuadCorners(i, x, y);
    const Color c = QuadColour(i / kQuadsAShape * kQuadsAShape);
    const SDL_Color colour{c.r, c.g, c.b, 255};
    const int base = static_cast<int>(vertices.size());
    vertices.push_back({ToSdl(x, y), colour, {0, 0}});
    vertices.push_back({ToSdl(x + kQuadSize, y), colour, {1, 0}});
    vertices.push_back({ToSdl(x, y + kQuadSize), colour, {0, 1}});
    vertices.push_back({ToSdl(x + kQuadSize, y + kQuadSize), colour, {1, 1}});
    indices.insert(indices.end(), {base, base + 1, base + 2, base + 1, base + 3, base + 2});
  }
  for (auto _ : state) {
    SDL_SetRenderDrawColor(renderer, 0, 0, 0, 255);
    SDL_RenderClear(renderer);
    if (SDL_RenderGeometry(renderer, texture, vertices.data(), static_cast<int>(vertices.size()),
                           indices.data(), static_cast<int>(indices.size())) != 0) {
      state.SkipWithError(SDL_GetError());
      break;
    }
    SDL_RenderFlush(renderer);
    Finish();
  }
  SDL_DestroyTexture(texture);
  state.SetItemsProcessed(state.iterations() * kQuads);
}
BENCHMARK(BM_Scene_SDL)->Unit(benchmark::kMillisecond)->UseRealTime();

// Plain GL on a context of its own: every quad in one client array, drawn
// with a single call and no tint.
void BM_Scene_RawGL(benchmark::State& state) {
  SDL_Window* window =
      SDL_CreateWindow("raw", 0, 0, GLSession::kWidth, GLSession::kHeight, SDL_WINDOW_OPENGL);
  SDL_GLContext context = SDL_GL_CreateContext(window);
  struct Vertex {
    float s, t;
    unsigned char r, g, b, a;
    float x, y, z;
  };
  std::vector<Vertex> vertices;
  for (int i = 0; i < kQuads; ++i) {
    float x, y;
    QuadCorners(i, x, y);
    const Color c = QuadColour(i / kQuadsAShape * kQuadsAShape);
    const float r = x + kQuadSize, t = y + kQuadSize;
    for (const auto& [s, tt, px, py] : {std::array<float, 4>{0, 0, x, y},
                                        {1, 0, r, y},
                                        {0, 1, x, t},
                                        {1, 0, r, y},
                                        {1, 1, r, t},
                                        {0, 1, x, t}}) {
      vertices.push_back({s, tt, c.r, c.g, c.b, 255, px, py, 0});
    }
  }
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE, kTexels);
  glEnable(GL_TEXTURE_2D);
  glMatrixMode(GL_PROJECTION);
  glOrtho(-320, 320, -240, 240, 1, -1);
  glInterleavedArrays(GL_T2F_C4UB_V3F, 0, vertices.data());
  for (auto _ : state) {
    glClear(GL_COLOR_BUFFER_BIT);
    glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(vertices.size()));
    Finish();
  }
  SDL_GL_DeleteContext(context);
  SDL_DestroyWindow(window);
  state.SetItemsProcessed(state.iterations() * kQuads);
}
BENCHMARK(BM_Scene_RawGL)->Unit(benchmark::kMillisecond)->UseRealTime();

// From a new window to the first frame shown, and torn down again.
void BM_Startup_Kelo(benchmark::State& state) {
  GLSession::Get();
  const Point quad[] = {{-8, -8}, {8, -8}, {-8, 8}, {8, 8}};
  for (auto _ : state) {
    SDL_Window* window = SDL_CreateWindow("start", 0, 0, 320, 240, SDL_WINDOW_OPENGL);
    IOpenGL device;
    device.Init();
    DeviceDescription display{};
    unsigned long handle = 0, shape = 0;
    device.GetDefaultDevice(DEV_SUBCLASS_DISPLAY, display);
    device.InitDevice(display, handle);
    // No context of the session is current; the device's first context
    // shares with the session device's, as a host's second device would.
    SDL_GL_MakeCurrent(window, nullptr);
    device.SetDisplayMode(window, DisplayMode{320, 240, 32, true, 60}, false);
    device.Clear(BLACK);
    device.CreateShape(shape, SHAPE_TRIANGLE_STRIP, 4, RED, 1.0f, quad, nullptr);
    device.SelectShape(shape);
    device.DrawShape();
    device.EndRender();
    device.ReleaseShape(shape);
    device.ReleaseDevice(handle);
    SDL_DestroyWindow(window);
  }
}
BENCHMARK(BM_Startup_Kelo)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Startup_SDL(benchmark::State& state) {
  GLSession::Get();
  for (auto _ : state) {
    SDL_Window* window = SDL_CreateWindow("start", 0, 0, 320, 240, SDL_WINDOW_OPENGL);
    SDL_Renderer* renderer = SDL_CreateRenderer(window, -1, SDL_RENDERER_ACCELERATED);
    SDL_SetRenderDrawColor(renderer, 0, 0, 0, 255);
    SDL_RenderClear(renderer);
    SDL_SetRenderDrawColor(renderer, 255, 0, 0, 255);
    const SDL_FRect quad{152, 112, 16, 16};
    SDL_RenderFillRectF(renderer, &quad);
    SDL_RenderPresent(renderer);
    SDL_DestroyRenderer(renderer);
    SDL_DestroyWindow(window);
  }
}
BENCHMARK(BM_Startup_SDL)->Unit(benchmark::kMillisecond)->UseRealTime();

// kFiles small PNG files, made once for the run.
const std::vector<std::string>& PngFiles() {
  static const std::vector<std::string> files = [] {
    const auto folder = std::filesystem::temp_directory_path() / "kelo-bench-images";
    std::filesystem::create_directories(folder);
    std::vector<unsigned char> pixels(64 * 64 * 4);
    std::vector<std::string> paths;
    for (int f = 0; f < kFiles; ++f) {
      for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i * f);
      paths.push_back((folder / ("image" + std::to_string(f) + ".png")).string());
      Demo::WritePng(paths.back(), 64, 64, 4, pixels.data());
    }
    return paths;
  }();
  return files;
}

void BM_Textures_Kelo(benchmark::State& state) {
  GLSession& session = GLSession::Get();
  const auto& files = PngFiles();
  session.MakeDeviceCurrent();
  std::vector<unsigned long> textures(files.size());
  for (auto _ : state) {
    for (size_t i = 0; i < files.size(); ++i) {
      session.Device().CreateTexture(textures[i], files[i].c_str());
    }
    Finish();
    state.PauseTiming();
    for (unsigned long texture : textures) session.Device().ReleaseTexture(texture);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kFiles);
}
BENCHMARK(BM_Textures_Kelo)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_Textures_SDLImage(benchmark::State& state) {
  SDL_Renderer* renderer = GLSession::Get().Renderer();
  const auto& files = PngFiles();
  std::vector<SDL_Texture*> textures(files.size());
  for (auto _ : state) {
    for (size_t i = 0; i < files.size(); ++i) {
      SDL_Surface* surface = IMG_Load(files[i].c_str());
      textures[i] = SDL_CreateTextureFromSurface(renderer, surface);
      SDL_FreeSurface(surface);
    }
    SDL_RenderFlush(renderer);
    Finish();
    state.PauseTiming();
    for (SDL_Texture* texture : textures) SDL_DestroyTexture(texture);
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kFiles);
}
BENCHMARK(BM_Textures_SDLImage)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace Kelo
