#include <gmock/gmock.h>

#include <regex>

#include "SurveyFolder.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/environment/HostSession.h"
#include "session/RunReport.h"
#include "session/SeededCommand.h"

using testing::HasSubstr;
using testing::Not;

namespace {

// A run over a small frame with one report.
struct Reported {
  Reported(const std::string& csv, const std::string& stages, const std::string& command,
           const std::string& name = "r.txt") {
    const SurveyFolder folder(csv, stages);
    HostSession session;
    RunRequest request = folder.Request(command);
    request.reports = {folder.Path(name)};
    const SurveyOutcome outcome = RunSurvey(session, request);
    status = outcome.status;
    facts = outcome.facts;
    text = folder.Text(name);
  }

  std::string Fact(const std::string& label) const {
    std::string lines;
    for (const RunFact& fact : facts) {
      for (const std::string& line : fact.lines) lines += fact.label == label ? line + "\n" : "";
    }
    return lines;
  }

  RunStatus status;
  std::vector<RunFact> facts;
  std::string text;
};

// Two strata with two clusters each, of 2 and of 4 cases; one case of the second stratum has no cluster.
const std::string kFrame = "s,c\n1,a\n1,a\n1,b\n1,b\n2,c\n2,c\n2,c\n2,c\n2,d\n2,d\n2,d\n2,d\n,d\n";
// A cluster of each stratum and two cases of each cluster: all of the first cluster, half of the second.
const std::string kStages = "<SampleStage label='Clusters' selectionMethod='simple_wor'>" +
                            StrataOf(Var("s")) + ClustersOf(Var("c")) + Size("1") + Out("IncProb", "p1") +
                            "</SampleStage>" + Wor(Size("2") + Out("IncProb", "p2"));
const std::string kSample = "/CRITERIA SEED=7 " + kSampleFile;

const std::string kManyClusters = [] {
  std::string csv = "c\n";
  for (int i = 1000; i < 1203; ++i) csv += std::to_string(i) + "\n";
  return csv;
}();

// A text with each run of blanks as one, so that the widths of columns don't matter.
std::string Squeezed(const std::string& text) {
  return std::regex_replace(text, std::regex(" +"), " ");
}

}  // namespace

// By hand: N and n of each stratum, probabilities 1/2 and then 2/2 or 2/4, weights 2 and 4, whose sum over
// two cases each is 12, the number of valid cases.
TEST(Report, ShowsStagesByStratum) {
  const std::string kFirst = "s =\n 1 2 1 0 0.5 0.5 2 2\n 2 2 1 0 0.5 0.5 4 4\n";
  const std::regex second("s = 1\n c =\n [ab] 2 2 2 1 1 2 2\ns = 2\n c =\n [cd] 4 2 0 0.5 0.5 4 4\n");
  const std::regex clusters("2 clusters were drawn: 1 / [ab]; 2 / [cd]\n");
  for (const std::string& where : {kSample, std::string("/CRITERIA SEED=7 ")}) {
    SCOPED_TRACE(where);
    const Reported run(kFrame, kStages, where);
    const std::string text = Squeezed(run.text);
    EXPECT_THAT(text, HasSubstr("Stage 1: Clusters\n"));
    EXPECT_THAT(text, HasSubstr(kFirst));
    EXPECT_TRUE(std::regex_search(text, second)) << text;
    EXPECT_TRUE(std::regex_search(text, clusters)) << text;
    EXPECT_THAT(text, HasSubstr("Sum of the weights 12\nValid cases of the frame (N) 12\n"
                                "Sum of the weights less N 0\nThe same in percent of N 0%\n"));
    EXPECT_EQ(run.Fact("Cases of the frame"), "13, 1 of them left out\n");
  }
}

// Strata that look the same in their display format, or have the same label, stay separate in the table, the clusters
// and the remarks.
TEST(Report, ShowsValuesInFullThatTheFormatRounds) {
  const Reported run("s,c\n.001,1e-07\n.001,2\n.002,3\n.0031,4\n",
                     Wor(StrataOf(Var("s")) + ClustersOf(Var("c")) + Size("2")), kSample);
  const std::string text = Squeezed(run.text);
  EXPECT_THAT(text, HasSubstr("s =\n 0.001 2 2"));
  EXPECT_THAT(text, HasSubstr("\n 0.002 1 1"));
  EXPECT_THAT(text, HasSubstr("0.001 / 1e-07; 0.001 / 2"));
  EXPECT_THAT(text, HasSubstr("(s = 0.002: 2 asked for, 1 there; s = 0.0031: 2 asked for, 1 there)"));
}

// What the sample or the plan leaves out isn't made up.
TEST(Report, SaysWhatIsNotKnownOfAStage) {
  struct Case {
    std::string aim, stages, rest, there, notThere;
  };
  const std::string kPlain = Wor(StrataOf(Var("s")) + Size("2"));
  const std::string kFar =
      "<PreviousWeight><Variable name='s'/></PreviousWeight>" + Wor(Size("2") + Out("IncProb", "p"));
  const Case kCases[] = {
      {"stratum dropped", kStages, "DROP=s", "lacks a variable that identifies the strata", "c = a"},
      {"cluster dropped", kStages, "DROP=c", "The sample lacks a cluster variable of this stage", "drawn: "},
      {"no probability", kPlain, "", "asks for no inclusion probability", "smallest largest smallest"},
      {"no summary", kPlain, "/PRINT CPS", "s =\n 1 2 2 2\n 2 2 4 4\n", "1 4 2"},
      {"later phase", kFar, "", "Sum of the weights", "Valid cases of the frame (N)"},
      {"with replacement", Stage("simple_wr", Size("5") + Out("IncProb", "p") + Out("Index", "i")), "",
       "N n smallest", "certain smallest"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const Reported run(kFrame, c.stages, kSample + c.rest);
    const std::string text = Squeezed(run.text);
    EXPECT_EQ(run.status, RunStatus::kOk);
    EXPECT_THAT(text, HasSubstr(c.there));
    EXPECT_THAT(text, Not(HasSubstr(c.notThere)));
  }
}

// R code, from the plan's words to the sample's columns. The codes in it were run in R. A sample without what the
// design takes, or none, gives the reason.
TEST(Report, WritesCodeForR) {
  const std::string joint = "/JOINTPROB OUTFILE='@/j.csv' ";
  const std::string key = "<MOS fromData='no'>" + Var("m") + "</MOS>" + Out("IncProb", "p");
  const std::string csv = "S,c,m\n1,a,2\n1,b,3\n1,d,4\n2,a,2\n2,b,2\n2,e,3\n";
  const struct Case {
    std::string stages;
    std::string command;
    std::string said;
  } kCases[] = {
      {kStages, kSample,
       "ids = ~c + case_number, strata = ~S + one_stratum,\n  fpc = ~p1 + p2, weights = ~w"},
      {kStages, kSample, "# A stratum has one unit, from which"},
      {kStages, "/CRITERIA SEED=7 /SAMPLEFILE OUTFILE='@/s.sav'", "# A native file takes the packages"},
      {kStages, kSample + "DROP=s", "# There is no design: the sample lacks the variable s, which"},
      {kStages, "/CRITERIA SEED=7", "# There is no design: the run wrote no sample file."},
      {kStages, "/CRITERIA SEED=7 /SAMPLEFILE OUTFILE='@/no/s.csv'",
       "# There is no design: the run didn't end well"},
      {Stage("pps_murthy", StrataOf(Var("s")) + ClustersOf(Var("c")) + key), kSample + joint,
       "read.csv(\"j.csv\", check.names = FALSE, encoding = \"UTF-8\", na.strings = character(),\n"
       "  colClasses = c(\"c\" = \"character\"))\nkey <- c(\"S\", \"c\")"},
      {Stage("pps_wr", ClustersOf(Var("c")) + Size("2") + key + Out("Index", "i")), kSample,
       "ids = ~interaction(c, i, drop = TRUE),\n  weights = ~w"},
      {"<PreviousWeight><Variable name='m'/></PreviousWeight>" + Wor(Size("2")), kSample,
       "ids = ~1,\n  weights = ~w"},
  };
  for (const Case& c : kCases) EXPECT_THAT(Reported(csv, c.stages, c.command, "r.R").text, HasSubstr(c.said));
}

// A run without a seed says before the draw that it replaces a file, with the seed of what is there if a report
// knows it: one of that sample, not older, by the seed that was given or drawn.
TEST(Report, TellsOfTheSampleThatIsReplaced) {
  const TestFolder folder;
  std::ofstream(folder.path / "f.csv") << kFrame;
  std::ofstream(folder.path / "p.xml") << Design(Wor(Size("2")) + Out("Weight", "w"));
  const auto run = [&](const std::string& seed, const std::string& sample, const std::string& report) {
    HostSession session;
    RunRequest request;
    request.frame.path = folder.path / "f.csv";
    request.reports = {folder.Path(report)};
    request.command = "SVSELECT /PLAN FILE='" + folder.Path("p.xml") + "' " + seed + "/SAMPLEFILE OUTFILE='" +
                      folder.Path(sample) + "'";
    std::string told;
    const SurveyOutcome outcome =
        RunSurvey(session, request, {.replaces = [&](const std::string& line) { told = line; }});
    EXPECT_EQ(outcome.status, RunStatus::kOk);
    EXPECT_EQ(outcome.remarks, told.empty() ? std::vector<std::string>() : std::vector<std::string>{told});
    return Replace(told, folder.Path(""), "");
  };
  const std::string replaced =
      "s.csv: without a seed the run draws another sample, which would replace this one; ";
  const std::string unknown = replaced + "no report that this run names tells its seed";
  EXPECT_EQ(run("", "s.csv", "r.txt"), "");
  EXPECT_EQ(run("/CRITERIA SEED=77 ", "s.csv", "r.html"), "");
  EXPECT_EQ(run("/CRITERIA SEED=random ", "s.csv", "r.html"), replaced + "its seed was 77 (r.html)");
  EXPECT_EQ(run("", "s.csv", "t.txt"), unknown);
  EXPECT_EQ(run("/CRITERIA SEED=5 ", "o.csv", "r.html"), "");
  EXPECT_EQ(run("", "s.csv", "r.html"), unknown);  // of another sample
  std::filesystem::last_write_time(folder.path / "r.html", std::filesystem::file_time_type::min());
  EXPECT_EQ(run("", "s.csv", "r.html"), unknown);
}

// Why the file isn't there that the notes name.
TEST(Report, TellsThatTheDefaultJointFileIsNotWritten) {
  const std::string first = Stage(
      "pps_wor", ClustersOf(Var("u")) + Size("2") + "<MOS fromData='yes'/>" + Out("CumulativeWeight", "m"));
  const auto remarks = [&](const std::string& stages, const std::string& command) {
    const SurveyFolder folder("u,m\n1,1\n2,1\n3,1\n", stages);
    if (stages == first)
      folder.Write("p.xml",
                   Replace(folder.Text("p.xml"), "<SampleDesign", "<SampleDesign wrEstimation='yes'"));
    HostSession session;
    return RunSurvey(session, folder.Request(command + kSampleFile)).remarks;
  };
  EXPECT_THAT(remarks(first, "/DATA RENAMEVARS "),
              testing::Contains(HasSubstr("since the plan estimates as with replacement")));
  EXPECT_THAT(
      remarks(first + Wor(Size("1")), "/DATA RENAMEVARS /CRITERIA STAGES=2 "),
      testing::Contains(HasSubstr("p.sav: no joint probabilities were written, since the first stage")));
}

// The default joint file replaces one of an earlier run without a word, but nothing else.
TEST(Report, TellsThatTheDefaultJointFileReplacedAnother) {
  const SurveyFolder folder(
      "s,u,m\n1,1,1\n1,2,1\n1,3,2\n",
      Stage("pps_wor", ClustersOf(Var("u")) + Size("2") + "<MOS fromData='no'><Variable name='m'/></MOS>"));
  for (const std::string other : {"", "not ours", ""}) {
    if (!other.empty()) folder.Write("p.sav", other);
    HostSession session;
    const SurveyOutcome outcome = RunSurvey(session, folder.Request(kSample));
    EXPECT_EQ(outcome.status, RunStatus::kOk);
    const auto told = testing::Contains(HasSubstr("p.sav: the joint probabilities replaced another file"));
    if (other.empty()) {
      EXPECT_THAT(outcome.remarks, Not(told));
    } else {
      EXPECT_THAT(outcome.remarks, told);
    }
  }
}

// More clusters than fit are counted.
TEST(Report, BoundsTheNamesOfClusters) {
  const Reported run(kManyClusters, Wor(ClustersOf(Var("c")) + Rate("1") + Out("IncProb", "p")), kSample,
                     "r.html");
  EXPECT_THAT(run.text, HasSubstr("<summary>203 clusters were drawn</summary>"));
  EXPECT_THAT(run.text, HasSubstr("1198; 1199; and 3 more</p>"));
}

// The files can be recognised, and the page has the plan; a run that drew nothing reads no file for it.
TEST(Report, IdentifiesFrameAndPlan) {
  // From sha256sum.
  const char* const kSumOfFrame = "42ac14ef51dc67d295f35984b0c1bbffb5052c1e88ff3ccbc8fa3665a8141576\n";
  const Reported run(kFrame, kStages, kSample, "r.html");
  EXPECT_EQ(run.Fact("SHA-256 of the frame"), kSumOfFrame);
  EXPECT_EQ(run.Fact("SHA-256 of the plan").size(), 65U);
  EXPECT_THAT(run.text, HasSubstr("<details>\n<summary>Text of the plan</summary>\n<pre>&lt;KORV"));
  EXPECT_EQ(run.Fact("Seed"), "");
  const Reported failed(kFrame, Wor(StrataOf(Var("none")) + Size("1")), kSample);
  EXPECT_EQ(failed.Fact("SHA-256 of the frame"), "");
  EXPECT_EQ(failed.Fact("SHA-256 of the plan").size(), 65U);
  EXPECT_THAT(failed.Fact("Text of the plan"), HasSubstr("'none'"));
}

// A report describes the plan that was used, or isn't written: if the plan or its table is replaced before the report
// reads it, even by a file of the same size and time, the run fails.
TEST(Report, DescribesNoOtherPlanOrFrame) {
  const std::string plan = R"({"svselect_plan": 1, "weight": "w", "stages": [{"strata": ["s"],
    "method": "simple_wor", "n": {"by": ["s"], "table": "t.csv"}}]})";
  const struct {
    const char *name, *what, *by;
    RunStatus status;
  } kCases[] = {{"p.json", "\"w\"", "\"v\"", RunStatus::kError},
                {"t.csv", "1,1", "1,2", RunStatus::kError},
                {"f.csv", "2,1", "2,9", RunStatus::kOk}};
  for (const auto& [name, what, by, status] : kCases) {
    SCOPED_TRACE(name);
    const SurveyFolder folder("s,u\n1,1\n1,2\n2,1\n", "");
    folder.Write("p.json", plan);
    folder.Write("t.csv", "s,n\n1,1\n2,1\n");
    const std::string path = folder.Path(name);
    const auto replace = [&, what = what, by = by](RunStep step) {
      if (step != RunStep::kReview) return;
      folder.Write("other", Replace(folder.Text(path), what, by));
      std::filesystem::last_write_time(folder.path / "other", std::filesystem::last_write_time(path));
      std::filesystem::rename(folder.path / "other", path);
    };
    HostSession session;
    RunRequest request = folder.Request(kSample);
    request.command = Replace(request.command, "p.xml", "p.json");
    request.reports = {folder.Path("r.txt")};
    EXPECT_EQ(RunSurvey(session, request, {.stepBegins = replace}).status, status) << folder.Text("r.txt");
    EXPECT_EQ(std::filesystem::exists(folder.Path("s.csv")), status == RunStatus::kOk);
    EXPECT_THAT(folder.Text("r.txt"),
                HasSubstr(status == RunStatus::kOk ? "unknown: the file was changed during the run"
                                                   : path + ": the file was changed during the run"));
  }
}

// The text of the plan is UTF-8 in the report, whatever it is in the file.
TEST(Report, ShowsThePlanInUtf8) {
  const std::string plan = Design(Wor(Size("1")) + Out("Weight", "w"));
  const std::string latin = "<?xml version='1.0' encoding='ISO-8859-1'?><!-- \xE9 -->" + plan;
  std::string wide = "\xFF\xFE";
  for (const char c : "<!-- \xE9 -->" + plan) wide += {c, '\0'};
  for (const std::string& text : {latin, wide}) {
    const SurveyFolder folder("s\n1\n", "");
    folder.Write("p.xml", text);
    HostSession session;
    RunRequest request = folder.Request(kSample);
    request.reports = {folder.Path("r.html")};
    EXPECT_EQ(RunSurvey(session, request).status, RunStatus::kOk) << folder.Text("r.html");
    EXPECT_THAT(folder.Text("r.html"), HasSubstr("&lt;!-- é --&gt;&lt;KORV"));
  }
}

// The command in the report draws the same 5 of 203 clusters again.
TEST(Report, GivesTheCommandThatRepeatsTheRun) {
  const std::string stages = Wor(ClustersOf(Var("c")) + Size("5"));
  const Reported run(kManyClusters, stages, "/CRITERIA SEED=random");
  const std::string command = run.Fact("Command");
  EXPECT_THAT(run.Fact("Seed"), HasSubstr("drawn at random"));
  const Reported again(kManyClusters, stages, command.substr(command.find("/CRITERIA")));
  EXPECT_EQ(again.Fact("Seed"), "");
  const auto clusters = [](const Reported& of) {
    return of.text.substr(of.text.find("5 clusters were drawn: "), 50);
  };
  EXPECT_EQ(clusters(again), clusters(run));
}

TEST(SeededCommand, PutsTheSeedWhereItBelongs) {
  struct Case {
    std::string command;
    std::string seeded;  // empty: left as it is
  };
  const Case kCases[] = {
      {"SVSELECT /PLAN FILE='p'.", "SVSELECT\n  /PLAN FILE='p'\n  /CRITERIA SEED=5."},
      {"svselect\n/PLAN FILE='it''s a /CRITERIA SEED=9'",
       "svselect\n  /PLAN FILE='it''s a /CRITERIA SEED=9'\n"
       "  /CRITERIA SEED=5."},
      {"/PLAN FILE=p /criteria stages = 1 2 /PRINT CPS",
       "/PLAN FILE=p\n  /criteria SEED=5 stages=1 2\n"
       "  /PRINT CPS."},
      {"/CRITERIA (STAGES=1, seed=Random) /PLAN FILE=\"a b\".",
       "/CRITERIA ( STAGES=1 seed=5 )\n"
       "  /PLAN FILE='a b'."},
      {"/CRITERIA  SEED = 17 /PLAN FILE=p", ""},
      {"/PLAN SEED=RANDOM /CRITERIA STAGES=1", "/PLAN SEED=RANDOM\n  /CRITERIA SEED=5 STAGES=1."},
  };
  for (const Case& c : kCases) {
    HostSession session;
    session.Layer<SessionCommand>().SetCommand(c.command);
    const SeededCommand seeded = CommandWithSeed("5");
    EXPECT_EQ(seeded.text, c.seeded.empty() ? c.command : c.seeded);
    EXPECT_EQ(seeded.isChanged, !c.seeded.empty());
  }
}
