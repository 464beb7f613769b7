// One pass from a Parquet frame of 10 million cases in random order into a tabulator, beside the time in
// which the same columns are streamed through DuckDB's C API on one thread and added up.
//
//   bench_pass [cases [folder]]
//
// The frame has two string strata of 50 values in all, 20,000 integer clusters nested in them and a double
// measure of size; it is made anew in a process of its own, whose memory doesn't count.
#include <duckdb.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>

#include "CountedAllocations.h"
#include "backend/svcommon/adapters/SVMessages.h"
#include "backend/svcommon/adapters/SVProcDSMultiIter.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "backend/svselect/tabulation/SVSDataTabulator.h"
#include "host/engine/ActiveFile.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/environment/HostSession.h"
#include "host/numeric/MCRandomTwister.h"
#include "host/read/OpenFrame.h"

namespace {

constexpr int kRounds = 3;  // each figure is the best of them

// What a stretch of the program took, by the clock and in the processors' time of all its threads; the latter
// is what stays comparable on a busy machine.
struct Cost {
  double wall = 0.0;
  double cpu = 0.0;
};

Cost Now() {
  const auto wall = std::chrono::steady_clock::now().time_since_epoch();
  return {std::chrono::duration<double>(wall).count(), static_cast<double>(std::clock()) / CLOCKS_PER_SEC};
}

Cost Since(const Cost& start) {
  const Cost now = Now();
  return {now.wall - start.wall, now.cpu - start.cpu};
}

void KeepBest(Cost* best, const Cost& cost) {
  best->wall = std::min(best->wall, cost.wall);
  best->cpu = std::min(best->cpu, cost.cpu);
}

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "bench_pass: %s\n", what);
  std::exit(1);
}

// An in-memory database that runs one statement at a time.
struct Database {
  Database() {
    if (duckdb_open(nullptr, &database) != DuckDBSuccess) Fail("no database");
    if (duckdb_connect(database, &connection) != DuckDBSuccess) Fail("no connection");
  }
  ~Database() {
    duckdb_disconnect(&connection);
    duckdb_close(&database);
  }
  void Run(const std::string& sql) {
    if (duckdb_query(connection, sql.c_str(), nullptr) != DuckDBSuccess) Fail(sql.c_str());
  }
  duckdb_database database;
  duckdb_connection connection;
};

// The cluster of a case is a hash of its number; stratum and size follow from the cluster.
void MakeFrame(const std::string& path, const std::string& cases) {
  const pid_t child = fork();
  if (child == 0) {
    Database db;
    db.Run(
        "COPY (SELECT 'region ' || (c % 40) AS region, 'type ' || (c // 40 % 10) AS type, c AS cluster,"
        " 1 + c % 97 + 0.25 AS size FROM (SELECT (hash(i) % 20000)::INTEGER AS c FROM range(" +
        cases + ") t(i))) TO '" + path + "' (FORMAT parquet)");
    _exit(0);
  }
  int status = 1;
  if (child < 0 || waitpid(child, &status, 0) != child || status != 0) Fail("no frame");
}

Cost Stream(const std::string& path) {
  Database db;
  db.Run("SET threads = 1");
  const Cost start = Now();
  duckdb_prepared_statement statement;
  const std::string sql = "SELECT region, type, cluster, size FROM '" + path + "'";
  if (duckdb_prepare(db.connection, sql.c_str(), &statement) != DuckDBSuccess) Fail("no statement");
  duckdb_pending_result pending;
  if (duckdb_pending_prepared_streaming(statement, &pending) != DuckDBSuccess) Fail("no stream");
  duckdb_result result;
  if (duckdb_execute_pending(pending, &result) != DuckDBSuccess) Fail("no result");
  double sum = 0.0;
  while (duckdb_data_chunk chunk = duckdb_fetch_chunk(result)) {
    const idx_t rows = duckdb_data_chunk_get_size(chunk);
    for (idx_t column = 0; column < 2; ++column) {
      const auto* texts =
          static_cast<duckdb_string_t*>(duckdb_vector_get_data(duckdb_data_chunk_get_vector(chunk, column)));
      for (idx_t row = 0; row < rows; ++row) sum += texts[row].value.inlined.length;
    }
    const auto* clusters =
        static_cast<std::int32_t*>(duckdb_vector_get_data(duckdb_data_chunk_get_vector(chunk, 2)));
    const auto* sizes = static_cast<double*>(duckdb_vector_get_data(duckdb_data_chunk_get_vector(chunk, 3)));
    for (idx_t row = 0; row < rows; ++row) sum += clusters[row] + sizes[row];
    duckdb_destroy_data_chunk(&chunk);
  }
  const Cost cost = Since(start);
  duckdb_destroy_result(&result);
  duckdb_destroy_pending(&pending);
  duckdb_destroy_prepare(&statement);
  if (!(sum > 0.0)) Fail("nothing was read");
  return cost;
}

// `*allocations`: for one case, by all that runs.
Cost Tabulate(const std::string& path, double* allocations) {
  HostSession session;
  FrameOptions options;
  options.path = path;
  OpenFrame(HostSession::Current(), options);
  ProcedureDataSource source;
  DesignStage stage(1);
  stage.setStrata({source.FindVarIndex("region", 0), source.FindVarIndex("type", 0)});
  stage.setClusters({source.FindVarIndex("cluster", 0)});
  stage.setMethodType(kMethodPpsWr);
  stage.setSizeValue(2);
  const std::vector<std::int32_t> selected = {1};
  SVSValidSpecs specs;
  specs.AddDesignStage("", &stage, nullptr, nullptr, nullptr);
  specs.SetMosVariable(source.FindVarIndex("size", 0));
  specs.SetSelectStages(&selected);
  specs.SetSeed(1);
  specs.Validate();

  const std::size_t before = gAllocations;
  const Cost start = Now();
  SVMessages messages(&source);
  auto cases = SVProcDSMultiIter::MakeIterator(&source);
  SVSInputAdapter adapter(&specs, &source, cases.get(), &messages);
  SVProcDSMultiIter iterator(&source, std::move(cases), &adapter, true);
  MCCommonMath::MCRandomTwister random;
  SVSOutSamples outSamples;
  SVCancelInfo cancelInfo(specs.CompSettings()->StopProcessor());
  SVSDataTabulator tabulator(specs.CompSettings(), 1, nullptr, &cancelInfo);
  tabulator.SetRandom(&random);
  tabulator.SetOutputStats(&outSamples);
  if (!tabulator.ProcessData(iterator).IsOK()) Fail("the pass failed");
  const Cost cost = Since(start);
  const auto read = static_cast<double>(std::max<std::int64_t>(1, adapter.CasesRead()));
  *allocations = static_cast<double>(gAllocations - before) / read;
  return cost;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string cases = argc > 1 ? argv[1] : "10000000";
  const std::filesystem::path folder = argc > 2 ? argv[2] : std::filesystem::temp_directory_path();
  const std::string path = folder / ("bench-pass-" + std::to_string(getpid()) + ".parquet");
  MakeFrame(path, cases);
  Cost pass{1e9, 1e9}, stream{1e9, 1e9};
  double allocations = 0.0;
  rusage usage{};
  for (int round = 0; round < kRounds; ++round) KeepBest(&pass, Tabulate(path, &allocations));
  getrusage(RUSAGE_SELF, &usage);
  for (int round = 0; round < kRounds; ++round) KeepBest(&stream, Stream(path));
  std::filesystem::remove(path);
  std::printf("%s cases      pass   stream  ratio\n", cases.c_str());
  std::printf("  wall   %8.3f %8.3f %6.2f\n", pass.wall, stream.wall, pass.wall / stream.wall);
  std::printf("  cpu    %8.3f %8.3f %6.2f\n", pass.cpu, stream.cpu, pass.cpu / stream.cpu);
  std::printf("  %.4f allocations a case, %ld MB resident\n", allocations, usage.ru_maxrss / 1024);
  return 0;
}
