#include "backend/svcommon/PlanInWords.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "host/environment/HostSession.h"

TEST(PlanInWords, TellsTheExample) {
  const HostSession session;
  SVPlanSpecs plan;
  ASSERT_EQ(SV_XML::PlanXmlReader(&plan).readSamplePlan(SV_EXAMPLES "/plans/two-stages.xml"), 0);
  EXPECT_EQ(
      PlanInWords(plan),
      (std::vector<std::string>{
          "Sample design of 2 stages",
          "Final weight: sampling_weight",
          "Stage 1: Counties",
          "  Strata: none",
          "  Clusters: county",
          "  Method: Sampford's, in proportion to size",
          "  Units of each stratum: 4",
          "  Measure of size: number of cases",
          "  Leaves county_probability: the inclusion probability",
          "Stage 2: Schools",
          "  Strata: type",
          "  Clusters: none",
          "  Method: at random without replacement, each unit with the same probability",
          "  Rate in each stratum: a table of type with 3 rows; units of a stratum at least 2, at most 40",
          "    E: 0.05",
          "    M: 0.1",
          "    H: 0.2",
          "  Leaves school_probability: the inclusion probability",
          "  Leaves cumulative_weight: the cumulative weight",
      }));
}
