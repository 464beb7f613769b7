#include "backend/svselect/design/SVSOutSamples.h"

namespace {

TEST(SVSOutSamples, KeepsEachStatusOnceAStage) {
  SVSOutSamples out;
  SVStatus ok, unequal = WarningStatus(kStatusUnequalSpec), missing = ErrorStatus(kStatusMissingSpec);
  out.SetStage(3);
  EXPECT_FALSE(out.AddStatus(ok));
  EXPECT_EQ(ok, SVStatus());
  EXPECT_TRUE(out.AddStatus(unequal) && !out.AddStatus(unequal) && out.AddStatus(missing));
  out.SetStage(4);
  SVStatus severe = unequal, detailed = unequal;
  severe.severity = -1, detailed.reals[1] = 0.5;
  EXPECT_TRUE(out.AddStatus(unequal) && out.AddStatus(severe) && out.AddStatus(detailed));
  ASSERT_EQ(out.Statuses().size(), 5U);
  const std::array<std::int32_t, 3> kStamped[] = {{0, 3, 0}, {3, 0, 0}, {0, 4, 0}};
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(out.Statuses()[i].ints, kStamped[i]);
}

}  // namespace
