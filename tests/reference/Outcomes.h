#pragma once

#include <algorithm>
#include <map>
#include <numeric>
#include <vector>

#include "backend/svselect/selection/Murthy.h"
#include "backend/svselect/selection/PpsWor.h"
#include "backend/svselect/selection/SampfordDesign.h"
#include "backend/svselect/selection/SampfordFurtherDraws.h"
#include "backend/svselect/selection/Sequential.h"

// Every outcome of a small stratum with its probability, from the steps that the engine draws by. Units are
// 0-based.
class Outcomes {
public:
  using Sample = std::vector<int>;

  explicit Outcomes(const std::vector<double>& sizes) : fCount(static_cast<int>(sizes.size())) {
    const double total = std::accumulate(sizes.begin(), sizes.end(), 0.0);
    for (const double size : sizes) fShares.push_back(size / total);
    fSums.resize(sizes.size());
    std::partial_sum(fShares.begin(), fShares.end(), fSums.begin());
  }

  // The probability that a sample holds all these units.
  double Of(const Sample& units) const {
    double sum = 0;
    for (const auto& [sample, prob] : fProbs) {
      const auto isIn = [&s = sample](int unit) { return std::find(s.begin(), s.end(), unit) != s.end(); };
      if (std::all_of(units.begin(), units.end(), isIn)) sum += prob;
    }
    return sum;
  }
  std::vector<double> Single() const {
    std::vector<double> single;
    for (int i = 0; i < fCount; ++i) single.push_back(Of({i}));
    return single;
  }
  std::vector<double> Stated(int n) const {
    std::vector<double> stated;
    for (const double p : fShares) stated.push_back(n * p);
    return stated;
  }

  Outcomes& PpsWor(int n) {
    const double z1 = fShares[fShares.size() - static_cast<std::size_t>(n)];
    if (!(fShares.back() > z1)) {
      Turns(1, n, n, 0, {}, 1, fShares);
      return *this;
    }
    const std::vector<double> first = NormalizedSums(FirstStepProbs(fShares, fSums, n));
    for (int i = 1; i <= n; ++i) {
      Sample certain(static_cast<std::size_t>(n - i));
      std::iota(certain.begin(), certain.end(), fCount - n + i);
      const std::size_t k = static_cast<std::size_t>(i) - 1;
      Turns(1, i, n, 0, certain, first[k] - (i > 1 ? first[k - 1] : 0), RevisedShares(fShares, fSums, n, i));
    }
    return *this;
  }
  Outcomes& Murthy() {
    for (int i = 0; i < fCount; ++i) Others(i, At(fShares, i), SharesWithout(fShares, i));
    return *this;
  }
  Outcomes& TwoByAttempts() {  // no attempt of two units fails
    SampfordFurtherDraws further(fShares, 2);
    for (int i = 0; i < fCount; ++i) {
      further.Start(i);
      Others(i, At(fShares, i), further.List());
    }
    return *this;
  }
  Outcomes& ExactSampford(int n) {
    const std::vector<double> inclProbs = Stated(n);
    fRows = {SampfordDesign::EmptyRow(n)};  // of the units from the last one on
    for (int i = fCount - 1; i >= 0; --i) {
      SampfordDesign::Row row(fRows[0].size());
      SampfordDesign::PrependUnit(At(inclProbs, i), fRows.back().data(), row.data(), 0, n);
      fRows.push_back(row);
    }
    Exact(0, 0, n, 1, {}, inclProbs);
    return *this;
  }
  Outcomes& Sequential(int n) {
    for (int start = 0; start < fCount; ++start) Round(start, 0, n, 0, {}, 0, At(fShares, start), {});
    return *this;
  }

private:
  static double At(const std::vector<double>& list, int i) { return list[static_cast<std::size_t>(i)]; }
  static Sample With(Sample sample, int unit) {
    sample.push_back(unit);
    return sample;
  }
  void Others(int first, double prob, const std::vector<double>& sums) {
    for (int k = 0; k + 1 < fCount; ++k) {
      fProbs[{first, k < first ? k : k + 1}] += prob * (At(sums, k) - (k > 0 ? At(sums, k - 1) : 0));
    }
  }
  void Turns(int turn, int turns, int n, int last, const Sample& sample, double prob,
             const std::vector<double>& shares) {
    if (turn > turns) {
      fProbs[sample] += prob;
      return;
    }
    std::vector<double> sums(shares.size());
    const int upTo = fCount - n + turn - 1;
    // Equal sizes at the end: ratios of shares are those of sizes.
    TurnProbs(shares, RatiosToLater(shares), last, upTo, turns - turn, sums);
    for (int j = last; j <= upTo; ++j) {
      const double part = At(sums, j) - (j > last ? At(sums, j - 1) : 0);
      if (part > 0) Turns(turn + 1, turns, n, j + 1, With(sample, j), prob * part, shares);
    }
  }
  void Exact(int i, double a, int left, double prob, const Sample& sample, const std::vector<double>& w) {
    if (left == 0) {
      fProbs[sample] += prob;
      return;
    }
    const SampfordDesign::Cell* after = fRows[static_cast<std::size_t>(fCount - i - 1)].data() + left;
    const double take =
        SampfordDesign::TakeProbability(At(w, i), a, after[-1], after[0], left, fCount - i - 1);
    Exact(i + 1, a + 1 - At(w, i), left - 1, prob * take, With(sample, i), w);
    if (take < 1) Exact(i + 1, a, left, prob * (1 - take), sample, w);
  }
  void Round(int start, int k, int n, int hits, const ExpectedHits& before, double sum, double prob,
             const Sample& sample) {
    if (k == fCount) {
      fProbs[sample] += prob;
      return;
    }
    const int unit = (start + k) % fCount;
    sum += At(fShares, unit);
    const ExpectedHits now = SplitExpected(n * sum);
    const HitsStep step = NextHits(hits, before, now);
    for (const int more : {0, 1}) {
      const double part = more == 1 ? step.chance : 1 - step.chance;
      if (!(part > 0)) continue;
      const bool bHit = step.count + more > hits;
      Round(start, k + 1, n, step.count + more, now, sum, prob * part, bHit ? With(sample, unit) : sample);
    }
  }

  int fCount;
  std::vector<double> fShares, fSums;
  std::map<Sample, double> fProbs;
  std::vector<SampfordDesign::Row> fRows;
};
