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

// Goal: what a setter refuses leaves the settings as they were.
TEST(SVSCompSettings, SettersRefuse) {
  SVSCompSettings s = TwoStages();
  EXPECT_TRUE(s.SetWeightVar(6));
  EXPECT_TRUE(s.SetCaseIdVar(8));
  EXPECT_TRUE(s.AddSpecVar(5, kRateVariable, 1));
  EXPECT_FALSE(s.AddDesignVar(-1, kRoleStrata, 1) || s.AddDesignVar(0, kRoleCluster, 2) ||
               s.AddDesignVar(5, kRoleStrata, 1) || s.AddDesignVar(6, kRoleStrata, 1));
  EXPECT_FALSE(s.AddSpecVar(5, kRateVariable, 2) || s.AddSpecVar(3, kSizeVariable, 2) ||
               s.AddSpecVar(-1, kSizeVariable, 2) || s.AddSpecVar(7, kRateMatrix, 2));
  EXPECT_FALSE(s.SetSpecValue(0.0, kRateValue, 2) || s.SetSpecValue(2.5, kSizeValue, 2) ||
               s.SetSpecValue(1, kPopSizeValue, 2));
  EXPECT_FALSE(s.SetEstimator(kEstimatorWr, 2) || s.SetEstimator(kEstimatorEqualWor, 1) ||
               s.SetMethod(kMethodPpsWor, 2));
  EXPECT_FALSE(s.SetMOSVar(0) || s.SetMOSVar(-1) || s.SetWeightVar(5));
  EXPECT_EQ(s.VariableTypes(), (Indices{1, 1, 1, 1, 0, 2, 4, 0, 0}));
  EXPECT_EQ(s.CatDesignVars(), (Indices{0, 1, 2, 3}));
  EXPECT_EQ(s.ContDesignVars(), (Indices{5}));
  EXPECT_EQ(s.StageSpecType(2), kSizeValue);
  EXPECT_EQ(s.MOSVar(), -1);
  EXPECT_EQ(s.StageSpecVar(1) + s.StageSpecVar(2) + s.StageSpecVar(3), 3);
  s.AddSelectStage(3), s.AddSelectStage(2), s.AddSelectStage(3);
  EXPECT_EQ(s.SelectStages(), (Indices{3, 2}));
  EXPECT_FALSE(s.SetMethod(kMethodPpsWr, 3));  // the stage is still created, without a method
  EXPECT_TRUE(s.GetStage(3) != nullptr && s.GetStage(3)->methodType() == kMethodNone);
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
