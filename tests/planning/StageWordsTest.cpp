#include "planning/StageWords.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TestFolder.h"
#include "backend/svcommon/PlanAsText.h"
#include "backend/svcommon/PlanSource.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/environment/HostSession.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

Lines ProblemsOf(const Lines& stages, SVPlanSpecs* plan, bool allocates = false) {
  StageWords words(plan, allocates);
  words.Read(stages);
  return words.Problems();
}

// Goal: the words make the plan that the JSON beside them makes.
TEST(StageWords, MakeTheSamePlanAsJson) {
  const TestFolder folder;
  const std::string table = folder.Write("n.csv", "TYPE;n\nE;50\nM;30\n");
  struct Case {
    Lines stages;
    const char* json;  // of the stages
  };
  const Case kCases[] = {
      {{"n=3"}, R"({"method": "simple_wor", "n": 3})"},
      {{"n=n_h method=simple_wr label='Schools, all'"},
       R"({"label": "Schools, all", "method": "simple_wr", "n": {"variable": "n_h"}})"},
      {{"strata=region clusters=county method=pps_sampford n=4 size=cases  "
        "write=probability:p1,cumulative_weight:w1",
        "strata=type\trate=E:0.05,M:0.1,'a, b:c ''d''':0.2 min=2 max=40"},
       R"({"strata": ["region"], "clusters": ["county"], "method": "pps_sampford", "n": 4, "size": "cases",
           "write": {"probability": "p1", "cumulative_weight": "w1"}},
          {"strata": ["type"], "method": "simple_wor", "min": 2, "max": 40,
           "rate": {"by": ["type"], "rows": [["E", 0.05], ["M", 0.1], ["a, b:c 'd'", 0.2]]}})"},
      {{"strata=a,b method=simple_systematic by=b,a n=1:x:5,2:x:6"},
       R"({"strata": ["a", "b"], "method": "simple_systematic",
           "n": {"by": ["b", "a"], "rows": [["1", "x", 5], ["2", "x", 6]]}})"},
      {{"size_max=9 size=pupils method=pps_brewer clusters=c size_min=2.5"},
       R"({"clusters": ["c"], "method": "pps_brewer", "size": {"variable": "pupils", "min": 2.5, "max": 9}})"},
      {{"strata=type n=" + table},
       R"({"strata": ["type"], "method": "simple_wor", "n": {"by": ["type"], "rows": [["E", 50], ["M", 30]]}})"},
  };
  const HostSession session;
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.json);
    SVPlanSpecs fromWords;
    EXPECT_THAT(ProblemsOf(c.stages, &fromWords), IsEmpty());
    fromWords.weight = "w";
    fromWords.isJson = true;
    SVPlanSpecs fromJson;
    const std::string path = folder.Write(
        "p.json", std::string(R"({"svselect_plan": 1, "weight": "w", "stages": [)") + c.json + "]}");
    const std::unique_ptr<PlanSource> source = OpenPlan(path, &fromJson);
    EXPECT_EQ(source->readSamplePlan(path), 0);
    EXPECT_THAT(source->Faults(), IsEmpty());
    EXPECT_EQ(PlanAsJson(fromWords), PlanAsJson(fromJson));
  }
}

TEST(StageWords, SayWhatIsWrongAndWhatWasMeant) {
  const TestFolder folder;
  const std::string table = folder.Write("n.csv", "type,n\nE,50\nM,x\n");
  const std::string sizes = folder.Write("sizes.csv", "type,n\nE,0.5\n");
  const std::pair<Lines, const char*> kCases[] = {
      {{"metod=pps_wor n=3"}, "stage 1: 'metod' is no word of a stage; did you mean method?"},
      {{"n=3 clusters"}, "stage 1: 'clusters' isn't of the form KEY=VALUE"},
      {{"n=3 label='x"}, "stage 1: a quote isn't closed"},
      {{"n=3 n=4"}, "stage 1: 'n' is given twice"},
      {{"method=PPS_Wor n=3"}, "did you mean pps_wor?"},
      {{"n=0"}, "'0' isn't a whole number above 0"},
      {{"n=3,4"}, "n='3,4' is neither a number, nor a variable"},
      {{"rate=0.1 n=3"}, "n and rate exclude each other"},
      {{"strata=a"}, "stage 1: n=... or rate=... is needed"},
      {{"n=3 min=2"}, "min and max bound what a rate gives"},
      {{"rate=0.1 min=3 max=2"}, "min, 3, is above max, 2"},
      {{"rate=0.1 min=2.5"}, "min='2.5' isn't a whole number above 0"},
      {{"n=E:3"}, "a table of n needs strata, or by=VARIABLES"},
      {{"strata=a n=E:3:4"}, "'E:3:4' isn't a row of the table of n, which has the form a:NUMBER"},
      {{"strata=a n=E:3,M:4,E:5"}, "row 3 of the table has the same categories as row 1"},
      {{"strata=a by=c n=E:3"}, "'c' is neither a stratum of this stage"},
      {{"strata=type n=" + table}, "n.csv, line 3: 'x' is no number"},
      {{"strata=type n=" + sizes}, "sizes.csv, line 2: '0.5' isn't a whole number above 0"},
      {{"strata=a n=" + sizes}, "sizes.csv, line 1: the first line needs a and a name"},
      {{"strata=a n=nothere.csv"}, "nothere.csv: there is no such file"},
      {{"n=3 size=cases"}, "size has no effect: only a pps_ method draws by size"},
      {{"n=3 clusters=c method=pps_wor"}, "size=cases or size=VARIABLE is needed"},
      {{"n=3 method=pps_wor size=x"}, "add clusters=VARIABLES"},
      {{"clusters=c method=pps_murthy size=x n=3"}, "draws two units of each stratum: leave n and rate out"},
      {{"n=3 strata=a,A"}, "'A' is used twice"},
      {{"n=3 write=probability"}, "write='probability' isn't of the form KIND:NAME"},
      {{"n=3 write=probablity:p"}, "'probablity' is no kind of output variable; did you mean probability?"},
      {{"n=3 write=weight:p,weight:q"}, "write has two names for weight"},
      {{"n=3", "n=3"}, "stage 1: the stage has no clusters"},
      {{"n=3 clusters=a method=simple_wr", "n=3"}, "stage 1: 'simple_wr' draws with replacement"},
      {{"n=3 clusters=a", "n=3 method=pps_wr size=x"}, "stage 2: 'pps_wr' draws by size"},
      {{"n=3", "n=3", "n=3", "n=3"}, "a plan has at most 3 stages"},
  };
  for (const auto& [stages, problem] : kCases) {
    SVPlanSpecs plan;
    EXPECT_THAT(ProblemsOf(stages, &plan), testing::Contains(HasSubstr(problem)));
  }
  SVPlanSpecs allocated;
  EXPECT_THAT(ProblemsOf({"strata=a n=3"}, &allocated, true),
              ElementsAre("stage 1: --allocate gives the sizes of the first stage: leave n and rate out"));
  SVPlanSpecs good;
  EXPECT_THAT(ProblemsOf({"strata=a"}, &good, true), IsEmpty());
}

}  // namespace
