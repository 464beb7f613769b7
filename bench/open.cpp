// Opening a frame of 10 million cases (a key, a text of 50 values, a cluster number and two sizes): Parquet, whose
// metadata tells most; and CSV beside DuckDB's own CREATE TABLE AS of the same file. Each opening is in a process of
// its own, whose peak of memory is shown.
//
//   bench_open [rows]

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "host/engine/ActiveFile.h"
#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/environment/HostSession.h"
#include "host/files/TemporaryFolder.h"
#include "host/read/OpenFrame.h"

namespace {

constexpr int kTimes = 3;  // of each kind, in turn; the fastest counts

struct Cost {
  double seconds = 1e9;
  double megabytes = 0.0;  // at most, the whole process
};

// Runs a step in a process of its own, with a session that isn't counted in its time.
void Measure(const std::function<void()>& step, Cost* cost) {
  int channel[2];
  if (pipe(channel) != 0) std::exit(1);
  const pid_t child = fork();
  if (child == 0) {
    const HostSession session;
    HostSession::Current().Layer<WorkDatabase>();
    const auto start = std::chrono::steady_clock::now();
    step();
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    _exit(write(channel[1], &seconds, sizeof seconds) == sizeof seconds ? 0 : 1);
  }
  int status = 0;
  rusage usage{};
  wait4(child, &status, 0, &usage);
  double seconds = 0.0;
  if (status != 0 || read(channel[0], &seconds, sizeof seconds) != sizeof seconds) std::exit(1);
  close(channel[0]);
  close(channel[1]);
  cost->seconds = std::min(cost->seconds, seconds);
  cost->megabytes = std::max(cost->megabytes, static_cast<double>(usage.ru_maxrss) / 1024.0);
}

void Run(const std::string& sql) {
  HostSession::Current().Layer<WorkDatabase>().Connect().Run(sql);
}

}  // namespace

int main(int count, char** arguments) {
  const std::string rows = count > 1 ? arguments[1] : "10000000";
  const TemporaryFolder folder;
  const std::string parquet = folder.Path() + "/frame.parquet";
  const std::string csv = folder.Path() + "/frame.csv";
  Cost ignored, numbers, texts, ours, theirs;
  Measure(
      [&] {
        Run("COPY (SELECT id, 'Region ' || lpad((psu % 50)::VARCHAR, 2, '0') AS region, psu, mos, income "
            "FROM (SELECT i "
            "AS id, (hash(i) % 20000)::INTEGER AS psu, (hash(i + 1) % 100000) / 100.0 AS mos, (hash(i + 2) % "
            "10000000) / "
            "100.0 AS income FROM range(" +
            rows + ") t(i))) TO " + QuoteLiteral(parquet));
        Run("COPY (FROM " + QuoteLiteral(parquet) + ") TO " + QuoteLiteral(csv));
        Run("COPY (SELECT id, psu, mos, income FROM " + QuoteLiteral(parquet) + ") TO " +
            QuoteLiteral(folder.Path() + "/numbers.parquet"));
      },
      &ignored);
  const auto open = [](const std::string& path) { OpenFrame(HostSession::Current(), {.path = path}); };
  for (int i = 0; i < kTimes; ++i) {
    Measure([&] { open(folder.Path() + "/numbers.parquet"); }, &numbers);
    Measure([&] { open(parquet); }, &texts);
    Measure([&] { open(csv); }, &ours);
    Measure([&] { Run("CREATE TABLE t AS FROM " + QuoteLiteral(csv)); }, &theirs);
  }
  std::printf("cases %s\n", rows.c_str());
  std::printf("Parquet of numbers       %.3f s\n", numbers.seconds);
  std::printf("Parquet with a text      %.3f s\n", texts.seconds);
  std::printf("CSV                      %.2f s, %.0f MB (under 600)\n", ours.seconds, ours.megabytes);
  std::printf("CREATE TABLE AS of it    %.2f s, %.0f MB\n", theirs.seconds, theirs.megabytes);
  std::printf("ratio                    %.2f (at most 2)\n", ours.seconds / theirs.seconds);
  return 0;
}
