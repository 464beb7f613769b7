#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "SurveyFolder.h"
#include "host/environment/HostSession.h"
#include "session/RunReport.h"

using testing::HasSubstr;

namespace {

const std::string kBySize = "<MOS fromData='no'>" + Var("size") + "</MOS>";
const std::string kUnits = StrataOf(Var("s")) + ClustersOf(Var("u"));

// A run over a small frame, with all that it says beside its messages.
struct Found {
  Found(const std::string& csv, const std::string& stages, bool strict) {
    const SurveyFolder folder(csv, stages);
    HostSession session({.strict = strict});
    const SurveyOutcome outcome = RunSurvey(session, folder.Request("/CRITERIA SEED=1 " + kSampleFile));
    status = outcome.status;
    remarks = outcome.remarks;
    hasSample = std::filesystem::exists(folder.Path("s.csv"));
    json = ReportText(session, "r.json", outcome);
  }

  RunStatus status;
  std::vector<std::string> remarks;
  bool hasSample;
  std::string json;
};

}  // namespace

// What becomes of the run: drawn whatever is found, drawn unless it is strict, or never.
enum class End { kDrawn, kRefused, kFailed };

// Each finding is one line with the place, the values, the count and the cure; a strict run refuses those
// that make its results wrong, and writes nothing. The limits in the texts are worked by hand; how far off
// PPS_BREWER is are the numbers of DesignProbabilities.OfTwoDrawsAreTheKnownOnes. Rows of a table are compared
// as values, and one that no case matches is no error.
TEST(Findings, AreToldOnceAndRefusedWhenStrict) {
  std::string many = "s,u,size\n";
  for (int i = 1; i <= 14; ++i) many += "a," + std::to_string(i) + ",-" + std::to_string(i) + "\n";
  const std::string kTwoCases = "s,u\n1,1\n1,2\n";
  const auto byTable = [](const char* second, int count) {
    return Wor(StrataOf(Var("s")) + Table(Var("s"), Row("1", {"1"}) + Row("2", {second}), count));
  };
  struct Case {
    std::string aim, csv, stage;
    End end;
    const char* part;  // of a line; empty if there is no line
    const char* other = "";
    const char* second = "";  // another line, if there is one
  };
  const Case kCases[] = {
      {"nothing", "s,u,size\na,1,1\na,2,1\n", Stage("pps_systematic", kUnits + Size(" 1 ") + kBySize),
       End::kDrawn, ""},
      {"a missing stratum", "s,u\na,1\n,2\n,3\nb,\n", Wor(kUnits + Size("1")), End::kDrawn,
       "3 of 4 cases are left out: 2 without s, 1 without u"},
      {"below 0", many + "a,20,200\n", Stage("pps_wr", kUnits + Size("1") + kBySize + Out("Index", "i")),
       End::kRefused, "stage 1: 14 units have a measure of size below 0 (s = a, u = 1: -1; s = a, u = 2: -2;",
       "u = 10: -10; and 4 more): "},
      {"0", "s,u,size\na,1,0\na,2,5\n", Stage("pps_systematic", kUnits + Size("1") + kBySize), End::kDrawn,
       "stage 1: 1 unit has a measure of size of 0 (s = a, u = 1): ", "MinSize"},
      {"0 within bounds", "s,u,size\na,1,0\na,2,5\n",
       Stage("pps_systematic",
             kUnits + Size("1") + "<MOS fromData='no'>" + Var("size") + Bounds("1", "9") + "</MOS>"),
       End::kDrawn, ""},
      {"cases that disagree on their unit's size", "s,u,size\na,1,3\na,1,4\na,1,5\na,2,3\n",
       Stage("pps_systematic", kUnits + Size("1") + kBySize), End::kRefused,
       "stage 1: 2 cases have another measure of size than the first case of their unit",
       "(s = a, u = 1: 3 and 4; and 1 more)"},
      {"a size behind a missing one", "s,u,size\na,1,\na,1,5\na,2,3\n",
       Stage("pps_systematic", kUnits + Size("1") + kBySize), End::kRefused,
       "(s = a, u = 1: none and 5): ", "the first that isn't missing was used"},
      {"sizes of 0 where two are drawn", "s,u,size\na,1,-1\na,2,-2\na,3,-3\n",
       Stage("pps_brewer", kUnits + kBySize), End::kFailed, "3 units have a measure of size below 0", "",
       "1 stratum has measures of size that don't add up to more than 0 (s = a: -6)"},
      {"more than can be counted", "s,u\na,1\n", Wor(kUnits + Size("99999999999")), End::kRefused,
       "(s = a: 99999999999 asked for, 1 there)"},
      {"two of one", "s,u,size\na,1,3\n", Stage("pps_murthy", kUnits + kBySize), End::kRefused,
       "(s = a: 2 asked for, 1 there)"},
      {"cases without a stratum and a weight", "s,v\n,\n1,\n1,2\n",
       "<PreviousWeight><Variable name='v'/></PreviousWeight>" + Wor(StrataOf(Var("s")) + Size("1")),
       End::kDrawn, "2 of 3 cases are left out: 1 without s, 2 without v"},
      {"cases that disagree on the request", "s,u,n\na,1,1\na,2,2\n",
       Wor(kUnits + In("InputSampleSize", Var("n"))), End::kRefused,
       "1 case has another rate or size than the first case of its stratum (s = a: 1 and 2)"},
      {"more than there are", "s,u\na,1\na,2\nb,1\n", Wor(kUnits + Size("2")), End::kRefused,
       "stage 1: 1 stratum has fewer units than are asked for (s = b: 2 asked for, 1 there)"},
      {"fewer than a rate's least", "s,u\na,1\na,2\na,3\nb,1\n",
       Wor(kUnits + Rate("0.3", "<MinSize><SingleValue value='2'/></MinSize>")), End::kDrawn,
       "stage 1: 1 stratum has fewer units than are asked for (s = b: 2 asked for, 1 there)"},
      {"a rate of none", "s,u\na,1\na,2\na,3\nb,1\n", Wor(kUnits + Rate("0.3")), End::kRefused,
       "stage 1: 1 stratum has a rate that comes to no unit (s = b: 0.3 of 1)"},
      {"hits without an Index", "s,u\na,1\n", Stage("simple_wr", kUnits + Size("3")), End::kRefused,
       "stage 1: 1 unit was hit more than once (s = a, u = 1: 3 hits)"},
      {"a case as the unit", "s,size\na,2\na,-3\na,9\n",
       Stage("pps_wr", StrataOf(Var("s")) + Size("1") + kBySize + Out("Index", "i")), End::kRefused,
       "(s = a, case 2: -3)"},
      {"probabilities that are only approached",
       "s,u,size\na,1,1\na,2,2\na,3,3\na,4,4\na,5,5\na,6,6\na,7,7\n", Stage("pps_brewer", kUnits + kBySize),
       End::kRefused,
       "PPS_BREWER comes only near the probabilities that it states, in this draw by at most 0.0254 (s = a, ",
       "u = 7: stated 0.5, true 0.5254); --exact-design draws"},
      {"units too large, each with its limit", "s,u,size\na,1,8\na,2,1\nb,1,1\nb,2,1\nb,3,4\n",
       Stage("pps_systematic", kUnits + Size("2") + kBySize), End::kFailed,
       "2 units are too large to be drawn in proportion to their size (s = a, u = 1: 8, limit 4.5; s = b, "
       "u = 3: 4, limit 3)"},
      {"no size", "s,u,size\na,1,8\na,2,\n", Stage("pps_systematic", kUnits + Size("1") + kBySize),
       End::kFailed, "1 unit has no measure of size (s = a, u = 2)"},
      {"misread", "s,u\na,1\n", Wor(kUnits + Size("1%")), End::kRefused, "\"1%\" is read as 1"},
      {"two rows for a stratum", kTwoCases, byTable("1.0", 2), End::kRefused,
       "stage 1: row 2 of the table has the same categories as row 1"},
      {"more rows than told", kTwoCases, byTable("2", 1), End::kRefused,
       "stage 1: numberOfValues is '1', and the number of rows is 2"},
      {"an unused row", kTwoCases, byTable("2", 2), End::kDrawn,
       "stage 1: 1 row of the table matches no case (row 2: s = 2)"},
      {"invalid rates, beside another reason", "s,u,r\na,1,.5\na,2,1.25\nb,1,0\nb,2,0\n,3,1\n",
       Wor(kUnits + In("InputSampleRate", Var("r"))), End::kFailed,
       "stage 1: 3 cases have an invalid rate in r (s = a: 1.25; s = b: 0): a rate is above 0 and at most 1",
       "", "4 of 5 cases are left out: 1 without s, 3 with an invalid rate in r"},
      {"no row for the first stratum", "s\n3\n1\n3\n4\n", byTable("2", 2), End::kFailed,
       "p.xml, line 1, column ", ": stage 1: the table has no row for 3 cases (s = 3; s = 4): add rows",
       "stage 1: 1 row of the table matches no case (row 2: s = 2)"},
      {"a faulty plan", kTwoCases, Wor(Size("0")), End::kFailed, "p.xml, line 1, column "},
      {"no such variable", kTwoCases, Wor(ClustersOf(Var("U")) + In("InputSampleSize", Var("v"))),
       End::kFailed, "'v' isn't in the frame"},
      {"nearly a variable", "school,u\n1,1\n", Wor(StrataOf(Var("Scool")) + Size("1")), End::kFailed,
       "'Scool' isn't in the frame; names ignore case; did you mean school?"},
      {"no size in the plan", kTwoCases, Wor("<InputSampleSize/>"), End::kFailed,
       "nothing was drawn: stage 1 has no size or rate"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const Found told(c.csv, c.stage, false);
    EXPECT_EQ(told.status, c.end == End::kFailed ? RunStatus::kError : RunStatus::kOk) << told.json;
    const std::size_t lines = (*c.part == '\0' ? 0U : 1U) + (*c.second == '\0' ? 0U : 1U);
    ASSERT_EQ(told.remarks.size(), lines) << testing::PrintToString(told.remarks);
    if (lines > 0) {
      EXPECT_THAT(told.remarks, testing::Contains(testing::AllOf(HasSubstr(c.part), HasSubstr(c.other))));
      EXPECT_THAT(told.remarks, testing::Contains(HasSubstr(c.second)));
    }
    EXPECT_EQ(nlohmann::json::parse(told.json)["remarks"], nlohmann::json(told.remarks));
    const Found refused(c.csv, c.stage, true);
    EXPECT_EQ(refused.status == RunStatus::kError, c.end != End::kDrawn) << refused.json;
    EXPECT_EQ(refused.hasSample, c.end == End::kDrawn);
    EXPECT_EQ(refused.remarks.size(), told.remarks.size());
  }
  // A draw of two units takes no size of a half; a strict run is refused before that is known.
  const Found half("s,u,size\na,1,3\na,2,2\na,3,1\n", Stage("pps_brewer", kUnits + kBySize), false);
  EXPECT_THAT(half.remarks, testing::Contains(HasSubstr("(s = a, u = 1: 3, must be below 3)")));
}
