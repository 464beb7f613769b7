#include <fmt/format.h>
#include <gmock/gmock.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "SurveyFolder.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/engine/CaseProgress.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"
#include "host/files/SessionFiles.h"
#include "host/output/OutputDocument.h"
#include "session/ProcedureLibrary.h"
#include "session/RunFacts.h"
#include "session/RunReport.h"
#include "session/RunReview.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

namespace fs = std::filesystem;

const std::string kTenOfTwoStrata =
    Stage("simple_wor", StrataOf(Var("stratum")) + Size("5") + Out("IncProb", "p"));

// A frame of 100 units in two strata and a plan that draws them.
struct HundredUnits : SurveyFolder {
  explicit HundredUnits(const std::string& stages = kTenOfTwoStrata) : SurveyFolder(Frame(), stages) {}
  static std::string Frame() {
    std::string csv = "unit,stratum,size\n";
    for (int i = 1; i <= 100; ++i) csv += fmt::format("{},{},{}\n", i, i <= 40 ? "a" : "b", 1 + i % 7);
    return csv;
  }
  RunRequest Request(const std::string& rest = "") const {
    return SurveyFolder::Request("/CRITERIA SEED=4711 " + kSampleFile + rest + ".");
  }
};

// Draws that many units, in proportion to a variable or to its value within bounds.
std::string Draw(const std::string& method, const char* count, const std::string& size = Var("size")) {
  return Stage(method, ClustersOf(Var("unit")) + Size(count) + "<MOS fromData='no'>" + size + "</MOS>");
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
  const HundredUnits folder;
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
    std::string files;
    for (const ReportFile& file : outcome.files) files += file.role + " " + std::to_string(file.cases) + ";";
    EXPECT_EQ(files, "sample 10;saved 100;");
    ASSERT_TRUE(outcome.weights.has_value());  // the page needs them
    EXPECT_DOUBLE_EQ(outcome.weights->summary.sum, 100);
    EXPECT_EQ(nlohmann::json::parse(folder.Text("r.json"))["status"], "ok");
    EXPECT_THAT(folder.Text("r.HTML"), HasSubstr("Final weights"));
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
    const char* said;
  };
  const Case kCases[] = {
      {"no frame", [](const auto& f, auto* r) { r->frame.path = f.Path("no.csv"); },
       "no.csv: there is no such"},
      {"no command", [](const auto&, auto* r) { r->command = "SVSELECT."; }, ""},
      {"no command file", [](const auto& f, auto* r) { r->commandFile = f.Path("no"); },
       "no: there is no such"},
      {"UTF-16", [](const auto& f, auto* r) { r->commandFile = f.Path("c"); },
       "c: the command file is in UTF-16"},
      {"wrong words", [](const auto&, auto* r) { r->command += " /NO."; }, "has incorrect value type"},
      {"no plan", [](const auto& f, auto*) { fs::remove(f.Path("p.xml")); }, "p.xml: there is no such file"},
      {"frame in use", [](const auto& f, auto* r) { r->save = f.Path("f.csv"); },
       "f.csv: the file is in use"},
      {"two reports", [](const auto& f, auto* r) { r->reports.push_back(f.Path("./r.txt")); },
       "r.txt: the file is in use"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const HundredUnits folder;
    folder.Write("c", "\xFF\xFES");
    folder.Write("r.txt", "a report of before");
    HostSession session;
    RunRequest request = folder.Request();
    request.reports = {folder.Path("r.txt")};
    c.change(folder, &request);
    const std::string before = folder.Names();
    const SurveyOutcome outcome = RunSurvey(session, request);
    EXPECT_EQ(outcome.status, RunStatus::kError);
    std::vector<std::string> said = Messages(*outcome.document);
    EXPECT_THAT(said, testing::Not(IsEmpty()));
    said.insert(said.end(), outcome.remarks.begin(), outcome.remarks.end());
    EXPECT_THAT(said, Contains(HasSubstr(c.said)));
    EXPECT_THAT(outcome.files, IsEmpty());
    EXPECT_EQ(folder.Names(), before);
  }
}

// A callback can stop a run at any step before the files take their places; later it is too late. One that
// breaks its promise and throws doesn't bring the caller down.
TEST(RunSurvey, EndsWhereACallbackStopsOrThrows) {
  const auto fail = [] { throw std::bad_alloc(); };
  struct Case {
    const char* aim;
    RunStep step;
    std::function<void()> act;
    RunStatus status;
  };
  const Case kCases[] = {
      {"stop before the frame", RunStep::kReadFrame, RequestStop, RunStatus::kCancelled},
      {"stop before the draw", RunStep::kDraw, RequestStop, RunStatus::kCancelled},
      {"stop before the files", RunStep::kWriteFiles, RequestStop, RunStatus::kCancelled},
      {"stop before the report", RunStep::kReport, RequestStop, RunStatus::kCancelled},
      {"throw before the frame", RunStep::kReadFrame, fail, RunStatus::kError},
      {"throw before the files", RunStep::kWriteFiles, fail, RunStatus::kError},
      {"throw before the report", RunStep::kReport, fail, RunStatus::kError},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const HundredUnits folder;
    HostSession session;
    RunRequest request = folder.Request();
    request.reports = {folder.Path("r.txt")};
    const SurveyOutcome outcome = RunSurvey(session, request, {.stepBegins = [&](RunStep step) {
                                              if (step == c.step) c.act();
                                            }});
    EXPECT_EQ(outcome.status, c.status);
    const bool isError = c.status == RunStatus::kError;
    EXPECT_EQ(Messages(*outcome.document), std::vector<std::string>(isError ? 1 : 0, "out of memory"));
    EXPECT_FALSE(fs::exists(folder.Path("s.csv")));
    EXPECT_THAT(folder.Names(), testing::Not(HasSubstr(".svselect-")));
    const std::string status = isError ? "" : std::string("Status: ") + StatusWord(c.status);
    EXPECT_THAT(folder.Text("r.txt"), testing::StartsWith(status));
  }
}

// The reports are files of the run like the others. Where one can't take its place, none does, and the others
// tell of it.
TEST(RunSurvey, CommitsItsReportsWithItsData) {
  const HundredUnits folder;
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
  struct Case {
    std::string aim, method, command;
    int passes;
    bool isExact;
    bool isAdvised;
  };
  const Case kCases[] = {
      {"may never end", "pps_sampford", "", 1, false, true},
      {"stage named", "pps_sampford", "/CRITERIA STAGES=1 2", 1, false, true},
      {"a later stage only", "pps_sampford", "/CRITERIA STAGES=2", 1, false, false},
      {"always ends", "pps_systematic", "", 1, false, false},
      {"exact design ends", "pps_sampford", "", 1, true, false},
      {"not begun", "pps_sampford", "", 0, false, false},
      {"done", "pps_sampford", "", 2, false, false},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const HundredUnits folder(Draw(c.method, "50") + Wor(Size("1")));
    HostSession session({.exactDesign = c.isExact});
    session.Layer<SessionCommand>().SetCommand("SVSELECT /PLAN FILE='" + folder.Path("p.xml") + "' " +
                                               c.command);
    if (c.passes > 0) session.Layer<CaseProgress>().StartPass();
    if (c.passes > 1) session.Layer<CaseProgress>().SetLastPass();
    const std::vector<std::string> remarks = RemarksOnRun(session, RunRequest(), RunStatus::kCancelled);
    EXPECT_EQ(remarks.size(), c.isAdvised ? 1U : 0U);
  }
}

// PPS_WOR states its probabilities exactly as long as all sizes are whole. Bounds replace sizes beyond them.
// PPS_BREWER meets them by its exact design alone.
TEST(CommandedPlan, AdvisesWhereTheDrawIsOnlyNear) {
  struct Case {
    std::string aim, method, size;
    bool isAdvised;
    bool isExact = false;
  };
  const Case kCases[] = {
      {"whole", "pps_wor", Var("size"), false},
      {"whole bounds", "pps_wor", Var("size") + Bounds("2", "5"), false},
      {"least", "pps_wor", Var("size") + Bounds("1.5", "5"), true},
      {"most", "pps_wor", Var("size") + Bounds("2", "5.5"), true},
      {"a frame with fractions", "pps_wor", Var("half"), true},
      {"another method", "pps_brewer", Var("size"), true},
      {"its exact design", "pps_brewer", Var("size"), false, true},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const HundredUnits folder(Draw(c.method, "2", c.size));
    HostSession session({.exactDesign = c.isExact});
    RunRequest request = folder.Request();
    request.frame.sql = "SELECT *, size / 2 AS half FROM '" + request.frame.path + "'";
    request.frame.path = "";
    const SurveyOutcome outcome = RunSurvey(session, request);
    EXPECT_EQ(outcome.status, RunStatus::kOk) << testing::PrintToString(Messages(*outcome.document));
    EXPECT_EQ(testing::PrintToString(outcome.remarks).find(" comes only near") != std::string::npos,
              c.isAdvised);
  }
}

// A file that was begun and given up breaks the run: then none of its files is kept, and no name is singled
// out. The joint probabilities are claimed whether there are any or not, so that a file is missed only where
// the command names one.
TEST(RunReview, SaysWhatWasNotKept) {
  struct Case {
    const char* command;
    bool isBegun;
    std::vector<std::string> remarks;
  };
  const Case kCases[] = {
      {"SVSELECT.", false, {}},
      {"SVSELECT /JOINTPROB OUTFILE='j.sav'.", false, {"j.sav: the file didn't come into being"}},
      {"SVSELECT /JOINTPROB OUTFILE='j.sav'.", true, {"no file of the run was kept"}},
  };
  for (const Case& c : kCases) {
    const TestFolder folder;
    HostSession session;
    session.Layer<SessionCommand>().SetCommand(c.command);
    session.Layer<CaseProgress>().SetLastPass();
    SessionFiles& files = session.Layer<SessionFiles>();
    const std::string path = folder.Path("j.sav");
    int claim = 0;
    files.Claims().ClaimForWriting(FileRole::kJoint, "j.sav", path, &claim);
    if (c.isBegun) files.Abandon(files.Start(FileRole::kJoint, "j.sav", path));
    EXPECT_EQ(files.CommitFiles(), !c.isBegun);
    std::vector<std::string> remarks = RemarksOnRun(session, RunRequest(), RunStatus::kError);
    for (std::string& remark : remarks) remark = Replace(remark, folder.Path(""), "");
    EXPECT_EQ(remarks, c.remarks) << c.command;
    EXPECT_THAT(RemarksOnRun(session, RunRequest(), RunStatus::kOk),
                Contains(HasSubstr("the draw isn't kept")));
  }
}

// A variable of the frame that a plan or a word of a command can't name: quoted, the command can; for the plan it
// must have another name.
TEST(RunSurvey, SaysWhatToDoAboutAName) {
  struct Case {
    const char* stratum;
    const char* keep;
    std::vector<std::string> remarks;
    const char* header = "";
  };
  const Case kCases[] = {
      {"s", "'a b' id", {}, "a b,id,w"},
      {"s", "\"N-1\" S", {}, "n-1,s,w"},
      {"s", "n-1", {"the frame has a variable 'n-1'; in a command write the name in quotes"}},
      {"s", "'n-2'", {}},
      {"a b", "id", {"the frame has a variable 'a b', which no plan can name; rename it there, as in a_b"}},
  };
  for (const Case& c : kCases) {
    const SurveyFolder folder("a b,n-1,id,s\n1,1,1,1\n", Wor(StrataOf(Var(c.stratum)) + Size("1")));
    HostSession session;
    const SurveyOutcome outcome = RunSurvey(session, folder.Request(kSampleFile + "KEEP=" + c.keep));
    EXPECT_EQ(outcome.status == RunStatus::kOk, *c.header != '\0') << c.keep;
    std::vector<std::string> remarks = outcome.remarks;
    std::erase_if(remarks,
                  [](const std::string& remark) { return remark.find("is no valid name") != remark.npos; });
    EXPECT_EQ(remarks, c.remarks);
    EXPECT_THAT(folder.Text("s.csv"), testing::StartsWith(c.header));
  }
}

// All that a run can be asked for beyond its command is among the facts, once each and by its own words.
TEST(RunReport, KnowsWhatItTakesToRunItAgain) {
  HostSession session({.exactDesign = true});
  session.Layer<SessionCommand>().SetCommand("SVSELECT\n  /PLAN FILE='p.xml'.");
  RunRequest request;
  request.frame = {"f.csv", "SELECT 1", {"a", "b"}, "f.json", "w", {"c", "d"}};
  std::string facts;
  for (const RunFact& fact : FactsOf(session, request)) {
    facts += fact.label + ": ";
    for (const std::string& line : fact.lines) facts += line + "\n";
  }
  EXPECT_THAT(facts, testing::MatchesRegex(
                         "Frame: f.csv\nQuery: SELECT 1\nSchema: f.json\nSorted by: a, b\n"
                         "Weighted by: w\nSplit by: c, d\nCommand: SVSELECT\n  /PLAN FILE='p.xml'.\n"
                         "Exact design: yes\nProgram: svselect .*\nDay: ....-..-..\n"));
  EXPECT_EQ(FactsOf(session, RunRequest()).size(), 4U);
}

// Stopped from another thread while it draws 50 of 100 units anew and anew until no unit comes up twice.
TEST(RunSurvey, EndsADrawThatNeverEnds) {
  const HundredUnits folder(Draw("pps_sampford", "50"));
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

TEST(CallProcedure, SaysWhatItKnowsOfAnException) {
  const std::pair<ProcedureEntry, const char*> kCases[] = {
      {[] { throw std::bad_alloc(); }, "out of memory"},
      {[] { throw DataError("f.csv: gone"); }, "the procedure failed: f.csv: gone"},
      {[] { throw 5; }, "the procedure failed: an exception of type int"},
      {[] { throw ErrorText{"full"}; }, "the procedure failed: an exception of type ErrorText"},
  };
  for (const auto& [entry, said] : kCases) EXPECT_EQ(CallProcedure(entry), said);
}
