#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "PlanText.h"
#include "TestFolder.h"
#include "host/environment/HostSession.h"
#include "session/RunReport.h"
#include "session/RunSurvey.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const std::string kBySize = "<MOS fromData='no'><Variable name='size'/></MOS>";
const std::string kUnits = StrataOf(Var("s")) + ClustersOf(Var("u"));

// A run over a small frame, with all that it says beside its messages.
struct Found {
  Found(const std::string& csv, const std::string& stages, bool strict, const std::string& command = "") {
    const TestFolder folder;
    std::ofstream(folder.path / "f.csv") << csv;
    std::ofstream(folder.path / "p.xml") << Design(stages + Out("Weight", "w"));
    HostSession session({.strict = strict});
    RunRequest request;
    request.frame.path = folder.path / "f.csv";
    request.command = "SVSELECT /PLAN FILE='" + (folder.path / "p.xml").string() +
                      "' /CRITERIA SEED=1 /SAMPLEFILE OUTFILE='" + (folder.path / "s.csv").string() + "' " +
                      command;
    const SurveyOutcome outcome = RunSurvey(session, request);
    status = outcome.status;
    remarks = outcome.remarks;
    hasSample = std::filesystem::exists(folder.path / "s.csv");
    std::ostringstream text;
    WriteReport(session, "r.json", outcome, text);
    json = text.str();
  }

  RunStatus status;
  std::vector<std::string> remarks;
  bool hasSample;
  std::string json;
};

}  // namespace

// Each finding is one line with the place, the values, the count and the cure; a strict run refuses those
// that make its results wrong, and writes nothing. The limits in the texts are worked by hand.
TEST(Findings, AreToldOnceAndRefusedWhenStrict) {
  std::string many = "s,u,size\n";
  for (int i = 1; i <= 14; ++i) many += "a," + std::to_string(i) + ",-" + std::to_string(i) + "\n";
  const struct {
    const char* aim;
    std::string csv;
    std::string stage;
    std::vector<std::string> parts;  // of the one line
    bool isRefused;
  } kCases[] = {
      {"nothing",
       "s,u,size\na,1,1\na,2,1\n",
       Stage("pps_systematic", kUnits + Size("1") + kBySize),
       {},
       false},
      {"a missing stratum",
       "s,u\na,1\n,2\n,3\nb,\n",
       Wor(kUnits + Size("1")),
       {"3 of 4 cases are left out: 2 without s, 1 without u"},
       false},
      {"below 0",
       many + "a,20,200\n",
       Stage("pps_wr", kUnits + Size("1") + kBySize + Out("Index", "i")),
       {"stage 1: 14 units have a measure of size below 0 (s = a, u = 1: -1; s = a, u = 2: -2;",
        "u = 10: -10; and 4 more): "},
       true},
      {"0",
       "s,u,size\na,1,0\na,2,5\n",
       Stage("pps_systematic", kUnits + Size("1") + kBySize),
       {"stage 1: 1 unit has a measure of size of 0 (s = a, u = 1): ", "MinSize"},
       false},
      {"0 within bounds",
       "s,u,size\na,1,0\na,2,5\n",
       Stage("pps_systematic",
             kUnits + Size("1") + "<MOS fromData='no'><Variable name='size'/>" + Bounds("1", "9") + "</MOS>"),
       {},
       false},
      {"cases that disagree on their unit's size",
       "s,u,size\na,1,3\na,1,4\na,1,5\na,2,3\n",
       Stage("pps_systematic", kUnits + Size("1") + kBySize),
       {"stage 1: 2 cases have another measure of size than the first case of their unit",
        "(s = a, u = 1: 3 and 4; and 1 more)"},
       true},
      {"cases that disagree on the request",
       "s,u,n\na,1,1\na,2,2\n",
       Wor(kUnits + In("InputSampleSize", Var("n"))),
       {"1 case has another rate or size than the first case of its stratum (s = a: 1 and 2)"},
       true},
      {"more than there are",
       "s,u\na,1\na,2\nb,1\n",
       Wor(kUnits + Size("2")),
       {"stage 1: 1 stratum has fewer units than are asked for (s = b: 2 asked for, 1 there)"},
       true},
      {"hits without an Index", "s,u\na,1\n", Stage("simple_wr", kUnits + Size("3")), {"stage 1"}, true},
      {"a case as the unit",
       "s,size\na,2\na,-3\na,9\n",
       Stage("pps_wr", StrataOf(Var("s")) + Size("1") + kBySize + Out("Index", "i")),
       {"(s = a, case 2: -3)"},
       true},
      {"probabilities that are only approached",
       "s,u,size\na,1,1\na,2,2\na,3,3\na,4,4\na,5,5\na,6,6\na,7,7\n",
       Stage("pps_brewer", kUnits + kBySize),
       {"PPS_BREWER comes only near the probabilities that it states", "; --exact-design draws"},
       true},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.aim);
    const Found told(c.csv, c.stage, false);
    EXPECT_EQ(told.status, RunStatus::kOk) << told.json;
    ASSERT_EQ(told.remarks.size(), c.parts.empty() ? 0U : 1U) << testing::PrintToString(told.remarks);
    for (const std::string& part : c.parts) EXPECT_THAT(told.remarks[0], HasSubstr(part));
    EXPECT_EQ(nlohmann::json::parse(told.json)["remarks"], nlohmann::json(told.remarks));
    const Found refused(c.csv, c.stage, true);
    EXPECT_EQ(refused.status == RunStatus::kError, c.isRefused);
    EXPECT_EQ(refused.hasSample, !c.isRefused);
    EXPECT_EQ(refused.remarks.size(), told.remarks.size());
  }
}

// How far off a draw is, by the numbers of DesignProbabilities.OfTwoDrawsAreTheKnownOnes; and a unit that
// came up more than once.
TEST(Findings, TellWhatTheDrawDid) {
  const Found brewer("s,u,size\na,1,1\na,2,2\na,3,3\na,4,4\na,5,5\na,6,6\na,7,7\n",
                     Stage("pps_brewer", kUnits + kBySize), false);
  EXPECT_THAT(brewer.remarks,
              ElementsAre(HasSubstr("by at most 0.0254 (s = a, u = 7: stated 0.5, true 0.5254)")));
  const Found hits("s,u\na,1\n", Stage("simple_wr", kUnits + Size("3")), false);
  EXPECT_THAT(hits.remarks, ElementsAre(HasSubstr("1 unit was hit more than once (s = a, u = 1: 3 hits)")));
}

// A draw that fails says where: all units that are too large, in all strata, with the limit of each.
TEST(Findings, NameWhatFailed) {
  const Found large("s,u,size\na,1,8\na,2,1\nb,1,1\nb,2,1\nb,3,4\n",
                    Stage("pps_systematic", kUnits + Size("2") + kBySize), false);
  EXPECT_EQ(large.status, RunStatus::kError);
  EXPECT_THAT(
      large.remarks,
      ElementsAre(HasSubstr("2 units are too large to be drawn in proportion to their size (s = a, u = 1: "
                            "8, limit 4.5; s = b, u = 3: 4, limit 3)")));
  const Found missing("s,u,size\na,1,8\na,2,\n", Stage("pps_systematic", kUnits + Size("1") + kBySize),
                      false);
  EXPECT_THAT(missing.remarks, ElementsAre(HasSubstr("1 unit has no measure of size (s = a, u = 2)")));
  const Found misread("s,u\na,1\n", Wor(kUnits + Size("10%")), true);
  EXPECT_EQ(misread.status, RunStatus::kError);
  EXPECT_THAT(misread.remarks, ElementsAre(HasSubstr("\"10%\" is read as 10")));
}

// Where a plan is wrong is told by a run as well; where it contradicts itself, a strict run refuses it. Rows
// of a table are compared as values, and one that no case matches is no error.
TEST(Findings, NameWhatThePlanContradicts) {
  const std::string csv = "s,u\n1,1\n1,2\n";
  const std::string same = StrataOf(Var("s")) + Table(Var("s"), Row("1", {"1"}) + Row("2", {"1.0"}), 2);
  const std::string more = StrataOf(Var("s")) + Table(Var("s"), Row("1", {"1"}) + Row("2", {"2"}), 1);
  const std::string unused = StrataOf(Var("s")) + Table(Var("s"), Row("1", {"1"}) + Row("2", {"2"}), 2);
  const struct {
    std::string stages;
    const char* remark;
    RunStatus status, strict;
  } kCases[] = {
      {Wor(same), "stage 1: row 2 of the table has the same categories as row 1", RunStatus::kOk,
       RunStatus::kError},
      {Wor(more), "stage 1: numberOfValues is '1', and the number of rows is 2", RunStatus::kOk,
       RunStatus::kError},
      {Wor(unused), "stage 1: 1 row of the table matches no case (row 2: s = 2)", RunStatus::kOk,
       RunStatus::kOk},
      {Wor(Size("0")), "p.xml, line 1, column ", RunStatus::kError, RunStatus::kError},
      {Wor(ClustersOf(Var("U")) + In("InputSampleSize", Var("v"))), "'v' isn't in the frame",
       RunStatus::kError, RunStatus::kError},
      {Wor("<InputSampleSize/>"), "nothing was drawn: stage 1 has no size or rate", RunStatus::kError,
       RunStatus::kError},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.remark);
    const Found told(csv, c.stages, false);
    EXPECT_EQ(told.status, c.status) << told.json;
    EXPECT_THAT(told.remarks, ElementsAre(HasSubstr(c.remark)));
    const Found refused(csv, c.stages, true);
    EXPECT_EQ(refused.status, c.strict) << refused.json;
    EXPECT_EQ(refused.hasSample, c.strict == RunStatus::kOk);
  }
}
