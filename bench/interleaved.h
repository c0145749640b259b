// Two kinds of frame timed in turns, so that whatever else the shared
// machine does at the time weighs on both alike.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>

namespace Bench {

struct Interleaved {
  double ratio;  // median over the rounds of (time of `a`) / (time of `b`)
  double msA;    // median frame times
  double msB;
};

// Each round draws `frames` frames of `a` and of `b`, alternating.
Interleaved Interleave(const std::function<void()>& a, const std::function<void()>& b, int rounds,
                       int frames);

// Runs Interleave once as the benchmark's only iteration and reports its
// figures as counters.
void ReportInterleaved(benchmark::State& state, const std::function<void()>& a,
                       const std::function<void()>& b, int rounds, int frames);

}  // namespace Bench
