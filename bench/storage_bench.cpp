// The vertex storage's own costs: first-fit allocation as live blocks grow,
// and drawing many small shapes stored against drawing them from host arrays.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "bench/gl_session.h"
#include "kelo/colors.h"
#include "shapes/vram.h"

namespace Kelo {
namespace {

// Without a context the manager keeps its buffers in client memory, which
// leaves the allocator's own work to measure.
void BM_AllocateAndFree(benchmark::State& state) {
  const auto live = static_cast<size_t>(state.range(0));
  OGLVRAM vram;
  vram.Init();
  std::mt19937 random(7);
  auto shapeSize = [&] { return (4 + random() % 96) * 24ul; };
  std::vector<OGLVRAM::Node*> blocks;
  for (size_t i = 0; i < live; ++i) blocks.push_back(vram.Allocate(shapeSize()));
  for (auto _ : state) {
    const size_t pick = random() % blocks.size();
    vram.Deallocate(blocks[pick]);
    blocks[pick] = vram.Allocate(shapeSize());
    benchmark::DoNotOptimize(blocks[pick]);
  }
  state.counters["buffers"] = static_cast<double>(vram.bufferCount);
  vram.Release();
}
BENCHMARK(BM_AllocateAndFree)->Arg(1000)->Arg(10000)->Arg(100000);

constexpr int kSmallShapes = 2000;

// A small quad at each of kSmallShapes places.
std::vector<Point> SmallQuad(int i) {
  const float x = static_cast<float>(i % 50) * 12 - 300;
  const float y = static_cast<float>(i / 50) * 10 - 200;
  return {{x, y}, {x + 8, y}, {x, y + 8}, {x + 8, y + 8}};
}

void BM_DrawSmallShapesStored(benchmark::State& state) {
  Bench::GLSession& session = Bench::GLSession::Get();
  session.MakeDeviceCurrent();
  IOpenGL& device = session.Device();
  std::vector<unsigned long> shapes(kSmallShapes);
  for (int i = 0; i < kSmallShapes; ++i) {
    const auto quad = SmallQuad(i);
    device.CreateShape(shapes[i], SHAPE_TRIANGLE_STRIP, 4, TEAL, 1.0f, quad.data(), nullptr);
  }
  for (auto _ : state) {
    device.Clear(BLACK);
    for (unsigned long shape : shapes) {
      device.SelectShape(shape);
      device.DrawShape();
    }
    Bench::Finish();
  }
  for (unsigned long shape : shapes) device.ReleaseShape(shape);
  state.SetItemsProcessed(state.iterations() * kSmallShapes);
}
BENCHMARK(BM_DrawSmallShapesStored)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_DrawSmallShapesUnstored(benchmark::State& state) {
  Bench::GLSession& session = Bench::GLSession::Get();
  session.MakeDeviceCurrent();
  IOpenGL& device = session.Device();
  std::vector<std::vector<Point>> quads;
  for (int i = 0; i < kSmallShapes; ++i) quads.push_back(SmallQuad(i));
  for (auto _ : state) {
    device.Clear(BLACK);
    device.SetColor(TEAL, 1.0f);
    for (const auto& quad : quads) device.DrawShape(SHAPE_TRIANGLE_STRIP, 4, quad.data(), nullptr);
    Bench::Finish();
  }
  state.SetItemsProcessed(state.iterations() * kSmallShapes);
}
BENCHMARK(BM_DrawSmallShapesUnstored)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace Kelo
