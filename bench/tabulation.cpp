// One pass over ten million records in memory: what tabulating a record costs, and what a unit weighs.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <random>
#include <span>
#include <vector>

#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/tabulation/SVSDataTabulator.h"
#include "host/environment/MCStopProcessor.h"
#include "host/numeric/MCRandomTwister.h"
#include "host/numeric/RecordIterator.h"

namespace {

constexpr std::size_t kRecords = 10'000'000;
constexpr int kStrata = 100, kClusters = 200;
enum Column { kStratum, kCluster, kCase, kWidth };

// Blocks of records in random order, or as a survey's frame mostly comes: cluster by cluster.
class Blocks : public MCCommon::MultiPassRecordIter {
public:
  explicit Blocks(bool bySort) {
    std::mt19937 engine(1);
    for (int i = 0; i < static_cast<int>(kRecords); ++i) {
      const int outer =
          bySort ? i / (static_cast<int>(kRecords) / (kStrata * kClusters)) : static_cast<int>(engine() >> 1);
      fStrata.push_back(1 + outer / kClusters % kStrata);
      fClusters.push_back(1 + outer % kClusters);
    }
    fRows.resize(kRows);
    std::iota(fRows.begin(), fRows.end(), 0U);
    fBlock.numbers.assign(kWidth, nullptr);
  }

  bool HasBlocks() const override { return true; }
  const MCCommon::RecordBlock* NextBlock() override {
    if (!HasMore()) return nullptr;
    fBlock.records = std::span(fRows).first(std::min(kRows, kRecords - fNext));
    fBlock.firstCase = static_cast<std::int64_t>(fNext);
    fBlock.codes = {&fStrata[fNext], &fClusters[fNext], nullptr};
    fNext += fBlock.records.size();
    return &fBlock;
  }
  bool HasMore() override { return fNext < kRecords; }
  MCCommon::Record* Next() override { return nullptr; }
  int Status() override { return HasMore() ? MCCommon::kRecordReady : MCCommon::kCasesExhausted; }
  int Reset() override {
    fNext = 0;
    return Status();
  }

private:
  static constexpr std::size_t kRows = 2048;

  std::vector<std::int32_t> fStrata, fClusters;
  std::vector<std::uint32_t> fRows;
  MCCommon::RecordBlock fBlock;
  std::size_t fNext = 0;
};

Blocks& Records(bool sorted) {
  static Blocks blocks[] = {Blocks(false), Blocks(true)};
  blocks[sorted].Reset();
  return blocks[sorted];
}

// What a run gives to its tabulators.
struct Run {
  explicit Run(const SVSCompSettings& given) : settings(given) { random.Initialize(1); }
  std::unique_ptr<SVSDataTabulator> Tabulate(int stage, SVSDataTabulator* previous, bool sorted = false) {
    auto tabulator = std::make_unique<SVSDataTabulator>(&settings, stage, previous, &cancel);
    tabulator->SetRandom(&random);
    tabulator->SetOutputStats(&out);
    Require(tabulator->ProcessData(Records(sorted)));
    if (tabulator->ValidCount() != std::int64_t{kRecords}) std::abort();
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
