#include <gmock/gmock.h>

#include "DrawSession.h"
#include "backend/svselect/results/SVSSampleFile.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// All that can be drawn is drawn: the case without a stratum is the only one outside the sample.
const std::string kFrame = "s,a,wt\nx,1,7\n,2,8\nx,3,9\ny,4,7\ny,5,6\n";
const std::string kWeight = Out("Weight", "w");

std::string Census(const std::string& outputs) {
  return Stage("simple_wor", Strata("s") + Size("2") + outputs);
}

std::string SampleFile(const std::string& options) {
  return "/CRITERIA SEED=1 /DATA RENAMEVARS /SAMPLEFILE OUTFILE='@/s.csv' " + options;
}

}  // namespace

TEST(SVSSampleFile, WritesCopiedAndNewVariablesOfSelectedCases) {
  const std::string counted = Census(Out("PopulationSize", "n")) + kWeight;
  struct Case {
    std::string aim, stages, options;
    Texts cases;
  };
  const Case kCases[] = {
      {"all", counted, "", Texts{"s,a,wt,n,w", "x,1,7,2,1", "x,3,9,2,1", "y,4,7,2,1", "y,5,6,2,1"}},
      {"kept, by the list", counted, "KEEP=wt a",
       Texts{"wt,a,n,w", "7,1,2,1", "9,3,2,1", "7,4,2,1", "6,5,2,1"}},
      {"dropped", counted, "DROP=a wt", Texts{"s,n,w", "x,2,1", "x,2,1", "y,2,1", "y,2,1"}},
      {"new ones alone", Census("") + kWeight, "DROP=ALL", Texts{"w", "1", "1", "1", "1"}},
      {"copies", Stage("simple_wr", Strata("a") + Size("2") + Out("Index", "i")) + kWeight, "KEEP=a",
       Texts{"a,i,w", "1,1,0.5", "1,2,0.5", "2,1,0.5", "2,2,0.5", "3,1,0.5", "3,2,0.5", "4,1,0.5", "4,2,0.5",
             "5,1,0.5", "5,2,0.5"}},
      {"no copies without the index",
       Stage("simple_wr", Strata("a") + Size("2") + Out("OutputSampleSize", "k")) + kWeight, "KEEP=a",
       Texts{"a,k,w", "1,2,0.5", "2,2,0.5", "3,2,0.5", "4,2,0.5", "5,2,0.5"}},
      {"copies by the last stage alone",
       Stage("simple_wor", Clusters("s") + Size("2") + Out("Index", "i")) +
           Stage("simple_wr", Strata("a") + Size("2") + Out("Index", "j")) + kWeight,
       "KEEP=a",
       Texts{"a,i,j,w", "1,1,1,0.5", "1,1,2,0.5", "3,1,1,0.5", "3,1,2,0.5", "4,1,1,0.5", "4,1,2,0.5",
             "5,1,1,0.5", "5,1,2,0.5"}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const DrawSession draw(kFrame, c.stages, SampleFile(c.options));
    EXPECT_THAT(draw.messages, IsEmpty());
    EXPECT_EQ(draw.Cases("s.csv"), c.cases);
    EXPECT_THAT(draw.files, ElementsAre("sample " + std::to_string(c.cases.size() - 1)));
  }
}

// An older variable gets its new name from the one that takes its place.
TEST(SVSSampleFile, RenamesOlderVariables) {
  const std::string stages = Census(Out("IncProb", "A") + Out("OutputSampleSize", "n")) + Out("Weight", "WT");
  const DrawSession draw(kFrame, stages, SampleFile("KEEP=a wt /PRINT CPS"));
  EXPECT_THAT(draw.messages, ElementsAre("warning: Some plan output variables are renamed..."));
  EXPECT_EQ(draw.Cases("s.csv"),
            (Texts{"A_1_,WT_1_,A,n,WT", "1,7,1,2,1", "3,9,1,2,1", "4,7,1,2,1", "5,6,1,2,1"}));
  EXPECT_EQ(
      Texts(draw.tables.begin(), draw.tables.begin() + 3),
      (Texts{"Renamed Variables (Renamed Variables) ", "Original Name/A; Information/Current Name: A_1_",
             "Original Name/WT; Information/Current Name: WT_1_"}));
}

TEST(SVSSampleFile, AddsVariablesToTheActiveFile) {
  const DrawSession draw("s,u,WT\nx,1,7\n,1,8\ny,1,9\n",
                         Stage("simple_wor", Strata("s") + Size("1") + Out("Index", "wt")) + kWeight,
                         "/CRITERIA SEED=1 /DATA RENAMEVARS",
                         R"({"fields": [{"name": "s"}], "documents": [["old"]]})");
  EXPECT_THAT(draw.active, ElementsAre("s,u,wt_1_,wt,w", "x,1,7,1,1", ",1,8,.,.", "y,1,9,1,1"));
  EXPECT_THAT(draw.tables, testing::Contains("Original Name/wt; Information/Current Name: wt_1_"));
  EXPECT_THAT(draw.files, IsEmpty());
  ASSERT_EQ(draw.dictionary.documents.size(), 2U);
  EXPECT_THAT(draw.dictionary.documents[0], ElementsAre("old"));
  EXPECT_EQ(draw.dictionary.documents[1][1], "         Weight Variable: w");
}

TEST(SVSSampleFile, DescribesNewVariables) {
  const DrawSession draw(kFrame,
                         Census(Out("IncProb", "p") + Out("CumulativeWeight", "c") + Out("Index", "i") +
                                Out("PopulationSize", "n") + Out("OutputSampleSize", "k") +
                                Out("OutputSampleRate", "r") + Out("Weight", "v")) +
                             kWeight,
                         SampleFile("DROP=ALL"));
  Texts described;
  for (const KORV_Variable& v : draw.DictionaryOf("s.csv").variables) {
    const KORV_Format& f = v.GetFormat();
    EXPECT_EQ(f, v.GetWriteFormat());
    described.push_back(v.GetName() + " " + std::to_string(f.type) + " " + std::to_string(f.width) + "." +
                        std::to_string(f.decimals) + " " + std::to_string(v.GetMeasurementLevel()) + " " +
                        v.GetLabel());
  }
  EXPECT_THAT(described,
              ElementsAre("p 5 10.2 3 Inclusion probability of stage 1",
                          "c 5 10.2 3 Cumulative sampling weight of stage 1",
                          "i 5 10.0 3 Number of selections or copy in stage 1",
                          "n 5 10.0 3 Population size of stage 1", "k 5 10.0 3 Sample size of stage 1",
                          "r 5 10.2 3 Sampling rate of stage 1", "v 5 10.2 3 Sampling weight of stage 1",
                          "w 5 10.2 3 Final sampling weight"));
}
