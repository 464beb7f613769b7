// One pass over ten million records in memory: what tabulating a record costs, and what a unit weighs.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <vector>

#include "MemoryRecords.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/tabulation/SVSDataTabulator.h"
#include "host/environment/MCStopProcessor.h"
#include "host/numeric/MCRandomTwister.h"

namespace {

constexpr int kRecords = 10'000'000;
constexpr int kStrata = 100, kClusters = 200;
enum Column { kStratum, kCluster, kCase, kWidth };

// Records in random order, or as a survey's frame mostly comes: cluster by cluster.
MemoryRecords& Records(bool sorted) {
  const auto make = [](bool bySort) {
    std::mt19937 engine(1);
    std::vector<double> values;
    values.reserve(static_cast<std::size_t>(kRecords) * kWidth);
    for (int i = 0; i < kRecords; ++i) {
      const int outer = bySort ? i / (kRecords / (kStrata * kClusters)) : static_cast<int>(engine() >> 1);
      values.push_back(1 + outer / kClusters % kStrata);
      values.push_back(1 + outer % kClusters);
      values.push_back(i);
    }
    return MemoryRecords(kWidth, std::move(values));
  };
  static MemoryRecords records[] = {make(false), make(true)};
  records[sorted].Reset();
  return records[sorted];
}

// What a run gives to its tabulators.
struct Run {
  explicit Run(const SVSCompSettings& given) : settings(given) { random.Initialize(1); }
  std::unique_ptr<SVSDataTabulator> Tabulate(int stage, SVSDataTabulator* previous, bool sorted = false) {
    auto tabulator = std::make_unique<SVSDataTabulator>(&settings, stage, previous, &cancel);
    tabulator->SetRandom(&random);
    tabulator->SetOutputStats(&out);
    Require(tabulator->ProcessData(Records(sorted)));
    if (tabulator->ValidCount() != kRecords) std::abort();
    return tabulator;
  }
  static void Require(const SVStatus& status) {
    if (!status.IsError()) return;
    std::fprintf(stderr, "status %d\n", status.code);
    std::abort();
  }
  SVSCompSettings settings;
  MCStopProcessor stop{0.0};
  SVCancelInfo cancel{&stop};
  SVSOutSamples out;
  MCCommonMath::MCRandomTwister random;
};

SVSCompSettings Settings(bool cases, int clusters = kClusters) {
  SVSCompSettings settings;
  settings.SetCaseIdVar(kCase);
  if (!cases) {
    settings.AddDesignVar(kStratum, kRoleStrata, 1);
    settings.AddDesignVar(kCluster, kRoleCluster, 1);
  }
  for (const int stage : {1, 2}) {
    settings.SetMethod(kMethodSimpleWor, stage);
    settings.SetSpecValue(clusters, kSizeValue, stage);
    settings.AddSelectStage(stage);
  }
  return settings;
}

void PerRecord(benchmark::State& state) {
  state.counters["s/record"] = benchmark::Counter(
      kRecords, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

std::size_t HeapBytes() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

void FirstStage(benchmark::State& state) {
  Run run(Settings(false));
  Records(false);
  for (auto _ : state) benchmark::DoNotOptimize(run.Tabulate(1, nullptr));
  PerRecord(state);
}
BENCHMARK(FirstStage)->Unit(benchmark::kMillisecond);

// Cases in the clusters that the first stage selected.
void LaterStage(benchmark::State& state) {
  Run run(Settings(false, static_cast<int>(state.range(0))));
  const bool sorted = state.range(1) != 0;
  const std::unique_ptr<SVSDataTabulator> first = run.Tabulate(1, nullptr, sorted);
  Run::Require(first->SelectSamples(nullptr, nullptr));
  for (auto _ : state) benchmark::DoNotOptimize(run.Tabulate(2, first.get(), sorted));
  PerRecord(state);
}
BENCHMARK(LaterStage)
    ->ArgNames({"clusters selected", "sorted"})
    ->ArgsProduct({{20, kClusters}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

void CasesAsUnits(benchmark::State& state) {
  Run run(Settings(true));
  Records(false);
  std::size_t bytes = 0;
  for (auto _ : state) {
    const std::size_t before = HeapBytes();
    const std::unique_ptr<SVSDataTabulator> tabulator = run.Tabulate(1, nullptr);
    bytes = HeapBytes() - before;
  }
  PerRecord(state);
  state.counters["bytes/unit"] = static_cast<double>(bytes) / kRecords;
}
BENCHMARK(CasesAsUnits)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
