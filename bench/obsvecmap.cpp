// Lookup of known keys in an ObsVecMap: one numeric key among 10,000, in random order.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "CountedAllocations.h"
#include "host/model/ObsVecMap.h"

namespace {

constexpr std::size_t kKeys = 10'000;

void ContainsKnownKey(benchmark::State& state) {
  std::mt19937_64 random(1);
  ObsVecMap map({0}, 1);
  for (std::size_t i = 0; i < kKeys; ++i) {
    OBS key;
    key.number = static_cast<double>(i);
    map.Insert(&key)->number = 1.0;
  }
  std::vector<OBS> lookups(1 << 16);
  for (OBS& key : lookups) key.number = static_cast<double>(random() % kKeys);
  const std::size_t before = gAllocations;
  double sum = 0.0;
  std::size_t i = 0;
  for (auto _ : state) {
    sum += map.Contains(&lookups[i])->number;
    i = (i + 1) % lookups.size();
  }
  benchmark::DoNotOptimize(sum);
  state.counters["allocations"] = static_cast<double>(gAllocations - before);
}
BENCHMARK(ContainsKnownKey);

}  // namespace

BENCHMARK_MAIN();
