// The inclusion probabilities that the plain draws of PPS_BREWER, PPS_SAMPFORD and PPS_WOR really have, where
// they aren't those that the draw states (see Sampford.cpp and PpsWor.cpp). They are computed for a user who
// wants to know how far off a sample is; nothing that is drawn or written depends on them.
//
// Cost:     bounded for each stratum, well below a millisecond, since a frame may have thousands. Beyond the
//           bound, and where negative sizes leave no probabilities at all, the result is empty.
// Accuracy: sums of positive terms, with a relative error of about N n 2^-53.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <span>
#include <utility>
#include <vector>

#include "backend/svselect/selection/CumulativeDraw.h"
#include "backend/svselect/selection/MethodFunctions.h"
#include "backend/svselect/selection/PpsWor.h"

namespace {

// Most steps for a stratum.
constexpr double kMostSampfordSteps = 1 << 15;
constexpr double kMostTurnSteps = 1 << 17;  // these are simpler

bool AllAtLeastZero(std::span<const double> values) {
  return std::all_of(values.begin(), values.end(), [](double value) { return value >= 0.0; });
}

std::vector<double> OrNothing(std::vector<double> probs) {
  const bool isGood =
      std::all_of(probs.begin(), probs.end(), [](double prob) { return std::isfinite(prob) && prob >= 0.0; });
  if (!isGood) probs.clear();
  return probs;
}

// Sums over the subsets of m units of some list, for m = 0 to n: of the products of q, and of the products in
// which one unit, each in turn, counts with a instead of q.
struct SubsetSums {
  std::vector<double> plain;
  std::vector<double> marked;
};

// Adds a unit to the list.
void AddUnit(double q, double a, SubsetSums* sums) {
  for (std::size_t m = sums->plain.size() - 1; m > 0; --m) {
    sums->marked[m] += sums->marked[m - 1] * q + sums->plain[m - 1] * a;
    sums->plain[m] += sums->plain[m - 1] * q;
  }
}

}  // namespace

// A sample s is kept with a probability in proportion to
//
//   sum_{f in s} a(f) prod_{j in s, j not f} q(j),   q = p / (1 - n p),  a(f) = p(f) / (Q - q(f))^(n-1),
//
// f being the unit drawn first, and Q the sum of q. Unit k is in the samples in which it is first, or in
// which another is first and k one of the rest, so its share of the total is
//
//   a(k) P(n-1) + q(k) A(n-1)
//
// over all units but k, P and A being the sums of SubsetSums. Those are put together from the sums over the
// units before k and over the units after it. q is taken in units of Q / n, and a accordingly: that changes
// no share, and keeps the sums in the range of a double.
std::vector<double> SampfordDrawnProbs(const SVSStratumView& stratum) {
  const auto n = static_cast<std::size_t>(stratum.requested);
  const std::size_t units = stratum.shares.size();
  if (static_cast<double>(n) * static_cast<double>(units) > kMostSampfordSteps) return {};
  if (!AllAtLeastZero(stratum.shares)) return {};
  std::vector<double> q(units);
  double total = 0.0;
  for (std::size_t k = 0; k < units; ++k) {
    q[k] = stratum.shares[k] / (1.0 - stratum.requested * stratum.shares[k]);
    total += q[k];
  }
  std::vector<double> a(units);
  for (std::size_t k = 0; k < units; ++k) {
    a[k] = stratum.shares[k] * std::pow(total / (total - q[k]), stratum.requested - 1);
    q[k] *= stratum.requested / total;
  }

  const SubsetSums none = {.plain = std::vector<double>(n + 1), .marked = std::vector<double>(n + 1)};
  std::vector<SubsetSums> after(units + 1, none);  // over the units from each on
  after[units].plain[0] = 1.0;
  for (std::size_t k = units; k-- > 0;) {
    after[k] = after[k + 1];
    AddUnit(q[k], a[k], &after[k]);
  }
  SubsetSums before = after[units];
  std::vector<double> probs(units);
  for (std::size_t k = 0; k < units; ++k) {
    const SubsetSums& rest = after[k + 1];
    double first = 0.0;
    double later = 0.0;
    for (std::size_t m = 0; m < n; ++m) {
      first += before.plain[m] * rest.plain[n - 1 - m];
      later += before.marked[m] * rest.plain[n - 1 - m] + before.plain[m] * rest.marked[n - 1 - m];
    }
    probs[k] = (a[k] * first + q[k] * later) / after[0].marked[n];
    AddUnit(q[k], a[k], &before);
  }
  return OrNothing(std::move(probs));
}

namespace {

// Calls `visit` with each position that a search for a uniform `u` ends at, whether the draw takes it, and
// the probability of that. Fractions can leave a list that doesn't ascend; then the position depends on how
// the search goes, but between two neighbouring values of the list every `u` goes the same way.
template <class Visit>
void ForEachPosition(std::span<const double> cumulative, std::int32_t low, std::int32_t high,
                     const Visit& visit) {
  const auto entries =
      cumulative.subspan(static_cast<std::size_t>(low), static_cast<std::size_t>(high - low) + 1);
  if (entries.front() >= 0.0 && std::is_sorted(entries.begin(), entries.end())) {
    double below = 0.0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
      const double end = std::min(entries[i], 1.0);
      if (end > below) visit(low + static_cast<std::int32_t>(i), true, end - below);
      below = end;
    }
    if (below < 1.0) visit(high, false, 1.0 - below);
    return;
  }
  std::vector<double> ends = {0.0, 1.0};
  std::copy_if(entries.begin(), entries.end(), std::back_inserter(ends),
               [](double end) { return end > 0.0 && end < 1.0; });
  std::sort(ends.begin(), ends.end());
  for (std::size_t i = 1; i < ends.size(); ++i) {
    const double u = (ends[i - 1] + ends[i]) / 2.0;
    const std::int32_t position = FindPosition(cumulative, low, high, u);
    visit(position, LiesInInterval(cumulative, low, position, u), ends[i] - ends[i - 1]);
  }
}

// Adds to `probs` those of a draw by turns, times `weight`: the probability of each unit to be the last one
// taken is carried from turn to turn.
void AddTurns(const SVSStratumView& stratum, std::int32_t turns, std::span<const double> shares,
              std::span<const double> ratios, double weight, std::vector<double>* probs) {
  std::vector<double> cumulative(shares.size());
  std::vector<double> last(shares.size() + 1);  // by the number of the unit taken last, 0 for none
  last[0] = weight;
  for (std::int32_t turn = 1; turn <= turns; ++turn) {
    const std::int32_t upTo = stratum.units - stratum.requested + turn - 1;
    std::vector<double> next(last.size());
    for (std::int32_t from = 0; from <= upTo; ++from) {
      const double reached = last[static_cast<std::size_t>(from)];
      if (!(reached > 0.0)) continue;
      TurnProbs(shares, ratios, from, upTo, turns - turn, cumulative);
      ForEachPosition(cumulative, from, upTo, [&](std::int32_t unit, bool isTaken, double prob) {
        const auto after = static_cast<std::size_t>(isTaken ? unit + 1 : from);
        next[after] += reached * prob;
        if (isTaken) (*probs)[static_cast<std::size_t>(unit)] += reached * prob;
      });
    }
    last = std::move(next);
  }
}

}  // namespace

// Each first step i, with its probability, makes the last n - i units certain and is followed by i turns.
std::vector<double> PpsWorDrawnProbs(const SVSStratumView& stratum) {
  const std::int32_t n = stratum.requested;
  if (std::pow(static_cast<double>(n) * stratum.units, 2.0) / 4.0 > kMostTurnSteps) return {};
  if (!AllAtLeastZero(stratum.shares)) return {};
  std::vector<double> probs(stratum.shares.size());
  const double first = stratum.sizes[static_cast<std::size_t>(stratum.units - n)];
  if (!(stratum.sizes.back() > first)) {
    AddTurns(stratum, n, stratum.shares, RatiosToLater(stratum.sizes), 1.0, &probs);
    return OrNothing(std::move(probs));
  }
  const std::vector<double> steps =
      NormalizedSums(FirstStepProbs(stratum.shares, stratum.cumulativeShares, n));
  ForEachPosition(steps, 0, n - 1, [&](std::int32_t position, bool isTaken, double prob) {
    const std::int32_t turns = position + 1;
    for (std::int32_t unit = stratum.units - n + turns; isTaken && unit < stratum.units; ++unit) {
      probs[static_cast<std::size_t>(unit)] += prob;
    }
    const std::vector<double> shares = RevisedShares(stratum.shares, stratum.cumulativeShares, n, turns);
    AddTurns(stratum, turns, shares, RatiosToLater(shares), prob, &probs);
  });
  return OrNothing(std::move(probs));
}
