#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using Seconds = std::chrono::duration<double>;
using Clock = std::chrono::steady_clock;

// A folder of the test's own, gone with it, where whole runs of the program write the same files: `w` is the
// name of the weight, by which the files of two runs differ.
class RunFolder {
public:
  RunFolder() {
    std::string name = fs::temp_directory_path() / "svselect-killed-XXXXXX";
    fPath = mkdtemp(name.data());
    fs::create_directories(fPath / "out");
    fs::create_directory(fPath / "tmp");
    for (const std::string w : {"w_a", "w_b"}) {
      std::ofstream(fPath / (w + ".xml"))
          << "<KORVSurveyPlans version='1.0'><SampleDesign numberOfStages='1'><SampleStage stageNumber='1' "
             "selectionMethod='pps_wor'><ClusterVarList numberOfVariables='1'><Variable name='county'/>"
             "</ClusterVarList><InputSampleSize><SingleValue value='3'/></InputSampleSize><MOS "
             "fromData='yes'/>"
             "<IncProb><Variable name='p"
          << w << "'/></IncProb></SampleStage><Weight><Variable name='" << w << "'/></Weight></SampleDesign>"
          << "</KORVSurveyPlans>";
    }
  }
  ~RunFolder() { fs::remove_all(fPath); }
  RunFolder(const RunFolder&) = delete;
  RunFolder& operator=(const RunFolder&) = delete;

  pid_t Start(const std::string& w) const {
    const std::string command =
        "cd " + (fPath / "out").string() + " && exec env TMPDIR=" + (fPath / "tmp").string() + " " +
        SV_PROGRAM + " run --data " + SV_EXAMPLES + "/schools.csv --plan ../" + w + ".xml --seed " +
        (w == "w_a" ? "1" : "2") + " --sample s.sav --joint j.csv --rule r.txt --quiet >/dev/null 2>&1";
    const pid_t child = fork();
    if (child == 0) {
      execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
      _exit(127);
    }
    return child;
  }
  int Run(const std::string& w) const {
    int status = 0;
    waitpid(Start(w), &status, 0);
    return status;
  }
  // Each file by its bytes; the native one, a database, by what the program says of it.
  std::vector<std::string> Files() {
    if (std::string sample = Text("s.sav"); sample != fSample) {
      fSample = std::move(sample);
      const std::string out = (fPath / "out").string();
      const std::string describe = std::string(SV_PROGRAM) + " describe " + out + "/s.sav";
      EXPECT_EQ(std::system((describe + " >" + out + "/../told 2>&1").c_str()), 0);
    }
    return {Text("../told"), Text("j.csv"), Text("j.schema.json"), Text("r.txt")};
  }
  // Waits until a run that was just started writes its last file, or has ended.
  void AwaitWriting(pid_t run) const {
    const auto start = fs::file_time_type::clock::now();
    const auto isWriting = [&] {
      std::error_code none;
      return fs::last_write_time(fPath / "out/.r.txt.svselect-new", none) > start && !none;
    };
    siginfo_t ended{};
    while (!isWriting() && ended.si_pid == 0 &&
           waitid(P_PID, static_cast<id_t>(run), &ended, WEXITED | WNOHANG | WNOWAIT) == 0) {
      usleep(1000);
    }
  }
  // Files beside the outputs.
  auto Litter() const { return std::distance(fs::directory_iterator(fPath / "out"), {}) - 4; }
  auto LitterElsewhere() const { return std::distance(fs::directory_iterator(fPath / "tmp"), {}); }

private:
  std::string Text(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(fPath / "out" / name, std::ios::binary).rdbuf();
    return text.str();
  }

  fs::path fPath;
  std::string fSample;  // bytes of the sample that was described
};

}  // namespace

// Whenever a run is killed, each of its files is the one that was there or the new one, whole; all are of one
// run, but for a kill between two renames; and the next run leaves nothing of the killed one.
TEST(Program, LeavesWholeFilesWhenKilled) {
  RunFolder folder;
  ASSERT_EQ(folder.Run("w_b"), 0);
  const std::vector<std::string> filesOfB = folder.Files();
  const Clock::time_point start = Clock::now();
  ASSERT_EQ(folder.Run("w_a"), 0);
  const Seconds duration = Clock::now() - start;
  const std::vector<std::string> filesOfA = folder.Files();
  std::mt19937 random(4711);
  int mixed = 0;
  for (int round = 0; round < 30 && Clock::now() - start < Seconds(6); ++round) {
    const pid_t child = folder.Start(round % 2 == 0 ? "w_b" : "w_a");
    const bool atWriting = round % 4 != 0;
    if (atWriting) folder.AwaitWriting(child);
    const double share = std::uniform_real_distribution<>(0.0, atWriting ? 0.4 : 1.0)(random);
    usleep(static_cast<useconds_t>(1e6 * share * duration.count()));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const std::vector<std::string> files = folder.Files();
    for (std::size_t i = 0; i < files.size(); ++i) {
      EXPECT_TRUE(files[i] == filesOfA[i] || files[i] == filesOfB[i]) << "round " << round << "\n"
                                                                      << files[i];
    }
    if (files != filesOfA && files != filesOfB) {
      ++mixed;
      ASSERT_EQ(folder.Run("w_a"), 0);
    }
  }
  EXPECT_LE(mixed, 1);
  ASSERT_EQ(folder.Run("w_a"), 0);
  EXPECT_EQ(folder.Litter() + folder.LitterElsewhere(), 0);
}
