// Joint inclusion probabilities of one stratum, all k = n selected units being spread over it. The argument
// `threads` cuts the work into as many ranges, each on a thread of its own.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <thread>

#include "backend/svselect/selection/PpsWorJoint.h"
#include "backend/svselect/selection/SampfordJoint.h"

namespace {

struct Stratum {
  std::vector<double> sizes, p, cumulative, matrix;
  std::vector<std::int32_t> selected;

  // Sizes 1 to 4, ascending.
  Stratum(std::size_t units, std::size_t n) : sizes(units), matrix(n * n), selected(n) {
    std::mt19937 random(1);
    for (double& size : sizes) size = 1.0 + 3.0 * static_cast<double>(random()) / 4294967296.0;
    std::sort(sizes.begin(), sizes.end());
    const double total = std::accumulate(sizes.begin(), sizes.end(), 0.0);
    for (const double size : sizes) p.push_back(size / total);
    cumulative.resize(units);
    std::partial_sum(p.begin(), p.end(), cumulative.begin());
    for (std::size_t a = 0; a < n; ++a) selected[a] = static_cast<std::int32_t>(a * units / n + 1);
  }
};

std::vector<SVSJointWork::Range> Ranges(std::size_t items, std::size_t count) {
  std::vector<SVSJointWork::Range> ranges;
  for (std::size_t r = 0; r < count; ++r) ranges.push_back({items * r / count, items * (r + 1) / count});
  return ranges;
}

void RunAll(SVSJointWork& work, std::size_t ranges) {
  const auto stop = [] { return false; };
  std::vector<std::thread> others;
  for (std::size_t r = 1; r < ranges; ++r) others.emplace_back([&work, &stop, r] { work.Run(r, stop); });
  work.Run(0, stop);
  for (std::thread& thread : others) thread.join();
}

// Arguments: N, n = k, threads.
void PpsWor(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(1));
  Stratum s(static_cast<std::size_t>(state.range(0)), n);
  const auto threads = static_cast<std::size_t>(state.range(2));
  for (auto _ : state) {
    PpsWorJoint work({.requested = static_cast<std::int32_t>(n),
                      .sizes = s.sizes,
                      .shares = s.p,
                      .cumulativeShares = s.cumulative},
                     {s.matrix, s.selected}, Ranges(n, threads));
    RunAll(work, threads);
    benchmark::DoNotOptimize(s.matrix.data());
  }
}
BENCHMARK(PpsWor)->Args({5000, 500, 1})->Args({5000, 500, 2})->UseRealTime()->Unit(benchmark::kMillisecond);

void Sampford(benchmark::State& state) {
  const auto n = static_cast<std::size_t>(state.range(1));
  Stratum s(static_cast<std::size_t>(state.range(0)), n);
  const auto threads = static_cast<std::size_t>(state.range(2));
  for (auto _ : state) {
    SampfordJoint work(s.p, static_cast<int>(n), false, {s.matrix, s.selected}, Ranges(n, threads));
    work.Prepare([] { return false; });
    RunAll(work, threads);
    benchmark::DoNotOptimize(s.matrix.data());
  }
}
BENCHMARK(Sampford)
    ->Args({1000, 100, 1})
    ->Args({2000, 200, 1})
    ->Args({5000, 500, 1})
    ->Args({5000, 500, 2})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
