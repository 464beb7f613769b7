#include <gmock/gmock.h>

#include "DrawSession.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

const std::string kFrame = "t,s,c\n1,z,5\n1,b,5\n1,b,6\n2,b,7\n,b,8\n";
const std::string kTwoStages =
    "<SampleStage stageNumber='1' label='Towns' selectionMethod='simple_wor'>" + Strata("s") + Clusters("t") +
    Size("2") + Out("Index", "i") + "</SampleStage>" +
    "<SampleStage stageNumber='2' selectionMethod='simple_wor'>" + Strata("c") + Rate("0.5") +
    Out("CumulativeWeight", "cw") + "</SampleStage>" + Out("Weight", "w");

}  // namespace

// Rows are in the order of the values, whatever the order of the draw; groups nest by variable.
TEST(SVSSummaryTable, ShowsTheStrataOfEachStage) {
  const DrawSession draw(kFrame, kTwoStages, "/CRITERIA SEED=1");
  const std::string title = " (Summary) Plan File @/plan.xml";
  Texts expected = {"Summary stage 1 label Towns" + title};
  const auto addRow = [&](const std::string& stub, const Texts& values) {
    for (std::size_t i = 0; i < values.size(); ++i) {
      expected.push_back(std::string(i % 2 == 0 ? "Value/Requested" : "Value/Actual") + "; Statistics/" +
                         (i < 2 ? "Number" : "Proportion") + " of Units Sampled" + stub + ": " + values[i]);
    }
  };
  addRow("; Variables/s =/b", {"2", "2", "100.0%", "100.0%"});
  addRow("; Variables/s =/z", {"2", "1", "200.0%", "100.0%"});
  expected.push_back("Summary stage 2" + title);
  for (const char* stub :
       {"s = b/t = 1/c =/5", "s = b/t = 1/c =/6", "s = b/t = 2/c =/7", "s = z/t = 1/c =/5"})
    addRow(std::string("; Variables/") + stub, {"1", "1", "50.0%", "100.0%"});
  EXPECT_EQ(draw.tables, expected);

  const std::string plain = Stage("simple_wor", Size("4")) + Out("Weight", "w");
  expected = {"Summary stage 1" + title};
  addRow("", {"4", "4", "80.0%", "80.0%"});
  EXPECT_EQ(DrawSession(kFrame, plain, "").tables, expected);
  EXPECT_THAT(DrawSession(kFrame, plain, "/PRINT CPS").tables, Not(Contains("Summary stage 1" + title)));
}

// Above the bound the table has a note and no rows.
TEST(SVSSummaryTable, HasABoundOfVariables) {
  for (const int count : {18, 19}) {
    std::string names = "v", values = "1", strata = Var("v");
    for (int i = 1; i < count; ++i) {
      names += ",v" + std::to_string(i);
      values += ",1";
      strata += Var("v" + std::to_string(i));
    }
    const DrawSession draw(names + "\n" + values + "\n",
                           Wor(StrataOf(strata) + Size("1")) + Out("Weight", "w"), "");
    EXPECT_EQ(draw.tables.size(), count == 18 ? 5U : 2U);
    EXPECT_EQ(draw.tables.at(1) == "note Too many strata clusters in summary table ...", count == 19);
    EXPECT_EQ(draw.active.back(), values + ",1");
  }
}

TEST(PrintNotes, TellsInputsAndOutputs) {
  struct Case {
    const char* command;
    Texts notes;
  };
  const Case kCases[] = {
      {"/CRITERIA SEED=7",
       {"1 Plan File: @/plan.xml", "1 Random Number Seed: 7",
        "4 Definition of Missing: User missing excluded in selection ...",
        "4 Cases Used: Cases used selection ...", "3 Index_1_: i", "3 SampleWeightCumulative_2_: cw",
        "3 SampleWeight_Final_: w"}},
      {"/CRITERIA SEED=7 STAGES=1 /CLASSMISSING INCLUDE /SELECTRULE OUTFILE='@/r.txt' /SAMPLEFILE "
       "OUTFILE='@/s.csv'",
       {"1 Plan File: @/plan.xml", "1 Random Number Seed: 7",
        "4 Definition of Missing: User missing included in selection ...", "2 Sample File: @/s.csv",
        "2 Selection Rule File: @/r.txt"}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.command);
    EXPECT_EQ(DrawSession(kFrame, kTwoStages, c.command).notes, c.notes);
  }
}

TEST(PrintCaseProcessing, CountsTheLastPass) {
  const DrawSession draw(kFrame, kTwoStages, "/CRITERIA SEED=1 /PRINT CPS");
  EXPECT_THAT(draw.tables, ElementsAre("Case Processing Summary (Case Processing Summary) ",
                                       "Cases/Valid; Value/Unweighted Cases: 4",
                                       "Cases/Invalid; Value/Unweighted Cases: 1",
                                       "Cases/Total; Value/Unweighted Cases: 5"));
}
