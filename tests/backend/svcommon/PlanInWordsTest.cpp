#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

#include "PlanText.h"
#include "backend/svcommon/PlanInWords.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "backend/svcommon/design/MethodTable.h"
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

std::string TextOf(const std::string& path) {
  std::ifstream file(path);
  EXPECT_TRUE(file.good()) << path;
  return {std::istreambuf_iterator<char>(file), {}};
}

// Goal: no method without an example that draws by it, its words and a place in each document.
TEST(PlanInWords, TellsEveryMethodAndSoDoTheDocuments) {
  const HostSession session;
  const std::string root = SV_EXAMPLES "/../";
  for (const SVMethod& method : kMethods) {
    const std::string word(method.word);
    const std::string example = SV_EXAMPLES "/plans/" + Replace(word, "_", "-") + ".xml";
    SCOPED_TRACE(word);
    SVPlanSpecs plan;
    ASSERT_EQ(SV_XML::PlanXmlReader(&plan).readSamplePlan(example), 0);
    EXPECT_EQ(plan.stages.front().type, method.type);
    EXPECT_THAT(PlanInWords(plan), testing::Contains("  Method: " + std::string(method.inWords)));
    for (const char* document : {"README.md", "docs/GUIDE.md", "examples/README.md"}) {
      EXPECT_THAT(TextOf(root + document), testing::HasSubstr('`' + word + '`')) << document;
    }
    EXPECT_THAT(TextOf(root + "data/korv-survey-plans-1.0.dtd"), testing::HasSubstr(word));
  }
}
