#include "planning/PlannedAllocation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

#include "FrameSession.h"
#include "backend/svcommon/SVPlanSpecs.h"
#include "host/model/Dictionary.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Trouble: a text that ends in a blank, a missing stratum, a user-missing cluster, -0 beside 0, a unit without a
// value, and clusters whose names recur in another stratum.
constexpr const char* kFrame =
    "s,u,z,y\n"
    "b,1,0,10\n"
    "\"a \",1,-0,1\n"
    "a,2,0,2\n"
    "a,2,1.5,3\n"
    "b,1,0,30\n"
    "none,1,0,99\n"
    "a,9,0,99\n"
    "b,2,0,\n"
    "b,3,0,5\n";
constexpr const char* kSchema =
    R"({"fields": [{"name": "s", "type": "string", "missingValues": ["none"]},
                   {"name": "u", "type": "number", "missingValues": ["9"]},
                   {"name": "z", "type": "number"}, {"name": "y", "type": "number"}]})";

// "b 3/2 22.5 24.7; 1" is a stratum with 3 units, 2 of them with a value; one case was left out.
std::string Show(const StratumCounts& counts) {
  std::string text;
  for (const StratumCount& count : counts.strata) {
    for (const std::string& category : count.categories) text += category + " ";
    text +=
        fmt::format("{}/{} {:.1f} {:.1f}; ", count.units, count.unitsWithValue, count.mean, count.deviation);
  }
  return text + std::to_string(counts.leftOut);
}

TEST(CountStrata, CountsUnitsAsADrawDoes) {
  const FrameSession frame(kFrame, kSchema);
  ActiveFile& file = ActiveFile::Current();
  const auto count = [&](const StratumColumns& columns) {
    return Show(CountStrata(file.Engine(), *file.SharedDictionary(), columns));
  };
  EXPECT_EQ(count({.strata = {0}, .clusters = {1}, .variable = 3}), "a 2/2 3.0 2.8; b 3/2 22.5 24.7; 2");
  EXPECT_EQ(count({.strata = {0}, .clusters = {}, .variable = 3}), "a 4/4 26.2 48.5; b 4/3 15.0 13.2; 1");
  EXPECT_EQ(count({.strata = {2}, .clusters = {}, .variable = 3}), "0 8/7 35.1 44.7; 1.5 1/1 3.0 nan; 0");
  EXPECT_EQ(count({.strata = {2, 0}, .clusters = {}}),
            "0 a 3/0 0.0 nan; 0 b 4/0 0.0 nan; 1.5 a 1/0 0.0 nan; 1");
}

// Four strata by a text and a number.
StratumCounts TestCounts() {
  StratumCounts counts;
  const auto add = [&](std::vector<std::string> categories, std::int64_t units, double mean,
                       double deviation) {
    counts.strata.push_back({.categories = std::move(categories),
                             .units = units,
                             .unitsWithValue = units,
                             .mean = mean,
                             .deviation = deviation});
  };
  add({"E", "1"}, 40, 10, 1);
  add({"E", "2.5"}, 20, -40, 4);
  add({"M", "1"}, 10, 5, 6);
  add({"M", "2.5"}, 5, 100, 0.5);
  return counts;
}

PlannedAllocation Plan(const std::string& text, bool hasFrame = true) {
  Dictionary dictionary;
  dictionary.variables = {KORV_Variable("type", 1), KORV_Variable("zone", 0)};
  AllocationWords words;
  EXPECT_EQ(ReadAllocationWords(text, &words), "");
  words.by = {"TYPE", "zone"};
  const StratumCounts counts = TestCounts();
  return PlanAllocation(words, hasFrame ? &dictionary : nullptr, hasFrame ? &counts : nullptr, false);
}

// Goal: numbers come from the frame, from one number, or from the row of a table with the same categories. The
// sizes were worked out by hand.
TEST(PlanAllocation, TakesItsNumbersFromFrameAndTables) {
  const TestFolder folder;
  const std::string table = folder.Write("t.csv", "Type;ZONE;x\nE;1.0;3\n\"E\";2.50;1\nM;1;1\n\nM;2.5;8\n");
  const std::pair<std::string, std::vector<std::int64_t>> kCases[] = {
      {"n=15 rule=equal", {4, 4, 4, 3}},
      {"n=15 rule=proportional", {8, 4, 2, 1}},
      {"n=26 rule=neyman variable=y min=2", {5, 11, 8, 2}},
      {"n=26 rule=neyman sd=" + table, {17, 3, 1, 5}},
      {"n=8 rule=proportional max=" + table, {3, 1, 1, 3}},
      {"n=26 rule=optimal cost=4 sd=2", {14, 7, 3, 2}},
      {"n=13 rule=power exponent=0.5 size=" + table, {4, 2, 2, 5}},
      {"n=26 rule=power exponent=1 variable=y min=2", {5, 11, 8, 2}},  // as neyman
  };
  for (const auto& [text, sizes] : kCases) {
    const PlannedAllocation planned = Plan(text);
    EXPECT_THAT(planned.problems, IsEmpty()) << text;
    EXPECT_EQ(planned.sizes, sizes) << text;
  }
  const PlannedAllocation bare = Plan("n=6 rule=proportional units=" + table, false);
  EXPECT_THAT(bare.sizes, ElementsAre(1, 1, 1, 3));
  SVPlanStageSpecs stage;
  SetSizes(bare, &stage);
  EXPECT_THAT(stage.paramMatrix.Rows().back(), ElementsAre("M", "2.5"));
}

TEST(PlanAllocation, SaysWhatIsWrongWithATable) {
  const TestFolder folder;
  const auto table = [&](const char* rows) {
    return folder.Write("t.csv", std::string("type,zone,x\n") + rows);
  };
  const std::pair<std::string, const char*> kCases[] = {
      {"E,1,1\nE,2.5,1\nM,1,1\n", "stratum TYPE='M', zone='2.5' has no standard deviation, which"},
      {"E,1,1\nE,1.0,1\n", "t.csv, line 3: TYPE='E', zone='1.0' is there twice"},
      {"E,1,x\n", "t.csv, line 2: 'x' is no number"},
      {"E,1\n", "t.csv, line 2: 2 fields, expected 3"},
      {"E,1,-1\nE,2.5,1\nM,1,1\nM,2.5,1", "has the standard deviation -1"},
  };
  for (const auto& [rows, problem] : kCases)
    EXPECT_THAT(Plan("n=9 rule=neyman sd=" + table(rows.c_str())).problems, ElementsAre(HasSubstr(problem)));
  const PlannedAllocation extra = Plan("n=9 rule=equal max=" + table("E,1,3\nE,7,3\n"));
  EXPECT_THAT(extra.remarks, ElementsAre(HasSubstr("line 3: there is no stratum TYPE='E', zone='7'")));
  EXPECT_THAT(extra.problems, IsEmpty());
  EXPECT_THAT(Plan("n=9 rule=equal min=" + table("E,1,2.5\n")).problems,
              ElementsAre(HasSubstr("has the min 2.5, which isn't a whole number")));
}

TEST(ReadAllocationWords, SaysWhatIsWrongAndWhatWasMeant) {
  const std::pair<const char*, const char*> kCases[] = {
      {"rule=equal", "n=... is needed"},
      {"n=9", "rule=... is needed"},
      {"n=9.5 rule=equal", "n='9.5' isn't a whole number"},
      {"n=9 rule=nyman", "'nyman' is no rule of allocation; did you mean neyman?"},
      {"n=9 rule=equal vari=y", "'vari' is no word of an allocation; did you mean variable?"},
      {"n=9 rule=neyman", "the rule neyman needs standard deviations"},
      {"n=9 rule=optimal sd=1", "the rule optimal needs costs"},
      {"n=9 rule=neyman sd=1 cost=2", "cost has no effect"},
      {"n=9 rule=neyman sd=1 exponent=2", "exponent, size and cv have no effect"},
      {"n=9 rule=power", "the rule power needs exponent=Q"},
      {"n=9 rule=power exponent=x", "exponent='x' isn't a number"},
      {"n=9 rule=neyman sd=1 variable=y", "variable and sd exclude each other"},
      {"n=9 rule=equal variable=y units=u.csv", "variable needs a frame"},
      {"n=9 rule=equal units=7", "units='7' isn't a .csv file"},
      {"n=9 rule=neyman sd=sds.txt", "sd='sds.txt' is neither a number nor a .csv file"},
      {"n=9 n=8 rule=equal", "'n' is given twice"},
  };
  for (const auto& [text, problem] : kCases) {
    AllocationWords words;
    EXPECT_THAT(ReadAllocationWords(text, &words), HasSubstr(problem)) << text;
  }
}

}  // namespace
