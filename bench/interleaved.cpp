#include "bench/interleaved.h"

#include <algorithm>
#include <chrono>
#include <vector>

namespace Bench {
namespace {

double Seconds(const std::function<void()>& frame) {
  const auto start = std::chrono::steady_clock::now();
  frame();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t middle = values.size() / 2;
  return values.size() % 2 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace

Interleaved Interleave(const std::function<void()>& a, const std::function<void()>& b, int rounds,
                       int frames) {
  // One frame of each first, so that neither pays for warming caches.
  a();
  b();
  std::vector<double> ratios, timesA, timesB;
  for (int round = 0; round < rounds; ++round) {
    double sumA = 0, sumB = 0;
    for (int frame = 0; frame < frames; ++frame) {
      const double tA = Seconds(a), tB = Seconds(b);
      sumA += tA;
      sumB += tB;
      timesA.push_back(tA);
      timesB.push_back(tB);
    }
    ratios.push_back(sumA / sumB);
  }
  return {Median(ratios), Median(timesA) * 1e3, Median(timesB) * 1e3};
}

void ReportInterleaved(benchmark::State& state, const std::function<void()>& a,
                       const std::function<void()>& b, int rounds, int frames) {
  Interleaved result{};
  for (auto _ : state) result = Interleave(a, b, rounds, frames);
  state.counters["ratio"] = result.ratio;
  state.counters["ms_a"] = result.msA;
  state.counters["ms_b"] = result.msB;
}

}  // namespace Bench
