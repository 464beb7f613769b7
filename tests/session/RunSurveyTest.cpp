#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "PlanText.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/engine/CaseProgress.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/SessionFiles.h"
#include "host/output/OutputDocument.h"
#include "session/ProcedureLibrary.h"
#include "session/RunReport.h"
#include "session/RunReview.h"
#include "session/RunSurvey.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

namespace fs = std::filesystem;

// A folder with a frame of 100 units in two strata and a plan that draws them; gone at the end.
class SurveyFolder {
public:
  explicit SurveyFolder(const std::string& stages = kStages) {
    std::string name = fs::temp_directory_path() / "svselect-session-XXXXXX";
    fPath = mkdtemp(name.data());
    std::ofstream frame(Path("f.csv"));
    frame << "unit,stratum,size\n";
    for (int i = 1; i <= 100; ++i) frame << i << ',' << (i <= 40 ? "a" : "b") << ',' << 1 + i % 7 << '\n';
    std::ofstream(Path("p.xml")) << Design(stages + Out("Weight", "w"));
  }
  ~SurveyFolder() { fs::remove_all(fPath); }
  SurveyFolder(const SurveyFolder&) = delete;
  SurveyFolder& operator=(const SurveyFolder&) = delete;

  std::string Path(const std::string& name) const { return (fPath / name).string(); }
  std::string Text(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(Path(name)).rdbuf();
    return text.str();
  }
  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(fPath)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }
  RunRequest Request(const std::string& rest = "") const {
    RunRequest request;
    request.frame.path = Path("f.csv");
    request.command = "SVSELECT /PLAN FILE='" + Path("p.xml") +
                      "' /CRITERIA SEED=4711 /SAMPLEFILE OUTFILE='" + Path("s.csv") + "' " + rest + ".";
    return request;
  }

  static const std::string kStages;

private:
  fs::path fPath;
};

const std::string SurveyFolder::kStages =
    Stage("simple_wor", StrataOf(Var("stratum")) + Size("5") + Out("IncProb", "p"));

// Draws that many units, in proportion to their size.
std::string SampleOfUnits(const std::string& count) {
  return ClustersOf(Var("unit")) + Size(count) + "<MOS fromData='no'><Variable name='size'/></MOS>";
}

std::vector<std::string> Messages(const OutputDocument& document) {
  std::vector<std::string> texts;
  for (const OutputMessage& message : document.Messages()) texts.push_back(message.text);
  return texts;
}

}  // namespace

// A run of the library alone: no terminal, nothing on the standard streams, everything in the outcome. By
// hand: 5 of 40 and 5 of 60 units have weights 8 and 12, in all 100. A second run in the process sees nothing
// of the first, and draws the same.
TEST(RunSurvey, DrawsWithoutATerminalAgainAndAgain) {
  const SurveyFolder folder;
  std::string first;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (int round = 0; round < 2; ++round) {
    SCOPED_TRACE(round);
    HostSession session({.threads = 1 + round});
    RunRequest request = folder.Request("/PRINT SELECTION CPS");
    request.reports = {folder.Path("r.json"), folder.Path("r.HTML")};
    request.save = folder.Path("frame.parquet");
    std::vector<RunStep> steps;
    std::int64_t counted = 0;
    const SurveyOutcome outcome = RunSurvey(session, request,
                                            {.stepBegins = [&](RunStep step) { steps.push_back(step); },
                                             .frameCounted = [&](std::int64_t cases) { counted = cases; }});
    EXPECT_EQ(outcome.status, RunStatus::kOk);
    EXPECT_THAT(steps, ElementsAre(RunStep::kReadFrame, RunStep::kDraw, RunStep::kWriteFiles,
                                   RunStep::kReview, RunStep::kReport));
    EXPECT_EQ(counted, 100);
    ASSERT_NE(outcome.document, nullptr);
    EXPECT_THAT(Messages(*outcome.document), IsEmpty());
    EXPECT_EQ(outcome.document->Tables().size(), 2U);
    EXPECT_THAT(outcome.remarks, IsEmpty());
    EXPECT_THAT(outcome.reportProblems, IsEmpty());
    ASSERT_EQ(outcome.files.size(), 2U);
    EXPECT_EQ(outcome.files[0].role + " " + std::to_string(outcome.files[0].cases), "sample 10");
    EXPECT_EQ(outcome.files[1].role + " " + std::to_string(outcome.files[1].cases), "saved 100");
    ASSERT_TRUE(outcome.weights.has_value());  // the page needs them
    EXPECT_EQ(outcome.weights->summary.count, 10);
    EXPECT_DOUBLE_EQ(outcome.weights->summary.sum, 100);
    EXPECT_EQ(nlohmann::json::parse(folder.Text("r.json"))["status"], "ok");
    EXPECT_THAT(folder.Text("r.HTML"), HasSubstr("Final weights"));
    std::ostringstream text;
    WriteReport(ReportKind::kText, outcome, text);
    EXPECT_THAT(text.str(), HasSubstr(request.command));
    if (round == 0) first = folder.Text("s.csv");
    EXPECT_EQ(folder.Text("s.csv"), first);
  }
  EXPECT_THAT(testing::internal::GetCapturedStdout(), IsEmpty());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), IsEmpty());
}

// A run that fails says so by its status, and why by a message or a remark; it leaves no file but the
// reports.
TEST(RunSurvey, FailsInWordsAndLeavesNothing) {
  struct Case {
    const char* aim;
    std::function<void(const SurveyFolder&, RunRequest*)> change;
    const char* message;
    const char* remark;
  };
  const Case kCases[] = {
      {"no frame", [](const auto& f, auto* r) { r->frame.path = f.Path("no.csv"); },
       "no.csv: there is no such file", ""},
      {"no command", [](const auto&, auto* r) { r->command = "SVSELECT."; }, "", ""},
      {"no command file", [](const auto& f, auto* r) { r->commandFile = f.Path("no.txt"); },
       "no.txt: there is no such file", ""},
      {"wrong words", [](const auto&, auto* r) { r->command += " /NONSENSE."; }, "has incorrect value type",
       ""},
      {"no plan", [](const auto& f, auto*) { fs::remove(f.Path("p.xml")); }, "p.xml cannot be accessed",
       "p.xml: there is no such file"},
      {"sample over the frame", [](const auto& f, auto* r) { r->save = f.Path("f.csv"); },
       "f.csv: the file is in use", ""},
      {"two reports in one file",
       [](const auto& f, auto* r) {
         r->reports = {f.Path("r.txt"), f.Path("./r.txt")};
       },
       "r.txt: the file is in use", ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const SurveyFolder folder;
    HostSession session;
    RunRequest request = folder.Request();
    c.change(folder, &request);
    const std::vector<std::string> before = folder.Files();
    const SurveyOutcome outcome = RunSurvey(session, request);
    EXPECT_EQ(outcome.status, RunStatus::kError);
    EXPECT_THAT(Messages(*outcome.document), Contains(HasSubstr(c.message)));
    if (*c.remark != '\0') {
      EXPECT_THAT(outcome.remarks, Contains(HasSubstr(c.remark)));
    }
    EXPECT_THAT(outcome.files, IsEmpty());
    fs::remove(folder.Path("r.txt"));
    EXPECT_EQ(folder.Files(), before);
  }
}

// A callback can stop a run at any step that comes before the files take their places. Later it is too late.
TEST(RunSurvey, StopsWhereACallbackAsksForIt) {
  struct Case {
    RunStep step;
    RunStatus status;
  };
  const Case kCases[] = {
      {RunStep::kReadFrame, RunStatus::kCancelled},
      {RunStep::kDraw, RunStatus::kCancelled},
      {RunStep::kWriteFiles, RunStatus::kCancelled},
      {RunStep::kReport, RunStatus::kCancelled},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(static_cast<int>(c.step));
    const SurveyFolder folder;
    HostSession session;
    RunRequest request = folder.Request();
    request.reports = {folder.Path("r.txt")};
    const SurveyOutcome outcome = RunSurvey(session, request, {.stepBegins = [&](RunStep step) {
                                              if (step == c.step) RequestStop();
                                            }});
    EXPECT_EQ(outcome.status, c.status);
    EXPECT_THAT(Messages(*outcome.document), IsEmpty());
    EXPECT_EQ(fs::exists(folder.Path("s.csv")), c.status == RunStatus::kOk);
    EXPECT_THAT(folder.Text("r.txt"), testing::StartsWith("Status: " + std::string(StatusWord(c.status))));
  }
}

// The reports are files of the run like the others. Where one can't take its place, none does, and the others
// tell of it.
TEST(RunSurvey, CommitsItsReportsWithItsData) {
  const SurveyFolder folder;
  HostSession session;
  RunRequest request = folder.Request();
  request.reports = {folder.Path("r.txt"), folder.Path("r.json")};
  std::ofstream(folder.Path("s.csv")) << "old";
  const SurveyOutcome outcome = RunSurvey(session, request, {.stepBegins = [&](RunStep step) {
                                            if (step == RunStep::kReport)
                                              fs::create_directory(folder.Path("r.txt"));
                                          }});
  EXPECT_EQ(outcome.status, RunStatus::kError);
  EXPECT_THAT(Messages(*outcome.document), ElementsAre(HasSubstr("r.txt can't be written: Is a directory")));
  EXPECT_THAT(outcome.reportProblems, ElementsAre(HasSubstr("r.txt can't be written")));
  EXPECT_THAT(outcome.files, IsEmpty());
  EXPECT_EQ(folder.Text("s.csv"), "old");
  EXPECT_EQ(nlohmann::json::parse(folder.Text("r.json"))["status"], "error");
}

// The advice after an interruption depends on the design, the stage and how far the run came: only a draw can
// be endless, not the reading before it or the writing after it.
TEST(RunReview, AdvisesOnADrawThatMayNeverEnd) {
  enum class Reached { kNoCases, kDraw, kLastPass };
  struct Case {
    const char* aim;
    const char* method;
    Reached reached;
    HostSettings settings;
    const char* command;
    bool isAdvised;
  };
  const Case kCases[] = {
      {"may never end", "pps_sampford", Reached::kDraw, {}, "", true},
      {"stage named", "pps_sampford", Reached::kDraw, {}, "/CRITERIA STAGES=1 2", true},
      {"a later stage only", "pps_sampford", Reached::kDraw, {}, "/CRITERIA STAGES=2", false},
      {"always ends", "pps_systematic", Reached::kDraw, {}, "", false},
      {"exact design ends", "pps_sampford", Reached::kDraw, {.exactDesign = true}, "", false},
      {"not begun", "pps_sampford", Reached::kNoCases, {}, "", false},
      {"done", "pps_sampford", Reached::kLastPass, {}, "", false},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const SurveyFolder folder(Stage(c.method, SampleOfUnits("50")) + Stage("simple_wor", Size("1")));
    HostSession session(c.settings);
    session.Layer<SessionCommand>().SetCommand("SVSELECT /PLAN FILE='" + folder.Path("p.xml") + "' " +
                                               c.command);
    auto& progress = session.Layer<CaseProgress>();
    if (c.reached != Reached::kNoCases) progress.StartPass();
    if (c.reached == Reached::kLastPass) progress.SetLastPass();
    const std::vector<std::string> remarks = RemarksOnRun(session, RunRequest(), RunStatus::kCancelled);
    EXPECT_EQ(remarks.size(), c.isAdvised ? 1U : 0U);
    if (c.isAdvised) {
      EXPECT_THAT(remarks, Contains(HasSubstr("--exact-design draws them at once")));
    }
  }
}

// PPS_WOR states its probabilities exactly as long as all sizes are whole. Bounds replace sizes beyond them.
TEST(CommandedPlan, AdvisesWhereSizesHaveFractions) {
  struct Case {
    const char* aim;
    const char* variable;
    std::string bounds;
    bool isAdvised;
  };
  const Case kCases[] = {
      {"whole", "size", "", false},
      {"whole bounds", "size", Bounds("2", "5"), false},
      {"least", "size", Bounds("1.5", "5"), true},
      {"most", "size", Bounds("2", "5.5"), true},
      {"a frame with fractions", "half", "", true},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const SurveyFolder folder(Stage("pps_wor", ClustersOf(Var("unit")) + Size("3") +
                                                   "<MOS fromData='no'><Variable name='" + c.variable +
                                                   "'/>" + c.bounds + "</MOS>"));
    HostSession session;
    RunRequest request = folder.Request();
    request.frame.sql = "SELECT *, size / 2 AS half FROM '" + request.frame.path + "'";
    request.frame.path = "";
    const SurveyOutcome outcome = RunSurvey(session, request);
    EXPECT_EQ(outcome.status, RunStatus::kOk) << testing::PrintToString(Messages(*outcome.document));
    EXPECT_EQ(testing::PrintToString(outcome.remarks).find("PPS_WOR comes only near") != std::string::npos,
              c.isAdvised);
  }
}

// A file that was begun and given up breaks the run: then none of its files is kept, and no name is singled
// out.
TEST(RunReview, SaysThatABrokenRunKeptNothing) {
  const SurveyFolder folder;
  HostSession session;
  session.Layer<CaseProgress>().SetLastPass();
  SessionFiles& files = session.Layer<SessionFiles>();
  int claim = 0;
  files.Claims().ClaimForWriting(FileRole::kSample, "s.csv", folder.Path("s.csv"), &claim);
  files.Abandon(files.Start(FileRole::kSample, "s.csv", folder.Path("s.csv")));
  EXPECT_FALSE(files.CommitFiles());
  EXPECT_THAT(RemarksOnRun(session, RunRequest(), RunStatus::kError),
              ElementsAre("no file of the run was kept"));
}

// All that a run can be asked for beyond its command is among the facts, once each and by its own words.
TEST(RunReport, KnowsWhatItTakesToRunItAgain) {
  HostSession session({.exactDesign = true});
  session.Layer<SessionCommand>().SetCommand("SVSELECT\n  /PLAN FILE='p.xml'.");
  RunRequest request;
  request.frame = {.path = "f.csv",
                   .sql = "SELECT 1",
                   .sort = {"a", "b"},
                   .schema = "f.json",
                   .weight = "w",
                   .split = {"c", "d"}};
  std::vector<std::string> facts;
  for (const RunFact& fact : FactsOf(session, request)) {
    facts.push_back(fact.label + ":");
    for (const std::string& line : fact.lines) facts.back() += " " + line;
  }
  EXPECT_THAT(facts,
              ElementsAre("Frame: f.csv", "Query: SELECT 1", "Schema: f.json", "Sorted by: a, b",
                          "Weighted by: w", "Split by: c, d", "Command: SVSELECT   /PLAN FILE='p.xml'.",
                          "Exact design: yes", testing::StartsWith("Program: svselect "),
                          testing::MatchesRegex("Day: [0-9]{4}-[0-9]{2}-[0-9]{2}")));
  EXPECT_EQ(FactsOf(session, RunRequest()).size(), 4U);
}

// Stopped from another thread while it draws 50 of 100 units anew and anew until no unit comes up twice.
TEST(RunSurvey, EndsADrawThatNeverEnds) {
  const SurveyFolder folder(Stage("pps_sampford", SampleOfUnits("50")));
  HostSession session;
  const auto& progress = session.Layer<CaseProgress>();
  std::atomic<bool> hasEnded = false;
  std::thread user([&] {
    while (progress.Get().pass == 0 && !hasEnded) std::this_thread::yield();
    RequestStop();
  });
  const SurveyOutcome outcome = RunSurvey(session, folder.Request());
  hasEnded = true;
  user.join();
  EXPECT_EQ(outcome.status, RunStatus::kCancelled);
  EXPECT_THAT(outcome.remarks, ElementsAre(HasSubstr("PPS_SAMPFORD draws anew")));
  EXPECT_FALSE(fs::exists(folder.Path("s.csv")));
}

// A sink that breaks its promise and throws doesn't bring the caller down.
TEST(RunSurvey, TurnsAnExceptionIntoAnError) {
  for (const RunStep step : {RunStep::kReadFrame, RunStep::kWriteFiles, RunStep::kReport}) {
    const SurveyFolder folder;
    HostSession session;
    RunRequest request = folder.Request();
    request.reports = {folder.Path("r.txt")};
    const SurveyOutcome outcome = RunSurvey(session, request, {.stepBegins = [&](RunStep begun) {
                                              if (begun == step) throw std::bad_alloc();
                                            }});
    EXPECT_EQ(outcome.status, RunStatus::kError);
    EXPECT_THAT(Messages(*outcome.document), ElementsAre("out of memory"));
    EXPECT_FALSE(fs::exists(folder.Path("s.csv")));
  }
}

TEST(CallProcedure, SaysWhatItKnowsOfAnException) {
  struct Case {
    ProcedureEntry entry;
    const char* said;
  };
  const Case kCases[] = {
      {[] {}, ""},
      {[] { throw std::bad_alloc(); }, "out of memory"},
      {[] { throw DataError("f.csv: gone"); }, "the procedure failed: f.csv: gone"},
      {[] { throw 5; }, "the procedure failed: an exception of type int"},
      {[] { throw ErrorText{"full"}; }, "the procedure failed: an exception of type ErrorText"},
  };
  for (const Case& c : kCases) EXPECT_EQ(CallProcedure(c.entry), c.said);
}
