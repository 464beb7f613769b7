#include "backend/svselect/design/SVSCompSettings.h"

namespace {

using Indices = std::vector<std::int32_t>;

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
      {"Sampford does",
       [](auto& s) {
         s.FindStage(1).setInclusionType(kInclProbTypeNone), s.SetMethod(kMethodPpsSampford, 1);
       },
       kStatusNoSpec, 1},
      {"no size or rate", [](auto& s) { s.FindStage(2).setInclusionType(kInclProbTypeNone); }, kStatusNoSpec,
       2},
      {"rate 0", [](auto& s) { s.FindStage(1).setRateValue(0.0); }, kStatusRateValue, 1},
      {"size 2.5", [](auto& s) { s.FindStage(2).setSizeValue(2.5); }, kStatusSizeValue, 2},
      {"size by variable", [](auto& s) { s.AddSpecVar(7, kSizeVariable, 2); }, 0, 0},
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

// Goal: a variable has one role, and what a setter refuses changes nothing.
TEST(SVSCompSettings, SettersRefuse) {
  SVSCompSettings s = TwoStages();
  EXPECT_TRUE(s.SetWeightVar(6) && s.SetCaseIdVar(8) && s.AddSpecVar(5, kRateVariable, 1));
  EXPECT_FALSE(s.AddDesignVar(0, kRoleCluster, 2) || s.AddDesignVar(5, kRoleStrata, 1) ||
               s.AddSpecVar(5, kRateVariable, 2) || s.AddSpecVar(3, kSizeVariable, 2) || s.SetMOSVar(0) ||
               s.SetWeightVar(5));
  EXPECT_EQ(s.VariableTypes(), (Indices{1, 1, 1, 1, 0, 2, 4, 0, 0}));
}

TEST(SVSCompSettings, JointProbabilitiesGoByTheFirstStage) {
  SVSCompSettings s = TwoStages();
  std::string needed;
  for (int method = kMethodNone; method <= kMethodPpsSampford; ++method) {
    s.SetMethod(method, 1);
    needed += s.JointProbNeeded() ? 'y' : '-';
  }
  EXPECT_EQ(needed, "-----y---yyy");
  s.SetEstimator(kEstimatorWr, 1);
  EXPECT_FALSE(s.JointProbNeeded() || SVSCompSettings().JointProbNeeded());
}

}  // namespace
