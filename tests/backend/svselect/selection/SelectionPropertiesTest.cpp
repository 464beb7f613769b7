#include <rapidcheck/gtest.h>

#include <cmath>
#include <numeric>

#include "StratumDraw.h"
#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/selection/HitCounts.h"
#include "backend/svselect/selection/Murthy.h"
#include "backend/svselect/selection/SampfordDesign.h"
#include "backend/svselect/selection/SampfordFurtherDraws.h"

namespace {

// Sizes of one to `most` units, from all equal to skewed.
std::vector<double> AnySizes(int most) {
  const double power = *rc::gen::element(0.0, 0.3, 1.0, 3.0);
  std::vector<double> sizes(static_cast<std::size_t>(*rc::gen::inRange(1, most + 1)));
  for (double& size : sizes) size = std::pow(*rc::gen::inRange(1, 1000), power);
  return sizes;
}
std::vector<double> SharesOf(std::vector<double> sizes) {
  const double total = std::accumulate(sizes.begin(), sizes.end(), 0.0);
  for (double& size : sizes) size /= total;
  return sizes;
}
// The largest sample that Sampford's design allows.
int LargestSample(const std::vector<double>& shares) {
  return static_cast<int>(std::ceil(1.0 / *std::max_element(shares.begin(), shares.end()))) - 1;
}

}  // namespace

RC_GTEST_PROP(Selection, HasTheSizeAndTheWeightsOfItsMethod, (unsigned seed)) {
  const SVMethod method = kMethods[*rc::gen::inRange<std::size_t>(0, std::size(kMethods))];
  const bool exact = *rc::gen::arbitrary<bool>();
  const std::vector<double> sizes =
      method.equalProbability ? std::vector<double>(AnySizes(12).size(), 1.0) : AnySizes(12);
  const std::vector<double> shares = SharesOf(sizes);
  const auto units = static_cast<int>(sizes.size());
  int n = method.twoUnits ? 2 : *rc::gen::inRange(1, units + 3);
  // Rejection is only practical for few of many units.
  RC_PRE(!method.mayDrawForever || exact || n <= 3);
  const auto draw = [&] {
    MCCommonMath::MCRandomTwister random;
    random.Initialize(seed);
    return DrawStratum(method.code, sizes, n, &random, exact);
  };
  const StratumDraw drawn = draw();
  RC_ASSERT(drawn == draw());
  if (!method.withReplacement) n = std::min(n, units);
  RC_CLASSIFY(drawn.code != 0);
  if (drawn.code != 0) {
    RC_ASSERT(drawn.code == kStatusInvalidSize && method.limit != SizeLimit::kNone && drawn.selected == 0);
    RC_ASSERT(n * *std::max_element(shares.begin(), shares.end()) > 1 - 1e-9);
    return;
  }
  // PPS_WOR orders by whole parts, so it can fall short.
  const bool bInOrder = !method.ordersBySize || exact || sizes == std::vector<double>(sizes.size(), 1.0);
  RC_ASSERT(drawn.selected == n || (!bInOrder && drawn.selected < n));
  RC_ASSERT(std::accumulate(drawn.hits.begin(), drawn.hits.end(), 0.0) == drawn.selected);
  if (drawn.selected > 0) {
    RC_ASSERT(drawn.popSize == units && drawn.sampleSize == drawn.selected);
    RC_ASSERT(drawn.rate == static_cast<double>(drawn.selected) / units);
  }
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    if (drawn.hits[i] == 0) {
      RC_ASSERT(drawn.inclProb[i] == 0 && drawn.weight[i] == 0);
      continue;
    }
    const double expected = method.code == kMethodPpsMurthy ? MurthyInclProbs(shares)[i] : n * shares[i];
    RC_ASSERT(std::fabs(drawn.weight[i] * expected - 1) < 1e-12);
    const double inclProb = method.withReplacement ? 1 - std::pow(1 - shares[i], n) : expected;
    RC_ASSERT(std::fabs(drawn.inclProb[i] / inclProb - 1) < 1e-9);
    RC_ASSERT(method.withReplacement || drawn.hits[i] == 1);
  }
}

// Goal: points on the borders of intervals, several on one, negative sizes.
RC_GTEST_PROP(HitCounts, AreThoseOfAPlainScan, ()) {
  const auto value = rc::gen::inRange(-2, 12);
  std::vector<double> ends, points, unsorted;
  double sum = 0;
  for (const int size : *rc::gen::container<std::vector<int>>(value)) ends.push_back(sum += size);
  for (const int point : *rc::gen::container<std::vector<int>>(value)) points.push_back(point);
  if (*rc::gen::arbitrary<bool>()) points.push_back(std::nan(""));
  unsorted = points;
  std::vector<int> expected(ends.size(), 1), hits = expected;  // counts are added
  for (std::size_t i = 0; i < ends.size(); ++i) {
    for (const double point : points)
      expected[i] += point > (i > 0 ? ends[i - 1] : 0.0) && point <= ends[i] ? 1 : 0;
  }
  SVCancelInfo cancelInfo(nullptr);
  RC_ASSERT(AddHits(&points, ends, &hits, &cancelInfo));
  RC_ASSERT(hits == expected);
}

// Goal: the shortcut finds the right position in the list, at every entry and just beside it.
RC_GTEST_PROP(SampfordFurtherDraws, FindAsTheListTells, ()) {
  std::vector<double> shares = SharesOf(AnySizes(40));
  RC_PRE(shares.size() > 1);
  const int n = std::max(1, LargestSample(shares));
  const auto first = static_cast<std::size_t>(*rc::gen::inRange(0, static_cast<int>(shares.size())));
  SampfordFurtherDraws further(shares, n);
  further.Start(static_cast<int>(first));
  const std::vector<double> list = further.List();
  std::vector<double> draws = {0, 0.3, 0.7, 1 - 0x1p-53};
  for (const double entry : list) {
    for (const double u :
         {entry, std::nextafter(entry, 0), std::nextafter(entry, 1), entry - 1e-15, entry + 1e-13}) {
      if (u < 1) draws.push_back(u);
    }
  }
  for (const double u : draws) {
    const auto greater =
        static_cast<std::size_t>(std::upper_bound(list.begin(), list.end(), u) - list.begin());
    const auto unit = static_cast<int>(greater < first ? greater : greater + 1);  // the list leaves first out
    further.Start(static_cast<int>(first));
    RC_ASSERT(further.Find(u) == (u < list.back() ? unit : SampfordFurtherDraws::kNone));
  }
}

// Goal: whatever memory it may use, the draw is that with all rows at hand.
RC_GTEST_PROP(SampfordDesign, DrawsTheSameInAnyMemory, (unsigned seed)) {
  std::vector<double> probs = SharesOf(AnySizes(60));
  RC_PRE(LargestSample(probs) > 0);
  const int n = *rc::gen::inRange(1, LargestSample(probs) + 1);
  for (double& p : probs) p *= n;
  const auto draw = [&](std::size_t bytes) {
    MCCommonMath::MCRandomTwister random;
    random.Initialize(seed);
    SVCancelInfo cancelInfo(nullptr);
    return SampfordDesign(probs, n, bytes).Draw(&random, &cancelInfo);
  };
  const std::vector<int> expected = draw(SampfordDesign::kRowBytes);
  RC_ASSERT(static_cast<int>(expected.size()) == n);
  for (const std::size_t bytes : {0, 1000, 5000}) RC_ASSERT(draw(bytes) == expected);
}
