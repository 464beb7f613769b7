// Goal: units taken for certain, the draw of the others, and those held in reserve: by repeated draws and by numbers
// worked out by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <numeric>

#include "MemoryRecords.h"
#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/component/SVSComponent.h"
#include "model_components/surveyplans/common/AbstractOutputs.h"

namespace {

enum Slot { kUnit, kSize, kWidth };

using Pair = std::pair<int, int>;

// The last matrix of joint probabilities, by units.
struct JointProbs : MCSV::SVSOutJointProbs {
  int Open(int) override { return MCSV::kJointOpened; }
  int StartStratum(int, const std::vector<std::int32_t>&) override {
    units.clear(), rows.clear();
    return MCSV::kJointStratumStarted;
  }
  int WriteRow(const std::vector<std::int32_t>& key, const std::vector<double>& row) override {
    units.push_back(key.at(0)), rows.push_back(row);
    return MCSV::kJointRowWritten;
  }
  int Close() override { return MCSV::kJointClosed; }
  int TotalRows() override { return 0; }
  int State() override { return MCSV::kJointOpened; }

  std::vector<int> units;
  std::vector<std::vector<double>> rows;
};

// Draws of one stratum; units count from 1.
struct Draws {
  Draws(const SVMethod& method, std::int32_t n, double share, const std::vector<double>& sizes, int count,
        double reserve = 0.0) {
    std::vector<double> values;
    for (std::size_t i = 0; i < sizes.size(); ++i) values.insert(values.end(), {1.0 + i, sizes[i]});
    SVSCompSettings settings;
    settings.AddDesignVar(kUnit, kRoleCluster, 1);
    if (method.IsPps()) settings.SetMOSVar(kSize);
    settings.SetMethod(method.code, 1);
    if (!method.twoUnits) settings.SetSpecValue(n, kSizeValue, 1);
    settings.SetCertaintyShare(share, 1);
    settings.SetReserve(reserve, 1);
    settings.SetExactDesign(true);
    settings.SetStrictness(Strictness::kPlan);
    settings.AddSelectStage(1);
    for (int draw = 1; draw <= count; ++draw) {
      settings.SetSeed(draw);
      JointProbs joint;
      SVSComponent component(settings, method.hasJointProbs ? &joint : nullptr);
      MemoryRecords source(kWidth, values);
      isGood = component.Run(source, nullptr);
      if (!isGood) return;
      Add(component, source, joint);
    }
  }

  void Add(SVSComponent& component, MemoryRecords& source, const JointProbs& joint) {
    std::vector<std::vector<double>> stage;
    double weight = 0.0;
    std::vector<int> drawn;
    double places = 0.0;
    for (std::size_t i = 0; i < source.Count(); ++i) {
      ASSERT_FALSE(component.CaseStats(source.At(i), &stage, &weight).IsError());
      const int unit = static_cast<int>(i) + 1;
      const double place = stage[0][kOutReserve];
      if (place > 0.0) {
        EXPECT_EQ(weight, MCMV::gMissingValue);
        ++queued[{unit, static_cast<int>(place)}];
        prob.emplace(unit, stage[0][kOutInclProb]);
        places += std::ldexp(1.0, static_cast<int>(place));
      }
      if (weight == MCMV::gMissingValue) continue;
      EXPECT_NEAR(weight * stage[0][kOutInclProb], 1.0, 1e-12);
      prob.emplace(unit, stage[0][kOutInclProb]), certain.emplace(unit, stage[0][kOutCertain]);
      for (const int other : drawn) ++pairs[{other, unit}];
      drawn.push_back(unit), ++hits[unit];
    }
    held = places;
    EXPECT_EQ(stage[0][kOutSampSize], static_cast<double>(drawn.size()));
    EXPECT_EQ(stage[0][kOutPopSize], static_cast<double>(source.Count()));
    for (std::size_t a = 0; a < joint.units.size(); ++a) {
      for (std::size_t b = 0; b < joint.units.size(); ++b) {
        EXPECT_EQ(joint.rows[a][b], joint.rows[b][a]);
        jointProb[{joint.units[a], joint.units[b]}] = joint.rows[a][b];
      }
    }
  }

  bool isGood = true;
  std::map<int, double> prob, certain, hits;
  double held = 0.0;  // places of the last reserve, as a sum of powers of 2
  std::map<Pair, double> pairs, jointProb, queued;
};

void ExpectShare(double hits, double draws, double prob) {
  EXPECT_NEAR(hits / draws, prob, 5.0 * std::sqrt(prob * (1.0 - prob) / draws) + 1e-9);
}

const struct Case {
  const char* aim;
  std::int32_t n;
  double share;
  std::vector<double> sizes, probs;  // those of the draw
} kCases[] = {
    {"no unit", 2, 1, {1, 2, 3, 4}, {.2, .4, .6, .8}},
    {"one", 3, 1, {1, 2, 20, 3, 4}, {.2, .4, 1, .6, .8}},
    {"one in each of two rounds", 3, 1, {6, 1, 1, 20, 2}, {1, .25, .25, 1, .5}},
    {"at the limit", 2, 1, {1, 2, 3, 6}, {1 / 6., 2 / 6., 3 / 6., 1}},
    {"one of two", 2, 1, {1, 14, 2, 3}, {1 / 6., 1, 2 / 6., 3 / 6.}},
    {"from a share of the limit on", 2, .6, {1, 2, 3, 4, 5}, {.1, .2, .3, .4, 1}},
    {"a share that makes two", 4, .8, {4, 4, 1, 1, 1, 2, 3}, {1, 1, .25, .25, .25, .5, .75}},
    {"all", 2, 1, {5, 5}, {1, 1}},
    {"all of other sizes", 3, 1, {1, 5, 9}, {1, 1, 1}},
};

}  // namespace

// 40,000 shares, of which the largest is 5 standard errors off with a chance of 2 %; the seeds are fixed.
TEST(CertainUnits, AreTakenAndTheOthersDrawnAsStated) {
  constexpr int kDraws = 20'000;
  for (const SVMethod& method : kMethods) {
    if (!method.TakesCertain()) continue;
    for (const Case& c : kCases) {
      if (method.twoUnits && c.n != 2) continue;
      // Murthy's draw of two has probabilities of its own, unless one of them is certain.
      if (method.code == kMethodPpsMurthy && &c == &kCases[0]) continue;
      SCOPED_TRACE(testing::Message() << method.word << ": " << c.aim);
      const Draws draws(method, c.n, c.share, c.sizes, kDraws);
      ASSERT_TRUE(draws.isGood);
      for (int unit = 1; unit <= static_cast<int>(c.probs.size()); ++unit) {
        const double prob = c.probs[static_cast<std::size_t>(unit) - 1];
        EXPECT_NEAR(draws.prob.at(unit), prob, 1e-12);
        EXPECT_EQ(draws.certain.at(unit), prob == 1.0);
        ExpectShare(draws.hits.at(unit), kDraws, prob);
      }
      for (const auto& [pair, prob] : draws.jointProb) {
        const auto [one, other] = pair;
        if (draws.certain.at(one) == 1.0) {
          EXPECT_EQ(prob, draws.prob.at(other));
        }
        if (one < other) ExpectShare(draws.pairs.at(pair), kDraws, prob);
      }
      EXPECT_EQ(draws.jointProb.empty(), !method.hasJointProbs);
    }
  }
}

TEST(CertainUnits, MustLeaveTheOthersAChance) {
  const struct {
    const char* aim;
    std::int32_t n;
    double share;
    std::vector<double> sizes;
  } kBad[] = {{"more than are asked for", 2, .5, {1, 1, 1, 1}},
              {"as many", 2, .5, {9, 9, 1, 1, 1}},
              {"a unit without size is needed", 3, 1, {4, 4, 0}},
              {"no sizes", 1, 1, {0, 0}},
              {"a missing size", 1, 1, {1, MCMV::gMissingValue}}};
  for (const auto& c : kBad) {
    const Draws draws(MethodOf(kMethodPpsSampford), c.n, c.share, c.sizes, 1);
    EXPECT_FALSE(draws.isGood) << c.aim;
  }
}

// A unit is drawn with probability (n + r) p, and then in each place of the queue with 1 / (n + r).
TEST(Reserve, IsDrawnWithTheSampleAndQueuedAtRandom) {
  constexpr int kDraws = 20'000;
  const struct {
    const char* aim;
    std::int32_t n;
    double reserve;
    int places;
    double share;
    std::vector<double> sizes, probs;  // of methods by size
  } kQueues[] = {
      {"one", 2, 1, 1, 0, {1, 2, 3, 4, 2, 3}, {2 / 15., 4 / 15., 6 / 15., 8 / 15., 4 / 15., 6 / 15.}},
      {"a share", 2, .7, 2, 0, {2, 2, 3, 3, 3}, {4 / 13., 4 / 13., 6 / 13., 6 / 13., 6 / 13.}},
      {"all others", 1, 9, 3, 0, {2, 2, 2, 2}, {.25, .25, .25, .25}},
      {"beside a certain unit", 3, 1, 1, 1, {2, 2, 20, 3, 3}, {.4, .4, 1, .6, .6}},
  };
  for (const SVMethod& method : kMethods) {
    if (!method.HoldsReserve()) continue;
    for (const auto& c : kQueues) {
      if (c.share > 0 && !method.IsPps()) continue;
      SCOPED_TRACE(testing::Message() << method.word << ": " << c.aim);
      const Draws draws(method, c.n, c.share, c.sizes, kDraws, c.reserve);
      ASSERT_TRUE(draws.isGood);
      EXPECT_EQ(draws.held, std::ldexp(1.0, c.places + 1) - 2.0);
      for (int unit = 1; unit <= static_cast<int>(c.sizes.size()); ++unit) {
        const double equal = static_cast<double>(c.n) / static_cast<double>(c.sizes.size());
        const double prob = method.IsPps() ? c.probs[static_cast<std::size_t>(unit) - 1] : equal;
        EXPECT_NEAR(draws.prob.at(unit), prob, 1e-12);
        ExpectShare(draws.hits.at(unit), kDraws, prob);
        const double left = c.share > 0 ? c.n - 1.0 : c.n;
        for (int place = 1; place <= c.places && prob < 1.0; ++place)
          ExpectShare(draws.queued.at({unit, place}), kDraws, prob / left);
      }
      for (const auto& [pair, prob] : draws.jointProb) {
        if (pair.first < pair.second) ExpectShare(draws.pairs.at(pair), kDraws, prob);
      }
    }
  }
}
