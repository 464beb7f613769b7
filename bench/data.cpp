// Reading: a pass over two bound numeric columns of 10 million cases through the procedure's iterator, beside
// the time in which the same query is drained through DuckDB's C API on the same number of threads; and the
// memory that the pass takes beyond the empty process.
//
//   bench_data [rows]

#include <duckdb.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>

#include "host/engine/ActiveFile.h"
#include "host/engine/DuckDb.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostSession.h"
#include "host/model/CaseValue.h"
#include "host/model/KORV_DataSource.h"
#include "host/read/OpenFrame.h"

namespace {

constexpr int kPasses = 5;  // of each kind, in turn; the fastest counts

double Seconds(const std::function<void()>& step) {
  const auto start = std::chrono::steady_clock::now();
  step();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// A line of the process's status in MB: "VmRSS:" now, "VmHWM:" at its peak.
double Resident(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    double kilobytes = 0.0;
    if (word == key && status >> kilobytes) return kilobytes / 1024.0;
  }
  return 0.0;
}

// Writes the frame in a process of its own, so that its memory isn't ours.
void Generate(const std::string& path, const std::string& rows) {
  const pid_t child = fork();
  if (child == 0) {
    const HostSession session;
    HostSession::Current().Layer<WorkDatabase>().Connect().Run(
        "COPY (SELECT i AS id, lpad(i::VARCHAR, 12, '0') AS name, random() * 100 AS size, random() AS share "
        "FROM "
        "range(" +
        rows + ") t(i)) TO " + QuoteLiteral(path));
    std::fflush(nullptr);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (status != 0) std::exit(1);
}

double PassThroughIterator() {
  ProcedureDataSource source;
  const std::unique_ptr<KORV_InputCaseIterator> iterator(source.MakeInputCaseIterator(0));
  const CaseValue size(iterator.get(), 2);
  const CaseValue share(iterator.get(), 3);
  double sum = 0.0;
  while (iterator->NextCase() != 0) sum += size.fpObs->number * share.fpObs->number;
  return sum;
}

idx_t Drain(const std::string& path) {
  DuckConnection connection = HostSession::Current().Layer<WorkDatabase>().Connect();
  DuckResult result = connection.Stream("SELECT size, share FROM read_parquet(" + QuoteLiteral(path) + ")");
  idx_t rows = 0;
  while (const DuckChunk chunk = result.Fetch()) rows += chunk.Rows();
  return rows;
}

}  // namespace

int main(int count, char** arguments) {
  const std::string rows = count > 1 ? arguments[1] : "10000000";
  const double empty = Resident("VmRSS:");
  const HostSession session;
  const TemporaryFolder folder;
  const std::string path = folder.Path() + "/frame.parquet";
  Generate(path, rows);

  double sum = 0.0;
  const double opening = Seconds([&] { OpenFrame(HostSession::Current(), {.path = path}); });
  double ours = Seconds([&] { sum = PassThroughIterator(); });
  const double peak = Resident("VmHWM:");
  double theirs = Seconds([&] { Drain(path); });
  for (int i = 1; i < kPasses; ++i) {
    ours = std::min(ours, Seconds([&] { sum = PassThroughIterator(); }));
    theirs = std::min(theirs, Seconds([&] { Drain(path); }));
  }
  std::printf("cases %s, threads %d, sum %.6f\n", rows.c_str(), GETTHREADS(), sum);
  std::printf("opening, with its scan   %.3f s\n", opening);
  std::printf("pass through iterator    %.3f s\n", ours);
  std::printf("query drained            %.3f s\n", theirs);
  std::printf("ratio                    %.2f (at most 3)\n", ours / theirs);
  std::printf("resident beyond empty    %.0f MB (under 400)\n", peak - empty);
  return 0;
}
