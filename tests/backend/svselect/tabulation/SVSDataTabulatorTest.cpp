#include <limits>

#include "MemoryRecords.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/tabulation/SVSDataTabulator.h"
#include "host/numeric/MCRandomTwister.h"
#include "host/numeric/Obs.h"
#include "model_components/surveyplans/common/AbstractOutputs.h"

namespace {

constexpr double kMissing = MCMV::gMissingValue;
using Calls = std::vector<std::string>;

// Writes calls down, and gives `answer` to call number `at`, from 1; to any other what goes on.
struct Log {
  int Answer(const std::string& call, int goOn) {
    calls.push_back(call);
    return calls.size() == at ? answer : goOn;
  }
  Calls calls;
  std::size_t at = 0;
  int answer = 0;
};

struct Summary : MCSV::SVSOutputSummary, Log {
  int StartStage(int stage) override { return Answer("start " + std::to_string(stage), 0); }
  int AddStratum(const std::vector<std::int32_t>& key, const MCSV::SVSDrawnStratum& drawn) override {
    return Answer(std::to_string(key.at(0)) + ": " + std::to_string(drawn.requestedSize) + " " +
                      std::to_string(drawn.actualSize),
                  0);
  }
  int EndStage() override { return Answer("end", 0); }
  int Status() override { return 0; }
};

struct JointProbs : MCSV::SVSOutJointProbs, Log {
  int Open(int most) override { return Answer("open " + std::to_string(most), MCSV::kJointOpened); }
  int StartStratum(int n, const std::vector<std::int32_t>& key) override {
    return Answer("stratum " + std::to_string(key.at(0)) + " of " + std::to_string(n),
                  MCSV::kJointStratumStarted);
  }
  int WriteRow(const std::vector<std::int32_t>& unit, const std::vector<double>& row) override {
    return Answer("row " + std::to_string(unit.at(0)) + " of " + std::to_string(row.size()),
                  MCSV::kJointRowWritten);
  }
  int Close() override { return Answer("close", MCSV::kJointClosed); }
  int TotalRows() override { return 0; }
  int State() override { return 0; }
};

// One stage over records of stratum, cluster, rate or size or weight, case id.
struct Stage {
  Stage(const SVSCompSettings& given, std::vector<double> values)
      : settings(given), records(4, std::move(values)), tabulator(&settings, 1, nullptr, &cancel) {
    out.SetStage(1), tabulator.SetRandom(&random), tabulator.SetOutputStats(&out);
  }
  SVSCompSettings settings;
  MemoryRecords records;
  SVCancelInfo cancel{nullptr};
  SVSOutSamples out;
  MCCommonMath::MCRandomTwister random;
  SVSDataTabulator tabulator;
};

SVSCompSettings Settings(std::int32_t method) {
  SVSCompSettings settings;
  settings.AddSelectStage(1), settings.SetCaseIdVar(3);
  settings.AddDesignVar(0, kRoleStrata, 1), settings.AddDesignVar(1, kRoleCluster, 1);
  settings.SetMethod(method, 1), settings.SetSpecValue(1, kSizeValue, 1);
  return settings;
}

// Goal: which values of a record drop it, and which stop the pass.
TEST(SVSDataTabulator, FitnessOfRecords) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  enum Slot { kCode, kRate, kSize, kWeight };
  struct Case {
    Slot slot;
    std::vector<double> passing, dropped, invalid;
  };
  const Case kCases[] = {
      {kCode, {1, 2147483647}, {kMissing, 0, -1, 0.49}, {0.5, 2.5, 1e10, kNan}},
      {kRate, {kMissing, 1e-9, 5}, {}, {0, -0.1, kNan}},
      {kSize, {kMissing, 1, 20}, {}, {0, -3, 1.5, 1e10, kNan}},
      {kWeight, {0.1, 20}, {kMissing, 0, -1, kNan}, {}},
  };
  for (const Case& c : kCases) {
    SVSCompSettings settings = Settings(kMethodSimpleWr);
    if (c.slot == kRate) settings.AddSpecVar(2, kRateVariable, 1);
    if (c.slot == kSize) settings.AddSpecVar(2, kSizeVariable, 1);
    if (c.slot == kWeight) settings.SetWeightVar(2);
    const auto run = [&](double value, std::int32_t code, int valid) {
      SCOPED_TRACE(testing::Message() << c.slot << ": " << value);
      const double other = c.slot == kCode ? 1.0 : value;
      Stage stage(settings, {1, c.slot == kCode ? value : 1, other, 0});
      EXPECT_EQ(stage.tabulator.ProcessData(stage.records).code, code);
      EXPECT_EQ(stage.tabulator.ValidCount(), valid);
      EXPECT_EQ(stage.out.Statuses().empty(), code == 0);
    };
    for (const double value : c.passing) run(value, 0, 1);
    for (const double value : c.dropped) run(value, 0, 0);
    for (const double value : c.invalid) run(value, kStatusInvalidValue, 0);
  }
}

TEST(SVSDataTabulator, SummaryProtocol) {
  struct Case {
    const char* aim;
    std::size_t at;
    int answer;
    std::int32_t code;
    Calls calls;
    bool joint;  // the joint probabilities come after a summary that didn't fail
  };
  const Case kCases[] = {
      {"all well", 0, 0, 0, {"start 1", "3: 1 1", "7: 1 1", "end"}, true},
      {"stop at the start", 1, 1, 0, {"start 1", "end"}, true},
      {"fail at a stratum", 2, 2, kStatusUserError, {"start 1", "3: 1 1", "end"}, false},
      {"fail at the end", 4, 2, kStatusUserError, {"start 1", "3: 1 1", "7: 1 1", "end"}, false},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    Stage stage(Settings(kMethodSimpleWor), {7, 1, 0, 0, 3, 1, 0, 1, 7, 2, 0, 2});
    stage.tabulator.ProcessData(stage.records);
    Summary summary;
    summary.at = c.at, summary.answer = c.answer;
    JointProbs joint;
    EXPECT_EQ(stage.tabulator.SelectSamples(&summary, &joint).code, c.code);
    EXPECT_EQ(summary.calls, c.calls);
    EXPECT_EQ(!joint.calls.empty(), c.joint);
  }
}

// Goal: strata in key order whatever the table's; one Close in any case; only a failure in writing is an
// error.
TEST(SVSDataTabulator, JointProtocol) {
  const Calls all = {"open 2",          "stratum 1 of 2", "row 4 of 2", "row 5 of 2",
                     "stratum 90 of 1", "row 4 of 1",     "close"};
  for (std::size_t failAt = 0; failAt <= all.size(); ++failAt) {
    SCOPED_TRACE(failAt);
    SVSCompSettings settings = Settings(kMethodPpsBrewer);
    settings.SetMOSFromData(true);
    Stage stage(settings, {1, 4, 0, 0, 1, 5, 0, 1, 90, 4, 0, 2});  // 90 lies before 1 in a bucket
    stage.tabulator.ProcessData(stage.records);
    JointProbs joint;
    joint.at = failAt, joint.answer = MCSV::kJointFailed;
    const SVStatus status = stage.tabulator.SelectSamples(nullptr, &joint);
    const bool inWriting = failAt > 1 && failAt < all.size();
    EXPECT_EQ(status.code, inWriting ? kStatusNoJointOutput : 0);
    Calls expected(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(failAt == 0 ? all.size() : failAt));
    if (expected.back() != "close") expected.push_back("close");
    EXPECT_EQ(joint.calls, expected);
  }
}

}  // namespace
