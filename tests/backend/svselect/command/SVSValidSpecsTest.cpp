#include "backend/svselect/command/SVSValidSpecs.h"

namespace {

using Ints = std::vector<std::int32_t>;

// A stage that has every kind of size and rate, of which `type` tells the one to use.
DesignStage Stage(int number, const Ints& strata, const Ints& clusters, int type) {
  DesignStage stage(number);
  stage.setStrata(strata);
  stage.setClusters(clusters);
  stage.setMethodType(kMethodSimpleWor);
  stage.setRateVariable(20);
  stage.setRateValue(0.5);
  stage.setSizeVariable(21);
  stage.setSizeValue(2);
  stage.setInclusionType(type);
  return stage;
}

}  // namespace

// One counter over all roles: strata, clusters and parameter stage by stage, then weight, size, case id.
TEST(SVSValidSpecs, LaysOutTheRecord) {
  struct Case {
    const char* aim;
    int firstType, secondType;  // inclusion types; their variable, if any, is 20 and 21
    int weight, mos;
    Ints dictionaryVars, rates, sizes, matrixStages;
    int firstSpec;  // slot of the first stage's parameter
  };
  const Case kCases[] = {
      {"values take no slot", kSizeValue, kRateValue, -1, -1, {3, 1, 7, -1}, {}, {}, {}, -1},
      {"two variables", kRateVariable, kSizeVariable, -1, -1, {3, 1, 20, 7, 21, -1}, {2}, {4}, {}, 2},
      {"tables have none", kSizeMatrix, kRateMatrix, 9, -1, {3, 1, -1, 7, -1, 9, -1}, {4}, {2}, {1, 2}, 2},
      {"weight and size are one", kSizeValue, kSizeValue, 9, 9, {3, 1, 7, 9, -1}, {}, {}, {}, -1},
      {"a stratum is the size, too", kSizeValue, kSizeValue, -1, 3, {3, 1, 7, 3, -1}, {}, {}, {}, -1},
      {"a rate is the size, too", kRateVariable, kSizeValue, 9, 20, {3, 1, 20, 7, 9, -1}, {2}, {}, {}, 2},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const DesignStage first = Stage(1, {3}, {1}, c.firstType), second = Stage(2, {3}, {7}, c.secondType);
    SVSValidSpecs specs;
    specs.AddDesignStage("", &first, nullptr, nullptr, nullptr);
    specs.AddDesignStage("", &second, nullptr, nullptr, nullptr);
    if (c.weight >= 0) specs.SetPreviousWeight(c.weight);
    if (c.mos >= 0) specs.SetMosVariable(c.mos);
    specs.Validate();
    EXPECT_EQ(specs.DictionaryVars(), c.dictionaryVars);
    EXPECT_EQ(specs.RateRecordIndices(), c.rates);
    EXPECT_EQ(specs.SizeRecordIndices(), c.sizes);
    EXPECT_EQ(specs.MatrixStages(), c.matrixStages);
    EXPECT_EQ(specs.DesignVars(), (Ints{3, 1, 3, 7}));
    // The computation sees slots alone. A stratum of both stages belongs to the first.
    const SVSCompSettings& settings = *specs.CompSettings();
    EXPECT_EQ(settings.CatDesignVars(), (Ints{0, 1, specs.CatRecordIndex().at(7)}));
    EXPECT_EQ(settings.StageSpecVar(1), c.firstSpec);
    EXPECT_EQ(settings.CaseIdVar(), static_cast<int>(c.dictionaryVars.size()) - 1);
  }
}

// A bound of 0 is no bound. Whatever else a run is given shows in its sample.
TEST(SVSValidSpecs, HandsTheRunToTheComputation) {
  DesignStage stage = Stage(1, {}, {}, kSizeValue);
  stage.setRateMaxSize(0);
  stage.requestOutput(kOutWeight, "V");
  SVSValidSpecs specs;
  specs.Validate();
  EXPECT_EQ(specs.CompSettings(), nullptr);
  specs.AddDesignStage("", &stage, nullptr, nullptr, nullptr);
  specs.SetFinalWeight("W", -1);
  EXPECT_EQ(specs.MaxObsAdded(), 2u);
  specs.SetMosMin(0.0);
  specs.SetDataOptions(false, true);
  specs.SetThreads(3);
  specs.Validate();
  const SVSCompSettings& settings = *specs.CompSettings();
  EXPECT_EQ(settings.DesignStages().front().rateMaxSize(), -1.0);
  EXPECT_EQ(settings.MOSMin(), -1.0);
  EXPECT_TRUE(settings.PreSorted());
  EXPECT_EQ(settings.NumThreads(), 3);
  EXPECT_NE(settings.StopProcessor(), nullptr);
}

TEST(SVSValidSpecs, TakesTheSeedFromTheClockWhenNoneIsGiven) {
  for (const std::int32_t given : {-1, 0, 20}) {
    SVSValidSpecs specs;
    specs.SetSeed(given);
    EXPECT_EQ(specs.SeedNotGiven(), given < 1);
    EXPECT_GE(specs.Seed(), 1);
  }
}
