#include <gmock/gmock.h>

#include <fstream>
#include <iterator>

#include "PlanText.h"
#include "backend/svcommon/PlanInWords.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/environment/HostSession.h"

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
