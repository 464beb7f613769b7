#include <atomic>
#include <cmath>
#include <numeric>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/selection/MethodFunctions.h"
#include "backend/svselect/tabulation/SVSStratumData.h"
#include "host/environment/MCStopProcessor.h"
#include "host/numeric/MCMathFun.h"
#include "host/numeric/MCRandomTwister.h"
#include "host/numeric/Obs.h"

namespace {

constexpr double kMissing = MCMV::gMissingValue;
constexpr double kEpsilon = MCCommonMath::MCPower::gMachineEpsilon;

// A stratum of one stage, whose records hold the measure of size, then the rate or size.
struct Stratum {
  Stratum(const SVSCompSettings& given, std::size_t constCount, MCStopProcessor* stop = nullptr)
      : settings(given), cancel(stop), data(&settings, 1, &cancel, constCount, 1) {
    data.SetOutSamples(&out), data.SetRandom(&random);
  }
  // Units are numbered from 1, in the order in which they come.
  void Add(std::int32_t unit, double size) {
    if (unit > data.Units().Count()) {
      data.AddUnit(&unit, size);
    } else {
      data.AddRecord(unit - 1, size);
    }
  }
  std::vector<std::int32_t> Codes() const {
    std::vector<std::int32_t> codes;
    for (const SVStatus& status : out.Statuses()) codes.push_back(status.code);
    return codes;
  }
  SVSCompSettings settings;
  SVCancelInfo cancel;
  SVSOutSamples out;
  MCCommonMath::MCRandomTwister random;
  SVSStratumData data;
};

SVSCompSettings OneStage(std::int32_t method) {
  SVSCompSettings settings;
  settings.SetMOSVar(0), settings.SetMethod(method, 1), settings.SetSpecValue(1000, kSizeValue, 1);
  return settings;
}

TEST(SVSStratumData, RequestedSizeAndRate) {
  struct Case {
    const char* aim;
    std::int32_t method, type;
    double value, least, most;
    std::int32_t size;
    double rate;
    std::vector<std::int32_t> codes;
  };
  // Ten units each; a bound of -1 is none.
  const Case kCases[] = {
      {"size", 1, 10, 4, -1, -1, 4, 0.4, {}},
      {"size above the units", 1, 10, 20, -1, -1, 20, 2.0, {kStatusSizeAboveUnits}},
      {"hits above the units", 2, 10, 20, -1, -1, 20, 2.0, {}},
      {"size beyond 32 bits", 2, 10, 1e12, -1, -1, 2147483647, 214748364.7, {}},
      {"a size isn't bounded", 1, 10, 4, 5, 3, 4, 0.4, {}},
      {"missing size", 1, 11, kMissing, -1, -1, 0, 0.0, {kStatusMissingSpec}},
      {"rate, half rounds up", 1, 7, 0.25, -1, -1, 3, 0.25, {}},
      {"rate, below a half", 1, 7, 0.2499, -1, -1, 2, 0.2499, {}},
      {"least size keeps the rate", 1, 7, 0.2, 5, -1, 5, 0.2, {}},
      {"bounds are cut to whole", 1, 7, 0.2, 5.9, 4.9, 4, 0.2, {}},
      {"most alone", 1, 8, 0.9, -1, 4, 4, 0.9, {}},
      {"rate above 1", 4, 8, 1.5, -1, -1, 15, 1.5, {kStatusRateAboveOne}},
      {"missing rate", 2, 8, kMissing, -1, -1, 0, 0.0, {kStatusMissingSpec}},
      {"enormous rate", 2, 7, 1e300, -1, -1, 2147483647, 1e300, {}},
      {"Brewer takes two", 9, 10, 4, -1, -1, 2, 0.2, {}},
      {"Murthy takes two", 10, 0, 0, 5, 1, 2, 0.2, {}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    SVSCompSettings settings = OneStage(c.method);
    DesignStage& stage = settings.FindStage(1);
    stage.setRateValue(c.value), stage.setSizeValue(c.value), stage.setInclusionType(c.type);
    stage.setRateMinSize(c.least), stage.setRateMaxSize(c.most);
    const bool carried = c.type == kRateVariable || c.type == kSizeVariable;
    Stratum stratum(settings, carried ? 1 : 0);
    const double record[] = {1.0, c.value};
    if (carried) stratum.data.InitConstValues(record, {1});
    for (std::int32_t unit = 1; unit <= 10; ++unit) stratum.Add(unit, 1.0);
    EXPECT_EQ(stratum.data.GetRequestSize(), c.size);
    EXPECT_EQ(stratum.data.GetRequestRate(), c.rate);
    EXPECT_EQ(stratum.Codes(), c.codes);
  }
}

// Goal: which further records disagree, and which value stays, of a stratum's size and of a unit's.
TEST(SVSStratumData, ConstantValues) {
  const double justAbove = std::nextafter(7.0, 8.0);
  struct Case {
    const char* aim;
    std::vector<double> values;  // of the first record, then of the others
    std::vector<int> differs;
    double stays;
  };
  const Case kCases[] = {
      {"the first stays", {3, 4, 3, 5}, {0, -1, 0}, 3},
      {"a missing one gives way", {kMissing, kMissing, 4, 4, 5}, {-1, 0, -1, 0}, 4},
      {"missing after a value", {3, kMissing}, {0}, 3},
      {"within the tolerance", {7, justAbove, 7 - 7 * 4.4e-16}, {-1, -1}, 7},
      {"beyond the tolerance", {4, 4 * (1 + 3 * kEpsilon), 4 * (1 + 2 * kEpsilon), 6}, {0, -1, 0}, 4},
      {"zero", {0, 0, 1e-300}, {-1, 0}, 0},
      {"a negative size equals nothing", {-1, -1}, {0}, -1},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    SVSCompSettings settings = OneStage(kMethodSimpleWr);
    settings.AddSpecVar(1, kSizeVariable, 1);
    Stratum stratum(settings, 1);
    SVSUnits unit(0);
    EXPECT_EQ(stratum.data.InitConstValues(c.values.data(), {0}), c.values[0] != kMissing);
    unit.Add(nullptr, c.values[0]);
    std::vector<int> differs, unitDiffers;
    for (std::size_t i = 1; i < c.values.size(); ++i) {
      differs.push_back(stratum.data.CheckConstValues(&c.values[i], {0}));
      unitDiffers.push_back(unit.CheckSize(0, c.values[i]) ? -1 : 0);
    }
    EXPECT_EQ(differs, c.differs);
    EXPECT_EQ(unitDiffers, c.differs);
    EXPECT_EQ(stratum.data.GetRequestSize(), std::max(c.stays, 0.0));
    EXPECT_EQ(unit.SizeOf(0), c.stays);
  }
}

// Goal: what a unit's size is by method and source. A thousand draws hit each unit; the weight tells its
// share.
TEST(SVSStratumData, SizesAndTheirWarning) {
  struct Case {
    const char* aim;
    std::int32_t method;
    bool fromData;
    double least, most, share;
    std::vector<std::int32_t> codes;
  };
  // Unit 1: sizes 2, 9; unit 2: size 4; unit 3: sizes missing, 6.
  const Case kCases[] = {
      {"first value stays, one warning", 6, false, -1, -1, 2.0 / 12, {kStatusUnequalSize}},
      {"bounds", 6, false, 3, 5, 3.0 / 12, {kStatusUnequalSize}},
      {"records counted, no bounds", 6, true, 3, 1, 2.0 / 5, {}},
      {"equal sizes", 2, false, 3, 5, 1.0 / 3, {}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    SVSCompSettings settings = OneStage(c.method);
    settings.SetMOSFromData(c.fromData), settings.SetMOSMin(c.least), settings.SetMOSMax(c.most);
    Stratum stratum(settings, 0);
    stratum.Add(1, 2), stratum.Add(1, 9), stratum.Add(2, 4), stratum.Add(3, kMissing), stratum.Add(3, 6);
    ASSERT_FALSE(stratum.data.Select().IsError());
    EXPECT_EQ(stratum.Codes(), c.codes);
    EXPECT_EQ(stratum.data.GetSelectRate(), 1000.0 / 3);
    std::vector<double> values;
    stratum.data.GetRecordStats(0, &values);
    EXPECT_NEAR(1 / (1000 * values[kOutWeight]), c.share, 1e-15);
  }
}

// Answers yes once, at one of the questions of worker threads; the run itself is never stopped.
struct StopOnce : MCStopProcessor {
  explicit StopOnce(int question) : MCStopProcessor(0.0), at(question) {}
  bool Stopped() override { return false; }
  bool Tick() override { return ticks++ == at; }
  int at;
  std::atomic<int> ticks = 0;
};

// Of a stratum with units of these sizes. A status other than 0 leaves no matrix.
struct Joint {
  std::int32_t code;
  std::vector<double> matrix;
  int ticks;
  std::size_t statuses;  // that the stage was told of
};
Joint ComputeJoint(std::int32_t method, const std::vector<double>& sizes, std::int32_t n,
                   std::int32_t threads, int stopAt = -1) {
  SVSCompSettings settings = OneStage(method);
  settings.FindStage(1).setSizeValue(n), settings.SetNumThreads(threads);
  settings.SetExactDesign(true);  // the draw by attempts would take ages
  StopOnce stop(stopAt);
  Stratum stratum(settings, 0, &stop);
  stratum.random.Initialize(11);
  for (std::size_t i = 0; i < sizes.size(); ++i) stratum.Add(static_cast<std::int32_t>(i) + 1, sizes[i]);
  EXPECT_EQ(stratum.data.Select().code, 0);
  const std::vector<double>* matrix = nullptr;
  const SVStatus status = stratum.data.ComputeJointProbs(&matrix);
  EXPECT_EQ(matrix == nullptr, status.IsError());
  return {status.code, matrix == nullptr ? std::vector<double>() : *matrix, stop.ticks,
          stratum.Codes().size()};
}

TEST(SVSStratumData, JointProbabilitiesOfTheSelected) {
  const struct {
    const char* aim;
    std::int32_t method;
    std::vector<double> sizes;
    std::int32_t n;
    std::vector<double> matrix;
  } kCases[] = {
      {"nothing selected", kMethodPpsWor, {1, 2, 3}, 0, {}},
      {"one unit", kMethodPpsSampford, {2}, 1, {1}},
      {"Sampford's census", kMethodPpsSampford, {3, 3, 3}, 3, std::vector<double>(9, 1.0)},
      {"PPS_WOR, all of one size", kMethodPpsWor, {2, 2}, 2, {1, 1, 1, 1}},
      {"Murthy, both", kMethodPpsMurthy, {1, 1}, 2, {1, 1, 1, 1}},
      {"a method without joint probabilities", kMethodSimpleWor, {1, 1}, 1, {}},
  };
  for (const auto& c : kCases) {
    for (const std::int32_t threads : {-1, 0, 1, 4}) {
      SCOPED_TRACE(testing::Message() << c.aim << ", threads " << threads);
      const Joint joint = ComputeJoint(c.method, c.sizes, c.n, threads);
      EXPECT_EQ(joint.code, 0);
      EXPECT_EQ(joint.matrix, c.matrix);
    }
  }
  for (const std::int32_t threads : {1, 2}) {  // more than entries can be counted
    const Joint joint = ComputeJoint(kMethodPpsSampford, std::vector<double>(46341, 1.0), 46341, threads);
    EXPECT_EQ(joint.code, kStatusNoMemory);
    EXPECT_EQ(joint.statuses, 1U);
  }
}

// Goal: threads don't change a digit; and whichever question is answered yes, the computation ends, with the
// status of a cancelled run. Enough units are selected that each thread has rows of its own.
TEST(SVSStratumData, JointProbabilitiesOnThreads) {
  std::vector<double> rising(45);
  std::iota(rising.begin(), rising.end(), 30.5);
  for (const SVMethod& method : kMethods) {
    if (!method.hasJointProbs) continue;
    const Joint one = ComputeJoint(method.code, rising, 20, 1);
    ASSERT_FALSE(one.matrix.empty());
    for (const std::int32_t threads : {1, 2, 3, 7, 100}) {
      SCOPED_TRACE(testing::Message() << method.word << ',' << threads);
      const Joint joint = ComputeJoint(method.code, rising, 20, threads);
      EXPECT_EQ(joint.matrix, one.matrix);
      EXPECT_TRUE(joint.ticks > 0 || FunctionsOf(method.code).sharedItems == nullptr);
      for (int at = 0; at < joint.ticks && threads <= 3; ++at) {
        EXPECT_EQ(ComputeJoint(method.code, rising, 20, threads, at).code, kStatusCancelled) << at;
      }
    }
  }
}

}  // namespace
