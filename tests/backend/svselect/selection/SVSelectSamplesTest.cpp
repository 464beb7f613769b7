#include <cmath>

#include "ScriptedTwister.h"
#include "StratumDraw.h"
#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/selection/MethodFunctions.h"

namespace {
// How far a draw is from a threshold: comparing it the wrong way round would put it on the other side.
constexpr double kTiny = 1e-12;

using Sizes = std::vector<double>;
using Draws = std::vector<ScriptedDraw>;
using Hits = std::vector<double>;
using Order = std::vector<int>;

struct Case {
  const char* aim;
  MethodType method;
  Sizes sizes;
  int n;
  Draws draws;  // exactly those that may be taken
  Hits hits;
  Order order = {};  // for the methods that name their units
  int code = 0;
  bool exact = false;
};
const std::vector<double> kOneToSeven = {1, 2, 3, 4, 5, 6, 7};
const std::vector<double> kFractions = {0.9, 0.2, 0.5, 0.7, 0.4};
const std::vector<double> kOnes(10, 1);

const Case kCases[] = {
    {"all, though certain, are drawn for", kMethodSimpleWor, Sizes{1, 1, 1}, 5,
     Draws{Open(0.9), Open(0.9), Open(0.9)}, Hits{1, 1, 1}},
    {"ends when full", kMethodSimpleWor, Sizes{1, 1, 1}, 1, Draws{Open(1.0 / 3 - kTiny)}, Hits{1, 0, 0}},
    {"the last is certain", kMethodSimpleWor, Sizes{1, 1, 1}, 1,
     Draws{Open(1.0 / 3 + kTiny), Open(0.5 + kTiny), Open(0.999)}, Hits{0, 0, 1}},
    {"more hits than units", kMethodSimpleWr, Sizes{1, 1, 1, 1}, 6,
     Draws{Closed(0), Closed(0.25), Closed(0.25 - 0x1p-53), Closed(1 - 0x1p-53), Closed(0.5), Closed(0.5)},
     Hits{2, 1, 2, 1}},
    {"interval no whole number", kMethodSimpleSystematic, kOnes, 3, Draws{Open(0.5)},
     Hits{0, 1, 0, 0, 0, 1, 0, 0, 1, 0}},
    {"hit, no hit, hit left over", kMethodPpsChromy, Sizes{1, 2, 2, 3}, 2,
     Draws{Closed(0.5), Open(0.5 - kTiny), Open(0.5 + kTiny), Open(0.34)}, Hits{0, 1, 1, 0}},
    {"no hit, certain, hit ahead", kMethodPpsChromy, Sizes{1, 2, 2, 3}, 2,
     Draws{Closed(0.5), Open(0.6), Open(1.0 / 3 - kTiny), Open(kTiny)}, Hits{1, 0, 0, 1}},
    {"no size after a hit", kMethodPpsChromy, Sizes{1, 0, 1}, 1, Draws{Closed(0.1), Open(0.4), Open(kTiny)},
     Hits{1, 0, 0}},
    {"no size after no hit", kMethodPpsChromy, Sizes{1, 0, 1}, 1, Draws{Closed(0.1), Open(0.6)},
     Hits{0, 0, 1}},
    {"all of them", kMethodSimpleChromy, Sizes{1, 1, 1, 1}, 4, Draws{Closed(0.6)}, Hits{1, 1, 1, 1}},
    {"size of the limit", kMethodPpsChromy, Sizes{4, 2, 2}, 2, Draws{Closed(0.1), Open(0.6)}, Hits{1, 0, 1}},
    {"largest certain", kMethodPpsWor, kOneToSeven, 2, Draws{Closed(0.1 - kTiny), Closed(0.5)},
     Hits{0, 0, 0, 0, 1, 0, 1}, Order{6, 4}},
    {"none certain", kMethodPpsWor, kOneToSeven, 2, Draws{Closed(0.1 + kTiny), Closed(0.0741), Closed(0.99)},
     Hits{0, 1, 0, 0, 0, 0, 1}, Order{1, 6}},
    {"largest at the limit", kMethodPpsWor, Sizes{5, 1, 4}, 2, Draws{Closed(0.999), Closed(0.5)},
     Hits{1, 0, 1}, Order{0, 2}},
    {"equal, all of them", kMethodPpsWor, Sizes{2, 2, 2}, 3, Draws{Closed(0.9), Closed(0), Closed(0.5)},
     Hits{1, 1, 1}, Order{0, 1, 2}},
    {"one by its share", kMethodPpsWor, Sizes{1, 3}, 1, Draws{Closed(0.25)}, Hits{0, 1}, Order{1}},
    {"fractions out of order", kMethodPpsWor, kFractions, 2, Draws{}, Hits{0, 0, 0, 0, 0}},
    {"fractions in order", kMethodPpsWor, kFractions, 2, Draws{Closed(0), Closed(0)}, Hits{1, 1, 0, 0, 0},
     Order{0, 1}, 0, true},
    {"whole parts in order", kMethodPpsWor, Sizes{2.9, 2.1, 3e10}, 1, Draws{Closed(0)}, Hits{1, 0, 0},
     Order{0}},
    {"all parts in order", kMethodPpsWor, Sizes{2.9, 2.1, 3e10}, 1, Draws{Closed(0)}, Hits{0, 1, 0}, Order{1},
     0, true},
    {"points on a line", kMethodPpsWr, Sizes{1, 2}, 3,
     Draws{Open(1.0 / 3 + kTiny), Open(1.0 / 3 - kTiny), Open(0.9)}, Hits{1, 2}},
    {"points at an interval", kMethodPpsSystematic, Sizes{1, 2, 3, 3}, 3, Draws{Open(1.0 / 3 - kTiny)},
     Hits{1, 0, 1, 1}},
    {"one unit", kMethodPpsSampford, Sizes{1, 2, 3, 4}, 1, Draws{Closed(0.5)}, Hits{0, 0, 1, 0}, Order{2}},
    {"a rejected attempt draws on", kMethodPpsSampford, Sizes{1, 1, 1, 1, 1, 1, 1, 1, 1, 2}, 5,
     Draws{Closed(0), Closed(0.01), Closed(0.02), Closed(0.5), Closed(0.5), Closed(0.95), Closed(0.05),
           Closed(0.5), Closed(0.3), Closed(0.9)},
     Hits{1, 0, 1, 0, 1, 0, 0, 0, 1, 1}, Order{9, 0, 4, 2, 8}},
    {"census", kMethodPpsSampford, Sizes{3, 3, 3}, 3, Draws{}, Hits{1, 1, 1}, Order{0, 1, 2}},
    {"no census", kMethodPpsSampford, Sizes{3, 3, 4}, 3, Draws{}, Hits{0, 0, 0}, Order{}, kStatusInvalidSize},
    {"one unit", kMethodPpsBrewer, Sizes{0}, 2, Draws{}, Hits{1}, Order{0}},
    {"census", kMethodPpsBrewer, Sizes{3, 3}, 2, Draws{}, Hits{1, 1}, Order{0, 1}, 0, true},
    {"always two", kMethodPpsBrewer, Sizes{1, 1, 1}, 1, Draws{Closed(0.34), Closed(0.5)}, Hits{0, 1, 1},
     Order{1, 2}},
    {"exact, skipping", kMethodPpsBrewer, Sizes{1, 1, 1}, 2,
     Draws{Open(2.0 / 3 - kTiny), Open(0.5 + kTiny), Open(0.999)}, Hits{1, 0, 1}, Order{0, 2}, 0, true},
    {"exact, ends when full", kMethodPpsSampford, Sizes{1, 1, 1}, 2, Draws{Open(0.1), Open(0.5 - kTiny)},
     Hits{1, 1, 0}, Order{0, 1}, 0, true},
    {"two draws", kMethodPpsMurthy, Sizes{5, 3, 2}, 2, Draws{Closed(0.1), Closed(0.7)}, Hits{1, 0, 1},
     Order{0, 2}},
    {"one unit", kMethodPpsMurthy, Sizes{5}, 2, Draws{Closed(0.1)}, Hits{1}, Order{0}},
    {"one unit has all", kMethodPpsMurthy, Sizes{0, 4, 0}, 2, Draws{Closed(0.1), Closed(0.7)}, Hits{0, 1, 0},
     Order{1}},
    {"a missing size", kMethodPpsMurthy, Sizes{1, MCMV::gMissingValue}, 2, Draws{}, Hits{0, 0}, Order{},
     kStatusMissingSize},
};
}  // namespace

// Goal: which units come of which numbers, in which order, and that not one number more is drawn.
TEST(SVSelectSamples, DrawsAsScripted) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(std::string(MethodTypeText(c.method)) + ": " + c.aim);
    MCCommonMath::MCRandomTwister random = ScriptedTwister(c.draws);
    const StratumDraw drawn = DrawStratum(c.method, c.sizes, c.n, &random, c.exact);
    EXPECT_EQ(drawn.code, c.code);
    EXPECT_EQ(drawn.hits, c.hits);
    EXPECT_EQ(drawn.order, c.order);
    EXPECT_EQ(DrawsTaken(&random), static_cast<int>(c.draws.size()));
  }
}

// Goal: what a method refuses is what the table says of it, to the last digit, and is refused before a number
// is drawn. The largest unit has n p just below 1, exactly 1, and just above it.
TEST(SVSelectSamples, RefusesSizesBeyondTheLimitOfTheTable) {
  for (const SVMethod& method : kMethods) {
    for (const int side : {-1, 0, 1}) {
      for (const bool exact : {false, true}) {
        SCOPED_TRACE(std::string(method.word) + std::to_string(side));
        const std::vector<double> sizes = {1, 1, 2 + side * 0x1p-40};
        const bool isRefused = (side == 0 && method.limit == SizeLimit::kBelowOne) ||
                               (side > 0 && method.limit != SizeLimit::kNone);
        MCCommonMath::MCRandomTwister random = ScriptedTwister({});
        const StratumDraw drawn = DrawStratum(method.code, sizes, 2, &random, exact);
        EXPECT_EQ(drawn.code, isRefused ? kStatusInvalidSize : 0);
        EXPECT_EQ(DrawsTaken(&random) == 0 && drawn.selected == 0, isRefused);
      }
    }
  }
}

// Goal: sizes that nobody should ask for, with any n: a known status, no more units than there are,
// and always an end. Sampford's attempts can go on beyond patience, so they would be stopped. A negative size
// leads the line of PPS_WR back, so that a point can hit twice.
TEST(SVSelectSamples, AnySizesComeToAnEnd) {
  const double kHuge = 1.7e308;
  const Sizes kSizes[] = {{0},
                          {1},
                          {0, 0, 0, 0},
                          {-1, -1, -2},
                          {-3, 2, 2, 2},
                          {1, -1, 1, 0, 3},
                          {kHuge, kHuge, kHuge},
                          {-kHuge, -kHuge, 5},
                          {kHuge, 1, 1, 1e300},
                          {1e-320, 1, 1e-320, 1},
                          {5e9, 4e9},
                          {1e-9, 1e9, 1e9, 1e9, 1e9 + 1e-7}};
  for (const SVMethod& method : kMethods) {
    for (const auto& sizes : kSizes) {
      for (const int n : {0, 1, 2, 3, static_cast<int>(sizes.size()), 9}) {
        for (const bool exact : {false, true}) {
          SCOPED_TRACE(testing::PrintToString(std::pair(sizes, n)) + std::string(method.word));
          MCCommonMath::MCRandomTwister random;
          random.Initialize(7);
          const StratumDraw drawn = DrawStratum(method.code, sizes, n, &random, exact, 10000);
          const bool refuses = method.limit != SizeLimit::kNone;
          EXPECT_TRUE(drawn.code == 0 || (refuses && drawn.code == kStatusInvalidSize)) << drawn.code;
          EXPECT_LE(drawn.selected, method.withReplacement ? 2 * n : static_cast<int>(sizes.size()));
          EXPECT_EQ(drawn.popSize, drawn.selected > 0 ? static_cast<double>(sizes.size()) : 0.0);
        }
      }
    }
  }
}

// Goal: a stop at any question ends in status 1, and leaves units written only where a method writes as it
// goes.
TEST(SVSelectSamples, StopsAtAnyQuestion) {
  for (const SVMethod& method : kMethods) {
    for (int stopAt = 1, code = kStatusCancelled; code != 0 && stopAt < 100; ++stopAt) {
      SCOPED_TRACE(std::string(method.word) + '/' + std::to_string(stopAt));
      MCCommonMath::MCRandomTwister random;
      random.Initialize(3);
      const bool exact = method.code == kMethodPpsBrewer;
      const StratumDraw drawn = DrawStratum(method.code, kOneToSeven, 3, &random, exact, stopAt);
      code = drawn.code;
      EXPECT_TRUE(stopAt > 1 || code == (method.code == kMethodPpsMurthy ? 0 : kStatusCancelled));
      if (code == 0) continue;
      ASSERT_EQ(code, kStatusCancelled);
      EXPECT_EQ(drawn.popSize, 0);
      const bool asItGoes = method.code == kMethodSimpleWor || method.code == kMethodSimpleSystematic ||
                            method.code == kMethodPpsWor;
      EXPECT_TRUE(asItGoes || drawn.hits == std::vector<double>(7, 0.0));
      EXPECT_LT(drawn.selected, 3);
    }
  }
}

// Goal: the two tables of methods agree on who has joint probabilities.
TEST(MethodFunctions, HaveJointProbabilitiesWhereTheTableSaysSo) {
  for (const SVMethod& method : kMethods) {
    EXPECT_EQ(FunctionsOf(method.code).joint != nullptr, method.hasJointProbs) << method.word;
  }
}

// Goal: threads are used where there is work to share: first steps of PPS_WOR, rows of Sampford's matrix.
TEST(SVSelectSamples, SharesJointProbabilitiesAmongThreads) {
  const struct {
    MethodType method;
    Sizes sizes;
    int n, threads;
  } kDraws[] = {{kMethodPpsWor, kOneToSeven, 2, 2},    {kMethodPpsWor, kOneToSeven, 3, 3},
                {kMethodPpsWor, kOnes, 3, 1},          {kMethodPpsSampford, kOnes, 4, 3},
                {kMethodPpsSampford, kOnes, 1, 1},     {kMethodPpsBrewer, kOnes, 2, 1},
                {kMethodPpsMurthy, kOneToSeven, 2, 1}, {kMethodSimpleWor, kOnes, 4, 1}};
  for (const auto& c : kDraws) {
    MCCommonMath::MCRandomTwister random;
    const StratumDraw drawn = DrawStratum(c.method, c.sizes, c.n, &random);
    EXPECT_EQ(drawn.jointThreads, c.threads) << MethodOf(c.method).word << c.n;
  }
}
