// What a level load costs in vertex storage: making many small stored shapes
// through the device, as a host does, and replacing a third of them. Every
// round runs each workload once, interleaved, on a fresh storage manager;
// the table shows medians. Usage: kelo_storage_bench [most shapes] [rounds]
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bench/gl_session.h"
#include "kelo/colors.h"
#include "shapes/vram.h"

namespace {

using Clock = std::chrono::steady_clock;
constexpr unsigned long kQuadPoints = 6;

// A quad of two triangles, six points, a little apart from its neighbours.
std::vector<Kelo::Point> Quad(unsigned long i) {
  const float x = static_cast<float>(i % 1000);
  const float y = static_cast<float>(i / 1000 % 1000);
  return {{x, y}, {x + 1, y}, {x, y + 1}, {x + 1, y}, {x + 1, y + 1}, {x, y + 1}};
}

class Level {
public:
  explicit Level(Kelo::IOpenGL& device) : device(device) {}
  ~Level() {
    for (unsigned long shape : shapes) device.ReleaseShape(shape);
  }

  void Make(unsigned long count) {
    for (unsigned long i = 0; i < count; ++i) shapes.push_back(MakeOne(i));
  }
  // Every third shape goes, then as many new ones take their places.
  void Churn() {
    for (size_t i = 0; i < shapes.size(); i += 3) device.ReleaseShape(shapes[i]);
    for (size_t i = 0; i < shapes.size(); i += 3) shapes[i] = MakeOne(i);
  }

private:
  unsigned long MakeOne(unsigned long i) {
    const auto points = Quad(i);
    unsigned long shape = 0;
    if (!device.CreateShape(shape, Kelo::SHAPE_TRIANGLES, kQuadPoints, Kelo::TEAL, 1.0f,
                            points.data(), nullptr)) {
      std::fprintf(stderr, "cannot create shape %lu\n", i);
      std::exit(1);
    }
    return shape;
  }

  Kelo::IOpenGL& device;
  std::vector<unsigned long> shapes;
};

// Each measurement starts from a storage manager with one empty buffer, as a
// first level load does.
Kelo::IOpenGL& FreshStorage() {
  Bench::GLSession& session = Bench::GLSession::Get();
  if (Kelo::VRAMManager) {
    Kelo::VRAMManager->Release();
    delete Kelo::VRAMManager;
    Kelo::VRAMManager = nullptr;
  }
  session.MakeDeviceCurrent();
  return session.Device();
}

double Seconds(Clock::time_point since) {
  return std::chrono::duration<double>(Clock::now() - since).count();
}

double TimeMaking(unsigned long count) {
  Level level(FreshStorage());
  const auto start = Clock::now();
  level.Make(count);
  Bench::Finish();
  return Seconds(start);
}

double TimeChurn(unsigned long count) {
  Level level(FreshStorage());
  level.Make(count);
  Bench::Finish();
  const auto start = Clock::now();
  level.Churn();
  Bench::Finish();
  return Seconds(start);
}

double Median(std::vector<double> times) {
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  const unsigned long most = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1000000;
  const int rounds = argc > 2 ? std::atoi(argv[2]) : 5;
  const unsigned long churned = 100000;
  std::vector<unsigned long> counts;
  for (unsigned long count = 1000; count <= most; count *= 10) counts.push_back(count);

  std::vector<std::vector<double>> making(counts.size());
  std::vector<double> churn;
  for (int round = 0; round < rounds; ++round) {
    for (size_t i = 0; i < counts.size(); ++i) making[i].push_back(TimeMaking(counts[i]));
    if (churned <= most) churn.push_back(TimeChurn(churned));
    std::fprintf(stderr, "round %d of %d done\n", round + 1, rounds);
  }

  std::printf("%-44s %12s %10s\n", "workload (median of rounds)", "seconds", "growth");
  for (size_t i = 0; i < counts.size(); ++i) {
    const double time = Median(making[i]);
    std::printf("make %8lu quads of six points             %12.4f", counts[i], time);
    if (i > 0) std::printf(" %9.1fx", time / Median(making[i - 1]));
    std::printf("\n");
  }
  if (!churn.empty()) {
    const double time = Median(churn);
    const double tenThousand = Median(making[1]);
    std::printf("release a third of %lu and make as many %12.4f %9.1fx of making 10k\n", churned,
                time, time / tenThousand);
  }
  return 0;
}
