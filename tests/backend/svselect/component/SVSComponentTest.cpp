#include <gmock/gmock.h>

#include <random>

#include "MemoryRecords.h"
#include "SlowDraw.h"
#include "StopAt.h"
#include "backend/svselect/component/SVSComponent.h"
#include "host/numeric/Obs.h"

namespace {

constexpr int kWeight = 4, kCaseId = 5, kWidth = 6;

// Records of stratum, cluster, stratum, cluster, weight, case id; the stages are nested by their variables,
// and the third has cases for its units. Codes leave gaps, so that keys share buckets.
std::vector<std::vector<double>> Frame(int cases, std::uint32_t seed) {
  std::mt19937 engine(seed);
  const auto code = [&](std::uint32_t count) { return 1.0 + 7.0 * (engine() % count); };
  std::vector<std::vector<double>> frame;
  for (int i = 0; i < cases; ++i) {
    frame.push_back({code(3), code(8), code(2), code(4), 0.5 * code(5), static_cast<double>(i)});
  }
  return frame;
}

MemoryRecords Source(const std::vector<std::vector<double>>& frame) {
  std::vector<double> values;
  for (const auto& record : frame) values.insert(values.end(), record.begin(), record.end());
  return MemoryRecords(kWidth, values);
}

const std::vector<SlowStage> kStages = {{{0}, {1}, 6}, {{2}, {3}, 2}, {{}, {}, 3}};

SVSCompSettings Settings(const std::vector<int>& select, std::uint32_t seed) {
  SVSCompSettings settings;
  for (int stage = 1; stage <= 3; ++stage) {
    const SlowStage& slow = kStages[static_cast<std::size_t>(stage - 1)];
    for (const int variable : slow.strata) settings.AddDesignVar(variable, kRoleStrata, stage);
    for (const int variable : slow.clusters) settings.AddDesignVar(variable, kRoleCluster, stage);
    settings.SetMethod(kMethodSimpleWor, stage);
    settings.SetSpecValue(slow.size, kSizeValue, stage);
  }
  settings.SetCaseIdVar(kCaseId);
  for (const int stage : select) settings.AddSelectStage(stage);
  settings.SetSeed(static_cast<std::int32_t>(seed));
  return settings;
}

// Goal: every result of every case, bit for bit, for each run of stages, with a weight to carry and without.
TEST(SVSComponent, AgreesWithSlowDraw) {
  const std::vector<int> kSelected[] = {{1, 2, 3}, {1}, {1, 2}, {2, 3}, {3}, {2}};
  std::uint32_t seed = 0;
  for (const std::vector<int>& select : kSelected) {
    for (const int weightVar : {-1, kWeight}) {
      SCOPED_TRACE(testing::Message() << "seed " << ++seed << ", stages from " << select.front() << " to "
                                      << select.back() << ", weight " << weightVar);
      const auto frame = Frame(seed % 3 == 0 ? 40 : 2000, seed);
      const std::vector<SlowStage> stages(kStages.begin(), kStages.begin() + select.back());
      const std::vector<SlowCase> expected = SlowDraw(frame, stages, select.front(), weightVar, seed);
      SVSCompSettings settings = Settings(select, seed);
      EXPECT_EQ(settings.SetWeightVar(weightVar), weightVar >= 0);
      SVSComponent component(settings, nullptr);
      MemoryRecords source = Source(frame);
      ASSERT_TRUE(component.Run(source, nullptr));
      std::vector<std::vector<double>> values;
      double finalWeight = 0.0;
      for (std::size_t i = 0; i < frame.size(); ++i) {
        ASSERT_TRUE(component.CaseStats(source.At(i), &values, &finalWeight).IsOK());
        std::vector<std::vector<double>> wanted(3);
        std::copy(expected[i].stages.begin(), expected[i].stages.end(), wanted.begin() + select.front() - 1);
        ASSERT_EQ(values, wanted) << i;
        ASSERT_EQ(finalWeight, expected[i].finalWeight) << i;
      }
    }
  }
}

// Goal: however late the stop comes, the run ends with the one status and gives nothing out.
TEST(SVSComponent, CancelledAtAnyQuestion) {
  const auto frame = Frame(60, 5);
  int last = 0;
  for (int at = 1; last == 0; ++at) {
    SCOPED_TRACE(at);
    StopAt stop(at);
    SVSCompSettings settings = Settings({1, 2, 3}, 5);
    settings.SetStopProcessor(&stop);
    SVSComponent component(settings, nullptr);
    MemoryRecords source = Source(frame);
    const bool finished = component.Run(source, nullptr);
    if (finished) last = at;
    EXPECT_EQ(finished, stop.asked < at);
    EXPECT_EQ(component.GetStatus().code, finished ? 0 : kStatusCancelled);
    std::vector<std::vector<double>> values;
    double finalWeight = -7.0;
    EXPECT_EQ(component.CaseStats(source.At(0), &values, &finalWeight).IsError(), !finished);
    EXPECT_EQ(values.empty() && finalWeight == -7.0, !finished);
  }
  EXPECT_GT(last, 180);  // three passes over 60 cases, each of them asked about
}

TEST(SVSComponent, StatusesOfARun) {
  using Stages = std::vector<int>;
  struct Case {
    const char* aim;
    Stages select;
    void (*change)(SVSCompSettings&, MemoryRecords&);
    std::int32_t code, stage;
  };
  const Case kCases[] = {
      {"sound", Stages{1, 2, 3}, [](auto&, auto&) {}, 0, 0},
      {"stages in falling order", Stages{3, 2}, [](auto&, auto&) {}, kStatusNoStages, 0},
      {"a stage that isn't there", Stages{2, 4}, [](auto&, auto&) {}, kStatusNoStages, 0},
      {"joint output missing", Stages{1}, [](auto& s, auto&) { s.SetMethod(kMethodPpsWor, 1); },
       kStatusNoJointOutput, 0},
      {"none needed", Stages{2},
       [](auto& s, auto&) { s.SetMethod(kMethodPpsWor, 1), s.SetEstimator(kEstimatorWr, 1); }, 0, 0},
      {"no records", Stages{2, 3}, [](auto&, auto& r) { r = MemoryRecords(kWidth, {}); }, kStatusNoRecords,
       0},
      {"second pass fails", Stages{2, 3}, [](auto&, auto& r) { r.fFailReset = 1; }, kStatusNoRecords, 2},
      {"source fails", Stages{2, 3}, [](auto&, auto& r) { r.fFailAt = 9; }, kStatusUserError, 2},
  };
  const auto frame = Frame(300, 3);
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    SVSCompSettings settings = Settings(c.select, 3);
    MemoryRecords source = Source(frame);
    c.change(settings, source);
    SVSComponent component(settings, nullptr);
    EXPECT_EQ(component.Run(source, nullptr), c.code == 0);
    EXPECT_FALSE(component.Run(source, nullptr));  // a second run does nothing
    EXPECT_EQ(component.GetStatus().code, c.code);
    EXPECT_EQ(component.StageOf(component.GetStatus()), c.stage);
    EXPECT_TRUE(component.Statuses().empty());
    const SVSOutputStats* out = nullptr;
    EXPECT_EQ(component.GetOutputStats(&out), c.code == 0);
  }
}

// Goal: a warning doesn't stop the run and carries its stage; a faulty record loses nothing but its weight.
TEST(SVSComponent, WarningsAndFaultyCases) {
  SVSCompSettings settings = Settings({1, 2}, 1);
  settings.SetWeightVar(kWeight);
  SVSComponent component(settings, nullptr);
  MemoryRecords source = Source({{1, 1, 1, 1, 2, 0}, {1, 2, 1, 1, 2, 1}});
  ASSERT_TRUE(component.Run(source, nullptr));
  const SVSOutputStats* out = nullptr;
  ASSERT_TRUE(component.GetOutputStats(&out));
  std::vector<std::pair<int, int>> warnings;
  for (const SVStatus& status : component.Statuses()) {
    warnings.emplace_back(status.code, component.StageOf(status));
  }
  EXPECT_THAT(warnings,
              testing::ElementsAre(std::pair(kStatusSizeAboveUnits, 1), std::pair(kStatusSizeAboveUnits, 2)));
  struct Case {
    int slot;
    double value;
    std::int32_t code;
    double finalWeight;
  };
  const double missing = MCMV::gMissingValue;
  const Case kCases[] = {
      {0, 1, 0, 2.0},
      {kWeight, 0, kStatusInvalidRecord, missing},
      {1, 2.5, kStatusInvalidValue, missing},
      {1, missing, 0, missing},
      {1, 9, 0, missing},
  };
  for (const Case& c : kCases) {
    MCCommon::Record record = source.At(0);
    record.GetAll()[c.slot] = c.value;
    std::vector<std::vector<double>> values;
    double finalWeight = 0.0;
    EXPECT_EQ(component.CaseStats(record, &values, &finalWeight).code, c.code) << c.slot << ": " << c.value;
    EXPECT_EQ(finalWeight, c.finalWeight) << c.slot << ": " << c.value;
  }
}

}  // namespace
