// What a stored draw costs over the bare draw call, and sprites against SDL's
// renderer, each measured as alternating frames in one process.
#include <GL/gl.h>
#include <SDL.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "bench/gl_session.h"
#include "bench/interleaved.h"
#include "kelo/colors.h"
#include "shapes/opengl_shape.h"
#include "shapes/storage_backends.h"
#include "video/gl_functions.h"

namespace Kelo {
namespace {

using Bench::Finish;
using Bench::GLSession;

constexpr int kSprites = 10000;

// Quads of 2 x 2 pixels, each its own stored shape, packed side by side in
// the order they were made.
std::vector<unsigned long> SmallShapes(IOpenGL& device, int count) {
  std::vector<unsigned long> shapes(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    const float x = static_cast<float>(i % 250) * 2.5f - 312,
                y = static_cast<float>(i / 250) * 2.4f - 240;
    const Point quad[] = {{x, y}, {x + 2, y}, {x, y + 2}, {x + 2, y + 2}};
    const Color colour{static_cast<unsigned char>(i), 200, 255};
    device.CreateShape(shapes[static_cast<size_t>(i)], SHAPE_TRIANGLE_STRIP, 4, colour, 1.0f, quad,
                       nullptr);
  }
  return shapes;
}

const OGLVRAM::HVRAM_Desc& BlockOf(unsigned long shape) {
  return reinterpret_cast<IOpenGLShape*>(shape)->block->data;
}

// What the stored draw is compared with: the shapes' own vertices, the
// pointers set once for each buffer, one glDrawArrays a shape.
void PointAtBuffer(unsigned long buffer) {
  if (VRAMManager->init == &ram_init) {
    glInterleavedArrays(GL_C4UB_V2F, 0, RAM[buffer]);
  } else {
    gl::BindBufferARB(GL_ARRAY_BUFFER_ARB, static_cast<GLuint>(buffer));
    glInterleavedArrays(GL_C4UB_V2F, 0, nullptr);
  }
}

[[gnu::noinline]] void BareDraw(const OGLVRAM::HVRAM_Desc& block) {
  glDrawArrays(GL_TRIANGLE_STRIP, static_cast<GLint>(block.offset / sizeof(ColouredVertex)), 4);
}

void BareFrame(IOpenGL& device, const std::vector<unsigned long>& shapes) {
  device.Clear(BLACK);
  GLfloat colour[4];
  glGetFloatv(GL_CURRENT_COLOR, colour);
  device.HandOverColor(colour);
  unsigned long buffer = ~0ul;
  for (unsigned long shape : shapes) {
    const OGLVRAM::HVRAM_Desc& block = BlockOf(shape);
    if (block.buffer != buffer) PointAtBuffer(buffer = block.buffer);
    BareDraw(block);
  }
  device.TakeBackColor(colour);
  Finish();
}

void StoredFrame(IOpenGL& device, const std::vector<unsigned long>& shapes) {
  device.Clear(BLACK);
  for (unsigned long shape : shapes) {
    device.SelectShape(shape);
    device.DrawShape();
  }
  Finish();
}

// Arguments: rounds, frames of each kind a round, shapes a frame. The short
// variant is the one to run under callgrind.
void BM_StoredDraws_VsBareLoop(benchmark::State& state) {
  GLSession& session = GLSession::Get();
  session.MakeDeviceCurrent();
  IOpenGL& device = session.Device();
  const std::vector<unsigned long> shapes = SmallShapes(device, static_cast<int>(state.range(2)));
  device.SetColor(WHITE, 1.0f);
  Bench::ReportInterleaved(
      state, [&] { StoredFrame(device, shapes); }, [&] { BareFrame(device, shapes); },
      static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (unsigned long shape : shapes) device.ReleaseShape(shape);
}
BENCHMARK(BM_StoredDraws_VsBareLoop)
    ->Args({7, 3, 50000})
    ->Args({1, 1, 5000})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

void SpritePlace(int i, int frame, float& x, float& y, float& angle) {
  x = std::fmod(static_cast<float>(i * 37 + frame * 3), 600.0f) - 300;
  y = std::fmod(static_cast<float>(i * 53 + frame * 2), 440.0f) - 220;
  angle = static_cast<float>((i + frame) % 360);
}

// A 2 x 2 white-and-grey texture.
const unsigned char kTexels[] = {255, 255, 255, 255, 128, 128, 128, 255,
                                 128, 128, 128, 255, 255, 255, 255, 255};

void KeloSprites(GLSession& session, unsigned long texture, unsigned long sprite, int frame) {
  IOpenGL& device = session.Device();
  session.MakeDeviceCurrent();
  device.Clear(BLACK);
  device.BeginTextureBatch(texture);
  device.SelectShape(sprite);
  for (int i = 0; i < kSprites; ++i) {
    float x, y, angle;
    SpritePlace(i, frame, x, y, angle);
    const float c = std::cos(angle * 0.0174533f), s = std::sin(angle * 0.0174533f);
    device.SetWorldTransform(Matrix{{c, -s, x, s, c, y}});
    device.DrawShape();
  }
  device.EndTextureBatch();
  Finish();
}

// SDL's renderer has y down from the top-left corner.
void SdlSprites(SDL_Renderer* renderer, SDL_Texture* texture, int frame) {
  SDL_SetRenderDrawColor(renderer, 0, 0, 0, 255);
  SDL_RenderClear(renderer);
  for (int i = 0; i < kSprites; ++i) {
    float x, y, angle;
    SpritePlace(i, frame, x, y, angle);
    const SDL_FRect target{x + GLSession::kWidth / 2.0f - 8, GLSession::kHeight / 2.0f - y - 8, 16,
                           16};
    SDL_RenderCopyExF(renderer, texture, nullptr, &target, -angle, nullptr, SDL_FLIP_NONE);
  }
  SDL_RenderFlush(renderer);
  Finish();
}

// 10,000 moving, rotating textured sprites: the device draws one stored shape
// with a world transform each, SDL batches its copies.
void BM_Sprites_VsSDL(benchmark::State& state) {
  GLSession& session = GLSession::Get();
  session.MakeDeviceCurrent();
  IOpenGL& device = session.Device();
  unsigned long texture = 0, sprite = 0;
  device.CreateTexture(texture, IMAGE_RGBA8888, kTexels, 2, 2);
  const Point quad[] = {{-8, -8}, {8, -8}, {-8, 8}, {8, 8}};
  const Point texcoords[] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}};
  device.CreateShape(sprite, SHAPE_TRIANGLE_STRIP, 4, WHITE, 1.0f, quad, texcoords);
  device.SetColor(WHITE, 1.0f);
  SDL_Renderer* renderer = session.Renderer();
  SDL_Texture* sdlTexture =
      SDL_CreateTexture(renderer, SDL_PIXELFORMAT_ABGR8888, SDL_TEXTUREACCESS_STATIC, 2, 2);
  SDL_UpdateTexture(sdlTexture, nullptr, kTexels, 8);
  int keloFrame = 0, sdlFrame = 0;
  Bench::ReportInterleaved(
      state, [&] { KeloSprites(session, texture, sprite, keloFrame++); },
      [&] { SdlSprites(renderer, sdlTexture, sdlFrame++); }, static_cast<int>(state.range(0)),
      static_cast<int>(state.range(1)));
  SDL_DestroyTexture(sdlTexture);
  session.MakeDeviceCurrent();
  device.ReleaseShape(sprite);
  device.ReleaseTexture(texture);
}
BENCHMARK(BM_Sprites_VsSDL)->Args({7, 5})->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Kelo
