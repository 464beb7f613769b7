#include "backend/svcommon/design/DesignStage.h"

namespace {

// Goal: the tag follows the last value or variable, and nothing else moves it or is lost with it.
TEST(DesignStage, TagFollowsWhatWasSetLast) {
  DesignStage stage(2);
  std::vector<std::int32_t> tags = {stage.inclusionType()};
  const auto note = [&] { tags.push_back(stage.inclusionType()); };
  stage.setInclProbValue(0.1), note(), stage.setInclProbVariable(1), note();
  stage.setPopSizeValue(4), note(), stage.setPopSizeVariable(2), note();
  stage.setRateValue(0.2), note(), stage.setRateVariable(3), note();
  stage.setSizeValue(5), note(), stage.setSizeVariable(4), note();
  stage.setRateMinSize(2), stage.setRateMaxSize(9), note();
  EXPECT_EQ(tags, (std::vector<std::int32_t>{0, 1, 2, 4, 5, 7, 8, 10, 11, 11}));
  EXPECT_EQ(stage.sizeValue(), 5.0);
  for (const std::int32_t kind : {7, -1, 6, 0}) stage.requestOutput(kind, kind == 0 ? "" : "W");
  EXPECT_EQ(stage.requestedOutputs(), (std::vector<std::int32_t>{6}));
  EXPECT_EQ(stage.outputName(6) + stage.outputName(7) + stage.outputName(-1) + stage.outputName(0), "W");
}

}  // namespace
