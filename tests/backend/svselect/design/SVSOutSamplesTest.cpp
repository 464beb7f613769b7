#include "backend/svselect/design/SVSOutSamples.h"

#include "backend/svselect/design/SVCancelInfo.h"
#include "host/environment/MCStopProcessor.h"

namespace {

TEST(SVSOutSamples, KeepsEachStatusOnceAStage) {
  SVSOutSamples out;
  SVStatus ok, unequal = WarningStatus(kStatusUnequalSpec), missing = ErrorStatus(kStatusMissingSpec);
  out.SetStage(3);
  EXPECT_FALSE(out.AddStatus(ok));
  EXPECT_EQ(ok, SVStatus());
  EXPECT_TRUE(out.AddStatus(unequal));
  EXPECT_FALSE(out.AddStatus(unequal));
  EXPECT_TRUE(out.AddStatus(missing));
  out.SetStage(4);
  EXPECT_TRUE(out.AddStatus(unequal));
  SVStatus severe = unequal, detailed = unequal;
  severe.severity = -1;
  detailed.reals[1] = 0.5;
  EXPECT_TRUE(out.AddStatus(severe) && out.AddStatus(detailed));
  ASSERT_EQ(out.Statuses().size(), 5U);
  EXPECT_EQ(out.Statuses()[0].ints, (std::array<std::int32_t, 3>{0, 3, 0}));
  EXPECT_EQ(out.Statuses()[1].ints, (std::array<std::int32_t, 3>{3, 0, 0}));
  EXPECT_EQ(out.Statuses()[2].ints, (std::array<std::int32_t, 3>{0, 4, 0}));
}

// Goal: only the answer to IsCancelled() stays.
TEST(SVCancelInfo, FirstYesStays) {
  struct Once : MCStopProcessor {
    Once() : MCStopProcessor(0.0) {}
    bool Stopped() override { return ++asked == 2; }
    bool Tick() override { return ++ticks == 1; }
    int asked = 0, ticks = 0;
  } once;
  SVCancelInfo info(&once);
  EXPECT_TRUE(info.Tick());
  EXPECT_FALSE(info.Tick());
  EXPECT_FALSE(info.IsCancelled());
  EXPECT_TRUE(info.IsCancelled());
  EXPECT_TRUE(info.IsCancelled() && info.Tick());
  EXPECT_EQ(once.asked, 2);
  SVCancelInfo alone(nullptr);
  EXPECT_FALSE(alone.IsCancelled() || alone.Tick());
  alone.Cancel();
  EXPECT_TRUE(alone.IsCancelled() && alone.Tick());
}

}  // namespace
