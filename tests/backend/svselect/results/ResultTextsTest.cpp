#include <gmock/gmock.h>

#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/results/OutputVariables.h"
#include "backend/svselect/results/SampleDocument.h"
#include "host/model/KORV_DataSource.h"

namespace {

using Texts = std::vector<std::string>;
using testing::ElementsAre;

class Names : public KORV_DataSource {
public:
  explicit Names(const Texts& names) : KORV_DataSource(std::make_shared<Dictionary>()) {
    for (const std::string& name : names) GetDictionary().variables.emplace_back(name, 0);
  }
};

Texts Describe(const SVSValidSpecs& specs) {
  const SVSDocumentStrings strings = DescribeDesign(specs, Names({"region", "town", "size"}));
  Texts texts;
  for (std::size_t i = 0; i < strings.Count(); ++i) texts.push_back(strings.Line(i, 0, 1000));
  return texts;
}

}  // namespace

TEST(UniqueVariableName, TakesTheFirstFreeNameThatFits) {
  const std::string x63(63, 'x');
  struct Case {
    const char* aim;
    Texts taken;
    std::string name;
    std::size_t limit;
    std::string unique;
  };
  const Case kCases[] = {
      {"taken in another case", {"A"}, "a", 64, "a_1_"},
      {"underscore at the end", {"a_"}, "a_", 64, "a_1_"},
      {"free", {"b"}, "a", 64, "a"},
      {"first numbers taken", {"a", "A_1_", "a_2_"}, "a", 64, "a_3_"},
      {"just fits", {std::string(61, 'x')}, std::string(61, 'x'), 64, std::string(61, 'x') + "_1_"},
      {"cut", {x63 + "y"}, x63 + "y", 64, std::string(61, 'x') + "_1_"},
      {"cut, underscore at the end", {x63 + "_"}, x63 + "_", 64, std::string(62, 'x') + "1_"},
      {"cut within a character", {"abc\xC3\xA9z"}, "abc\xC3\xA9z", 7, "abc_1_"},
      {"cut behind a character", {"abc\xC3\xA9z"}, "abc\xC3\xA9z", 8, "abc\xC3\xA9_1_"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    EXPECT_EQ(UniqueVariableName(Names(c.taken), c.name, c.limit), c.unique);
  }
}

// The tag decides which of the quantities is described.
TEST(SampleDocument, TellsTheQuantityOfAStage) {
  const struct {
    std::int32_t type;
    const char* line;
  } kCases[] = {
      {kPopSizeValue, ""},
      {kRateValue, "Proportion of Units Sampled: 0.333333"},
      {kRateVariable, "Proportion of Units Sampled: Obtained from variable town"},
      {kRateMatrix, "Proportion of Units Sampled: Obtained from matrix specification"},
      {kSizeValue, "Number of Units Sampled: 1e+06"},
      {kSizeVariable, "Number of Units Sampled: Obtained from variable size"},
      {kSizeMatrix, "Number of Units Sampled: Obtained from matrix specification"},
  };
  for (const auto& c : kCases) {
    DesignStage stage(1);
    stage.setRateValue(1.0 / 3.0);
    stage.setRateVariable(1);
    stage.setSizeValue(1000000);
    stage.setSizeVariable(2);
    stage.setInclusionType(c.type);
    SVSValidSpecs specs;
    specs.AddDesignStage("", &stage, nullptr, nullptr, nullptr);
    EXPECT_EQ(Describe(specs)[3], *c.line == '\0' ? "Estimator Assumption: " : c.line);
  }
}

// The measure of size belongs to the plan and stands with each stage. What a number has beyond 10 characters
// is lost, even of its exponent.
TEST(SampleDocument, TellsAllOfAPlan) {
  DesignStage first(1);
  const DesignStage second(2);
  first.setStrata({0, 2});
  first.setClusters({1});
  first.setMethodType(kMethodPpsSampford);
  first.setRateMinSize(2);
  first.setRateMaxSize(1234567);
  SVSValidSpecs specs;
  specs.AddDesignStage("Towns", &first, nullptr, nullptr, nullptr);
  specs.AddDesignStage("", &second, nullptr, nullptr, nullptr);
  specs.SetFinalWeight("w", -1);
  specs.SetMosFromData(true);
  specs.SetMosMin(0.5);
  const std::string unequal =
      "Unequal probability sampling without replacement(using joint inclusion probabilitites)";
  EXPECT_THAT(
      Describe(specs),
      ElementsAre("Plan File: ", "Weight Variable: w", "Stage 1: Towns",
                  "Stratification Variables: region size ", "Cluster Variables: town ",
                  "Selection Method: Sampford sampling with PPS", "Measure of Size: Obtained from data",
                  "Minimum MOS Value: 0.5", "Minimum Number of Units Sampled: 2",
                  "Maximum Number of Units Sampled: 1.23457e+0", "Estimator Assumption: " + unequal,
                  "Stage 2", "Measure of Size: Obtained from data", "Minimum MOS Value: 0.5",
                  "Estimator Assumption: "));
  specs.SetMosVariable(2);
  EXPECT_EQ(Describe(specs)[6], "Measure of Size: Obtained from variable size");
}

TEST(SampleDocument, IndentsAllButTheFirstLine) {
  setenv("SOURCE_DATE_EPOCH", "1709164800", 1);  // 2024-02-29
  SVSDocumentStrings strings;
  strings.Add(std::string(72, 'x'));
  strings.Add("");
  strings.Add("y");
  EXPECT_THAT(MakeSampleDocument(strings).Lines(),
              ElementsAre("document " + std::string(71, 'x'), "         x", "         y",
                          "         Date: 2024-02-29"));
  unsetenv("SOURCE_DATE_EPOCH");
}
