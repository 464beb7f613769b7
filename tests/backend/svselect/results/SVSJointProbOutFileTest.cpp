#include <gmock/gmock.h>

#include "DrawSession.h"

using testing::ElementsAre;

// The strata are in the order in which they appear in the frame, whatever the order of the draw; a variable
// that has the name of a new one gives way. Two of three units of sizes 3, 3 and 2 have the joint probability
// (pi_i + pi_j - pi_k) / 2 of their own.
TEST(SVSJointProbOutFile, ComesOutOfADraw) {
  const DrawSession draw(
      "UNIT_NO_,c,m\nz long enough ,1,3\nz long enough,2,3\nz long enough,3,2\na,4,5\n,6,1\n",
      Stage("pps_sampford", Strata("unit_no_") + Clusters("c") + Size("2") +
                                "<MOS fromData='no'><Variable name='m'/></MOS>") +
          Out("Weight", "w"),
      "/CRITERIA SEED=1 /SAMPLEFILE OUTFILE='@/s.csv' /JOINTPROB OUTFILE='@/j.csv'");
  EXPECT_THAT(draw.messages, ElementsAre("warning: Pop size too big in stage 1 stratum ..."));
  EXPECT_THAT(draw.files, testing::UnorderedElementsAre("sample 3", "joint 3"));
  EXPECT_THAT(draw.Cases("j.csv"),
              ElementsAre("Unit_No_1_,c,Unit_No_,Joint_Prob_1_,Joint_Prob_2_", "z long enough,2,1,0.75,0.5",
                          "z long enough,1,2,0.5,0.75", "a,4,1,1,."));
  const Dictionary dictionary = draw.DictionaryOf("j.csv");
  const KORV_Variable& unit = dictionary.variables[2];
  const KORV_Variable& last = dictionary.variables[4];
  EXPECT_EQ(unit.GetFormat(), (KORV_Format{.decimals = 0}));
  EXPECT_EQ(unit.GetMeasurementLevel(), kLevelNominal);
  EXPECT_EQ(last.GetWriteFormat(), KORV_Format());
  EXPECT_EQ(last.GetMeasurementLevel(), kLevelScale);
}
