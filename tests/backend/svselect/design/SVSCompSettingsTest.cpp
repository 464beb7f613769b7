#include "backend/svselect/design/SVSCompSettings.h"

namespace {

// Two sound stages: strata 0, clusters 1; then strata 2, clusters 3.
SVSCompSettings TwoStages() {
  SVSCompSettings s;
  s.AddDesignVar(2, kRoleStrata, 2);
  s.AddDesignVar(3, kRoleCluster, 2);
  s.AddDesignVar(0, kRoleStrata, 1);
  s.AddDesignVar(1, kRoleCluster, 1);
  for (const int stage : {1, 2}) {
    s.SetMethod(kMethodSimpleWor, stage);
    s.SetSpecValue(2, kSizeValue, stage);
  }
  return s;
}

TEST(SVSCompSettings, ValidateFindsTheFirstFault) {
  struct Case {
    const char* aim;
    void (*change)(SVSCompSettings&);
    std::int32_t code, stage;
  };
  const Case kCases[] = {
      {"sound", [](auto&) {}, 0, 0},
      {"no stages", [](auto& s) { s = SVSCompSettings(); }, kStatusNoStages, 0},
      {"first isn't 1", [](auto& s) { s.FindStage(0); }, kStatusFirstStageNumber, 0},
      {"a gap", [](auto& s) { s.SetMethod(kMethodSimpleWor, 4); }, kStatusLastStageNumber, 0},
      {"inner stage without clusters", [](auto& s) { s.FindStage(1).setClusters({}); }, kStatusNoClusters, 1},
      {"last stage without clusters", [](auto& s) { s.FindStage(2).setClusters({}); }, 0, 0},
      {"late estimator", [](auto& s) { s.FindStage(2).setEstimatorType(kEstimatorWr); }, kStatusLateEstimator,
       2},
      {"estimator 2", [](auto& s) { s.FindStage(1).setEstimatorType(kEstimatorEqualWor); }, kStatusEstimator,
       1},
      {"Brewer asks for nothing",
       [](auto& s) { s.FindStage(1).setInclusionType(kInclProbTypeNone), s.SetMethod(kMethodPpsBrewer, 1); },
       0, 0},
      {"no size or rate", [](auto& s) { s.FindStage(2).setInclusionType(kInclProbTypeNone); }, kStatusNoSpec,
       2},
      {"rate 0", [](auto& s) { s.FindStage(1).setRateValue(0.0); }, kStatusRateValue, 1},
      {"size 2.5", [](auto& s) { s.FindStage(2).setSizeValue(2.5); }, kStatusSizeValue, 2},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    SVSCompSettings settings = TwoStages();
    c.change(settings);
    const SVStatus status = settings.Validate();
    EXPECT_EQ(status.code, c.code);
    EXPECT_EQ(status.IsError(), c.code != 0);
    EXPECT_EQ(status.ints, (std::array<std::int32_t, 3>{0, c.stage, 0}));
  }
}

}  // namespace
