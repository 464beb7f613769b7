#include "backend/svselect/tabulation/SVSStratumData.h"

#include <functional>

#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "host/numeric/MCPower.h"
#include "host/numeric/MCRandomTwister.h"
#include "host/numeric/MissingValue.h"

namespace {

constexpr double kMissing = MCMV::gMissingValue;
constexpr double kEpsilon = MCCommonMath::MCPower::gMachineEpsilon;

SVKey UnitKey(std::int32_t code) {
  SVKey key(1);
  key[0] = code;
  key.ComputeHash();
  return key;
}

// A stratum of one stage, whose records hold the measure of size, then the rate or size.
struct Stratum {
  explicit Stratum(const SVSCompSettings& given, std::size_t constCount = 0)
      : settings(given), data(&settings, 1, &cancel, constCount) {
    random.Initialize(1);
    out.SetStage(1);
    data.SetOutSamples(&out);
    data.SetRandom(&random);
  }
  void Add(std::int32_t unit, double size = 1.0) {
    const double record[] = {size, 0.0};
    data.AddRecord(UnitKey(unit), record);
  }
  std::vector<std::int32_t> Codes() const {
    std::vector<std::int32_t> codes;
    for (const SVStatus& status : out.Statuses()) codes.push_back(status.code);
    return codes;
  }

  SVSCompSettings settings;
  SVCancelInfo cancel{nullptr};
  SVSOutSamples out;
  MCCommonMath::MCRandomTwister random;
  SVSStratumData data;
};

SVSCompSettings OneStage(std::int32_t method) {
  SVSCompSettings settings;
  settings.SetMOSVar(0);
  settings.SetMethod(method, 1);
  return settings;
}

TEST(SVSStratumData, RequestedSizeAndRate) {
  using Codes = std::vector<std::int32_t>;
  constexpr double kNoBound = -1.0;
  struct Case {
    const char* aim;
    std::int32_t method, type;
    double value, least, most;
    std::int32_t size;
    double rate;
    Codes codes;
  };
  // Ten units each.
  const Case kCases[] = {
      {"size", 1, 10, 4, kNoBound, kNoBound, 4, 0.4, {}},
      {"size above the units", 1, 10, 20, kNoBound, kNoBound, 20, 2.0, {92034}},
      {"hits above the units", 2, 10, 20, kNoBound, kNoBound, 20, 2.0, {}},
      {"size beyond 32 bits", 2, 10, 1e12, kNoBound, kNoBound, 2147483647, 214748364.7, {}},
      {"a size isn't bounded", 1, 10, 4, 5, 3, 4, 0.4, {}},
      {"missing size", 1, 11, kMissing, kNoBound, kNoBound, 0, 0.0, {92008}},
      {"size variable", 3, 11, 7, kNoBound, kNoBound, 7, 0.7, {}},
      {"rate, half rounds up", 1, 7, 0.25, kNoBound, kNoBound, 3, 0.25, {}},
      {"rate, below a half", 1, 7, 0.2499, kNoBound, kNoBound, 2, 0.2499, {}},
      {"rate to nothing", 1, 7, 0.01, kNoBound, kNoBound, 0, 0.01, {}},
      {"least size keeps the rate", 1, 7, 0.2, 5, kNoBound, 5, 0.2, {}},
      {"bounds are cut to whole", 1, 7, 0.2, 5.9, 4.9, 4, 0.2, {}},
      {"most alone", 1, 8, 0.9, kNoBound, 4, 4, 0.9, {}},
      {"most equal to the size", 1, 8, 0.4, kNoBound, 4, 4, 0.4, {}},
      {"rate above 1", 4, 8, 1.5, kNoBound, kNoBound, 15, 1.5, {92035}},
      {"rate above 1, hits", 6, 8, 1.5, kNoBound, kNoBound, 15, 1.5, {}},
      {"missing rate", 2, 8, kMissing, kNoBound, kNoBound, 0, 0.0, {92008}},
      {"enormous rate", 2, 7, 1e300, kNoBound, kNoBound, 2147483647, 1e300, {}},
      {"another tag", 1, 4, 3, kNoBound, kNoBound, 0, 0.0, {}},
      {"Brewer takes two", 9, 10, 4, kNoBound, kNoBound, 2, 0.2, {}},
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
    if (carried) {
      EXPECT_EQ(stratum.data.InitConstValues(record, {1}), c.value != kMissing);
    }
    for (std::int32_t unit = 1; unit <= 10; ++unit) stratum.Add(unit);
    for (int again = 0; again < 2; ++again) {
      EXPECT_EQ(stratum.data.GetRequestSize(), c.size);
      EXPECT_EQ(stratum.data.GetRequestRate(), c.rate);
    }
    EXPECT_EQ(stratum.Codes(), c.codes);
  }
}

TEST(SVSStratumData, ConstantValues) {
  struct Case {
    const char* aim;
    std::vector<double> values;  // of the records in turn
    std::vector<int> differs;    // from the second on
    std::int32_t size;           // what counts in the end
  };
  const Case kCases[] = {
      {"the first stays", {3, 4, 3, 5}, {0, -1, 0}, 3},
      {"a missing one gives way", {kMissing, kMissing, 4, 4, 5}, {-1, 0, -1, 0}, 4},
      {"missing after a value", {3, kMissing}, {0}, 3},
      {"within the tolerance", {4, 4 * (1 + 2 * kEpsilon), 4 * (1 + 3 * kEpsilon)}, {-1, 0}, 4},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    SVSCompSettings settings = OneStage(kMethodSimpleWr);
    settings.AddSpecVar(1, kSizeVariable, 1);
    Stratum stratum(settings, 1);
    std::vector<int> differs;
    for (const double& value : c.values) {
      const double record[] = {1.0, value};
      if (&value == &c.values.front()) {
        stratum.data.InitConstValues(record, {1});
      } else {
        differs.push_back(stratum.data.CheckConstValues(record, {1}));
      }
    }
    EXPECT_EQ(differs, c.differs);
    EXPECT_EQ(stratum.data.GetRequestSize(), c.size);
  }
}

// Goal: what a unit's size is by method and source, seen through the weights of a census-like draw.
TEST(SVSStratumData, SizesAndTheirWarning) {
  struct Case {
    const char* aim;
    std::int32_t method;
    bool fromData;
    double least, most;
    double share;  // inclusion probability of unit 1 in a draw of one unit
    std::vector<std::int32_t> codes;
  };
  // Unit 1: sizes 2, 9; unit 2: size 4; unit 3: sizes missing, 6.
  const Case kCases[] = {
      {"first value stays, one warning", 6, false, -1, -1, 2.0 / 12, {92033}},
      {"bounds", 6, false, 3, 5, 3.0 / 12, {92033}},
      {"the least isn't held against the most", 6, false, 4, 3, 4.0 / 10, {92033}},
      {"records counted, no bounds", 6, true, 3, 1, 2.0 / 5, {}},
      {"equal sizes", 2, false, 3, 5, 1.0 / 3, {}},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    SVSCompSettings settings = OneStage(c.method);
    settings.SetMOSFromData(c.fromData), settings.SetMOSMin(c.least), settings.SetMOSMax(c.most);
    settings.SetSpecValue(1, kSizeValue, 1);
    double found = kMissing;
    for (std::uint32_t seed = 1; found == kMissing && seed < 100; ++seed) {
      Stratum stratum(settings);
      stratum.random.Initialize(seed);
      stratum.Add(1, 2), stratum.Add(1, 9), stratum.Add(2, 4), stratum.Add(3, kMissing), stratum.Add(3, 6);
      ASSERT_FALSE(stratum.data.Select().IsError());
      EXPECT_EQ(stratum.Codes(), c.codes);
      EXPECT_EQ(stratum.data.GetSelectRate(), 1.0 / 3);
      std::vector<double> values;
      stratum.data.GetRecordStats(UnitKey(1), &values);
      found = values[kOutInclProb];
      EXPECT_EQ(values[kOutPopSize], 3.0);
      EXPECT_FALSE(stratum.data.GetRecordStats(UnitKey(4), &values).IsError());
      EXPECT_EQ(values, std::vector<double>(7, kMissing));  // no such unit
    }
    EXPECT_NEAR(found, c.share, 1e-15);
  }
}

}  // namespace
