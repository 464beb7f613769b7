// Writing 1 million cases of 10 columns through AddCase(), held against DuckDB's own statement over the same
// rows on the same number of threads. The counter `ratio` is our time by DuckDB's, over all iterations.
#include <benchmark/benchmark.h>
#include <fmt/format.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <vector>

#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostSession.h"
#include "host/files/SessionFiles.h"
#include "host/files/UserCaseFileSpec.h"
#include "host/model/KORV_Case.h"
#include "host/write/IndependentDataStore.h"
#include "host/write/UserOutputCaseFile.h"

namespace {

constexpr int kCases = 1'000'000;
constexpr int kTextWidth = 12;

// A bigint, a string of 12, eight doubles.
constexpr const char* kRows =
    "SELECT i AS id, printf('unit%08d', i) AS name, i / 7.0 AS d2, sqrt(i) AS d3, (i * 7919 % 1000) / 8.0 AS "
    "d4, (i % 5)::DOUBLE AS d5, ln(i + 1.0) AS d6, (i * 31 % 977)::DOUBLE AS d7, sin(i) AS d8, i * 1.5 AS d9 "
    "FROM range(1000000) t(i)";

double Seconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The rows as cases, one behind the other: what the benchmark hands to AddCase().
std::vector<OBS> CellsOfRows(DuckConnection& connection) {
  std::vector<OBS> cells;
  DuckResult result = connection.Query("SELECT * REPLACE (id::DOUBLE AS id) FROM rows");
  while (const DuckChunk chunk = result.Fetch()) {
    for (std::size_t row = 0; row < chunk.Rows(); ++row) {
      for (std::size_t column = 0; column < 10; ++column) {
        if (column == 1) {
          char text[2 * sizeof(OBS)];
          std::memset(text, ' ', sizeof text);
          std::memcpy(text, TextOf(chunk.Values<duckdb_string_t>(1)[row]).data(), kTextWidth);
          cells.resize(cells.size() + 2);
          std::memcpy(&cells[cells.size() - 2], text, sizeof text);
        } else {
          cells.push_back({.number = chunk.Values<double>(column)[row]});
        }
      }
    }
  }
  return cells;
}

void WriteThroughStore(const std::string& path, std::vector<OBS>* cells) {
  UserCaseFileSpec spec;
  spec.Init(path, true, true);
  {
    UserOutputCaseFile out(spec);
    IndependentDataStore& store = *out.DataSource();
    int index = 0;
    KORV_Variable id("id", 0);
    id.SetColumnType("BIGINT");
    store.MakeVariable(id, index);
    store.MakeVariable(KORV_Variable("name", kTextWidth), index);
    for (int i = 2; i < 10; ++i) store.MakeVariable(0, index).SetName(fmt::format("d{}", i));
    store.FinishDictionary();
    std::vector<OBS> buffer(store.CaseCellCount());
    KORV_Case values(store, buffer.data());
    for (std::size_t at = 0; at < cells->size(); at += buffer.size()) {
      std::memcpy(buffer.data(), &(*cells)[at], buffer.size() * sizeof(OBS));
      store.AddCase(values);
    }
    store.CloseStore();
  }
  CommitFiles();
  spec.Init("", true, true);
}

void Store(benchmark::State& state, const char* extension,
           const std::function<void(DuckConnection&, const std::string&)>& baseline) {
  HostSession session;
  DuckConnection connection = HostSession::Current().Layer<WorkDatabase>().Connect();
  connection.Run(fmt::format("CREATE TABLE rows AS {}", kRows));
  std::vector<OBS> cells = CellsOfRows(connection);
  const TemporaryFolder folder;
  const std::string ours = fmt::format("{}/ours{}", folder.Path(), extension);
  const std::string theirs = fmt::format("{}/theirs{}", folder.Path(), extension);
  double ourSeconds = 0.0;
  double theirSeconds = 0.0;
  for (auto _ : state) {
    std::filesystem::remove(theirs);
    theirSeconds += Seconds([&] { baseline(connection, theirs); });
    const double seconds = Seconds([&] { WriteThroughStore(ours, &cells); });
    ourSeconds += seconds;
    state.SetIterationTime(seconds);
  }
  state.SetItemsProcessed(state.iterations() * kCases);
  if (theirSeconds > 0.0) state.counters["ratio"] = ourSeconds / theirSeconds;
}

void Parquet(benchmark::State& state) {
  Store(state, ".parquet", [](DuckConnection& connection, const std::string& path) {
    connection.Run(fmt::format("COPY rows TO {} (FORMAT parquet)", QuoteLiteral(path)));
  });
}

void Native(benchmark::State& state) {
  Store(state, ".sav", [](DuckConnection& connection, const std::string& path) {
    connection.Run(fmt::format("ATTACH {} AS theirs", QuoteLiteral(path)));
    connection.Run("CREATE TABLE theirs.cases AS FROM rows");
    connection.Run("CHECKPOINT theirs");
    connection.Run("DETACH theirs");
  });
}

void Csv(benchmark::State& state) {
  Store(state, ".csv", [](DuckConnection& connection, const std::string& path) {
    connection.Run(fmt::format("COPY rows TO {} (FORMAT csv, HEADER)", QuoteLiteral(path)));
  });
}

// A matrix of 1,000 by 1,000: the joint probabilities of one large stratum.
void Matrix(benchmark::State& state) {
  constexpr int kUnits = 1000;
  HostSession session;
  const TemporaryFolder folder;
  for (auto _ : state) {
    UserCaseFileSpec spec(FileRole::kJoint);
    spec.Init(folder.Path() + "/joint.sav", true, true);
    UserOutputCaseFile out(spec);
    IndependentDataStore& store = *out.DataSource();
    int index = 0;
    for (int i = 0; i < kUnits; ++i) store.MakeVariable(0, index).SetName(fmt::format("Joint_Prob_{}_", i));
    store.FinishDictionary();
    std::vector<OBS> buffer(store.CaseCellCount());
    KORV_Case values(store, buffer.data());
    for (int row = 0; row < kUnits; ++row) {
      for (int i = 0; i < kUnits; ++i) values.SetColumnValue(i, 1.0 / (row + i + 1.0));
      store.AddCase(values);
    }
    store.CloseStore();
    CommitFiles();
  }
}

BENCHMARK(Parquet)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Native)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Csv)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Matrix)->UseRealTime()->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
