#include <gmock/gmock.h>

#include <chrono>
#include <random>

#include "ProgramRun.h"

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

constexpr int kKilled = 128 + 9;  // what the shell makes of a process that signal 9 ended

// Runs "a" and "b" write the same files, and differ in all of them but the schema.
std::string RunOf(const std::string& run) {
  return "env TMPDIR=$PWD/../tmp $S run --data $E/schools.csv --plan ../" + run + ".xml --seed " +
         (run == "a" ? "1" : "2") + " --sample s.sav --joint j.csv --rule r.txt --quiet";
}

// Each file by its bytes; the native one, a database, by what the program says of it. It is also the one that
// the program looks at first, which finishes what a killed run has begun.
std::vector<std::string> FilesOf(const ProgramFolder& folder) {
  folder.Run(
      "$S describe s.sav; cmp -s s.sav ../seen || { cp s.sav ../seen && $S describe s.sav >../told; }");
  return {folder.Text("../told"), folder.Text("j.csv"), folder.Text("j.schema.json"), folder.Text("r.txt")};
}

}  // namespace

// Whenever a run is killed, all of its files are whole and of one run once the program looks at one of them;
// and the next run leaves nothing of the killed one.
TEST(Program, LeavesWholeFilesWhenKilled) {
  const ProgramFolder folder;
  folder.Run(
      "mkdir ../tmp; for w in a b; do sed s/sampling_weight/w_$w/ $E/plans/two-stages.xml >../$w.xml; done");
  ASSERT_EQ(folder.Run(RunOf("b")).status, 0);
  const std::vector<std::string> filesOfB = FilesOf(folder);
  const Clock::time_point start = Clock::now();
  ASSERT_EQ(folder.Run(RunOf("a")).status, 0);
  const Clock::time_point begin = Clock::now();
  const Seconds duration = begin - start;
  const std::vector<std::string> filesOfA = FilesOf(folder);
  ASSERT_NE(filesOfA[0], filesOfB[0]);
  std::mt19937 random(4711);
  int kills = 0;
  // At least one run is killed before its end; beyond that, as many as a few seconds allow.
  for (int round = 0; round < 30 && (kills == 0 || Clock::now() - begin < Seconds(6)); ++round) {
    // Three of four kills come when the run writes its last file.
    const bool atWriting = round % 4 != 0;
    const double delay =
        duration.count() * std::uniform_real_distribution<>(0.0, atWriting ? 0.6 : 1.0)(random);
    const std::string script = "touch ../now; (exec " + RunOf(round % 2 == 0 ? "b" : "a") +
                               ") & p=$!; for i in $(seq " + (atWriting ? "200" : "0") +
                               "); do [ .r.txt.svselect-lock -nt ../now ] && break; sleep 0.002; done; " +
                               "sleep " + std::to_string(delay) + "; kill -9 $p; wait $p";
    if (folder.Run(script).status == kKilled) ++kills;
    const std::vector<std::string> files = FilesOf(folder);
    EXPECT_TRUE(files == filesOfA || files == filesOfB) << "round " << round;
  }
  EXPECT_GE(kills, 1);
  ASSERT_EQ(folder.Run(RunOf("a")).status, 0);
  EXPECT_EQ(folder.Run("ls -A . ../tmp").out, ".:\nj.csv\nj.schema.json\nr.txt\ns.sav\n\n../tmp:\n");
}
