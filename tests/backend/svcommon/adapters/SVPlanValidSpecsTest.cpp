#include "backend/svcommon/adapters/SVPlanValidSpecs.h"

namespace {
struct Specs : SVPlanValidSpecs {
  void Validate() override {}
};
}  // namespace

// Slots come from the caller's one counter; what has a slot keeps it, in each of its two roles.
TEST(SVPlanValidSpecs, HandsOutSlots) {
  Specs specs;
  EXPECT_EQ(specs.RecordIndex(5, 0, true), 0);
  EXPECT_EQ(specs.RecordIndex(5, 1, true), 0);
  EXPECT_EQ(specs.RecordIndex(5, 1, false), 1);
  EXPECT_EQ(specs.MatrixRecordIndex(5, 2), 2);
  EXPECT_EQ(specs.MatrixRecordIndex(5, 3), 2);
  std::int32_t next = 3;
  EXPECT_EQ(specs.CaseIdRecordIndex(&next), 3);
  EXPECT_EQ(specs.CaseIdRecordIndex(&next), 3);
  EXPECT_EQ(next, 4);
  EXPECT_EQ(specs.DictionaryVars(), std::vector<std::int32_t>{-1});
}

TEST(SVPlanValidSpecs, AnswersForEveryStageAndForNoOther) {
  Specs specs;
  const DesignStage stage(1);
  EXPECT_EQ(specs.AddDesignStage("Schools", &stage, nullptr, nullptr, nullptr), 1);
  ASSERT_NE(specs.MatrixSpec(0), nullptr);
  EXPECT_EQ(specs.MatrixSpec(0)->map, nullptr);
  for (const int index : {-1, 1}) {
    EXPECT_EQ(specs.MatrixSpec(index), nullptr);
    EXPECT_EQ(specs.MatrixStageNumber(index), -1);
  }
  EXPECT_EQ(specs.DecimalChar(), '.');
}
