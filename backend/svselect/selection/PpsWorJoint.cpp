#include "backend/svselect/selection/PpsWorJoint.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "backend/svselect/selection/PpsWor.h"
#include "host/numeric/Obs.h"

namespace {

constexpr double kMissing = MCMV::gMissingValue;

// Rows that are summed up together, so that the factors of a step are read once for all of them. The sums of
// a tile stay in the nearest cache.
constexpr std::size_t kRowsPerTile = 8;

// What a probability does to a product: nothing if it is missing or 1 or more, and it ends it at 0 or below.
double Factor(double x) {
  if (x == kMissing) return 1.0;
  if (x <= 0.0) return 0.0;
  return x < 1.0 ? x : 1.0;
}

// B of each unit but the last; `a` is A of these.
void RunningProducts(std::span<const double> a, double* b) {
  double run = 1.0;
  for (std::size_t unit = 0; unit < a.size(); ++unit) {
    if (a[unit] >= 1.0) {
      run = 0.0;
    } else if (a[unit] > 0.0) {
      run *= 1.0 - a[unit];
    }
    b[unit] = run;
  }
}

}  // namespace

PpsWorJoint::PpsWorJoint(const SVSStratumView& stratum, SVSJointMatrix matrix, std::vector<Range> steps)
    : fStratum(stratum),
      fMatrix(std::move(matrix)),
      fvSteps(std::move(steps)),
      fvFirstStep(FirstStepProbs(stratum.shares, stratum.cumulativeShares, stratum.requested)) {
  const std::size_t n = fvFirstStep.size();
  const std::size_t units = stratum.shares.size();
  assert(n >= 1 && n <= units);
  fT = n < units ? stratum.cumulativeShares[units - n - 1] : 0.0;
  fz1 = stratum.shares[units - n];
  fvStep.resize(n);
  // Not initialised: the threads that fill the arrays touch their pages first.
  fpTail = std::make_unique_for_overwrite<double[]>(n * fMatrix.Count());
  fpRatio = std::make_unique_for_overwrite<double[]>(n * fMatrix.Count());
  fpRun = std::make_unique_for_overwrite<double[]>(n * fMatrix.Count());
  fpMade = std::make_unique<std::once_flag[]>(fvSteps.size());
}

bool PpsWorJoint::Run(std::size_t range, const Stop& stop) {
  const std::size_t units = fStratum.shares.size();
  Scratch scratch{std::vector<double>(units), std::vector<double>(units), std::vector<double>(units)};
  std::vector<double> sums(kRowsPerTile * fMatrix.Count());
  const std::size_t ranges = fvSteps.size();
  for (std::size_t i = 0; i < ranges; ++i) {
    const std::size_t each = (range + i) % ranges;  // the own ones first
    std::call_once(fpMade[each], [&] { MakeSteps(fvSteps[each], stop, &scratch); });
  }
  for (std::size_t row = range * kRowsPerTile; row < fMatrix.Count(); row += ranges * kRowsPerTile) {
    if (Stopped(stop)) return false;
    SumRows(row, std::min(row + kRowsPerTile, fMatrix.Count()), &sums);
  }
  return !fbStopped;
}

bool PpsWorJoint::Stopped(const Stop& stop) {
  if (stop()) fbStopped = true;
  return fbStopped;
}

void PpsWorJoint::MakeSteps(const Range& steps, const Stop& stop, Scratch* scratch) {
  for (std::size_t step = steps.begin; step < steps.end; ++step) {
    if (Stopped(stop)) return;
    MakeStep(step, scratch);
  }
}

void PpsWorJoint::MakeStep(std::size_t step, Scratch* scratch) {
  const double i = static_cast<double>(step + 1);
  const std::size_t units = fStratum.shares.size();
  const std::size_t n = fvStep.size();
  const std::size_t m = units - n + step + 1;
  const double d = i * fz1 + fT;
  fvStep[step] = {d, fMatrix.CountAmong(m)};

  double* z = scratch->z.data();
  for (std::size_t unit = 0; unit < m; ++unit)
    z[unit] = (unit <= units - n ? fStratum.shares[unit] : fz1) / d;
  double beyond = 0.0;
  for (std::size_t unit = m - 1; unit-- > 0;) {
    const double next = z[unit + 1];
    beyond += next > 1.0 ? 1.0 : (next > 0.0 ? next : 0.0);
    scratch->a[unit] = beyond > 0.0 ? z[unit] / beyond : kMissing;
  }
  RunningProducts({scratch->a.data(), m - 1}, scratch->b.data());

  const std::size_t first = step * fMatrix.Count();
  for (std::size_t rank = 0; rank < fvStep[step].inside; ++rank) {
    const std::size_t unit = fMatrix.Unit(rank);
    fpTail[first + rank] = (i - 1.0) * i * Factor(z[unit]);
    fpRatio[first + rank] = unit + 1 < m ? Factor(scratch->a[unit]) : 1.0;  // unit m is in no pair below m
    fpRun[first + rank] = unit > 0 ? scratch->b[unit - 1] : 1.0;
  }
}

void PpsWorJoint::SumRows(std::size_t firstRow, std::size_t endRow, std::vector<double>* sums) {
  const std::size_t k = fMatrix.Count();
  // -0.0 and not 0.0: it leaves every first term as it is, -0.0 too.
  std::fill(sums->begin(), sums->end(), -0.0);
  for (std::size_t step = 0; step < fvStep.size(); ++step) {
    for (std::size_t row = firstRow; row < endRow; ++row) {
      AddStep(step, row, sums->data() + (row - firstRow) * k);
    }
  }
  for (std::size_t row = firstRow; row < endRow; ++row) {
    for (std::size_t other = row + 1; other < k; ++other) {
      fMatrix.Set(row, other, (*sums)[(row - firstRow) * k + other]);
    }
  }
}

// Adds what one step gives to the pairs of a row with those of higher rank.
void PpsWorJoint::AddStep(std::size_t step, std::size_t row, double* sums) const {
  const std::size_t k = fMatrix.Count();
  const std::size_t inside = fvStep[step].inside;
  const double weight = fvFirstStep[step];
  const double* tail = fpTail.get() + step * k;
  std::size_t other = row + 1;
  if (row < inside) {
    const double ratio = fpRatio[step * k + row];
    const double run = fpRun[step * k + row];
    for (; other < inside; ++other) sums[other] += tail[other] * ratio * run * weight;
  }
  const double outside = OutsideTerm(step, row) * weight;
  for (; other < k; ++other) sums[other] += outside;
}

// C of a row's unit with any unit beyond m.
double PpsWorJoint::OutsideTerm(std::size_t step, std::size_t row) const {
  if (row >= fvStep[step].inside) return 1.0;
  const std::size_t unit = fMatrix.Unit(row);
  const double share = unit < fStratum.shares.size() - fvStep.size() ? fStratum.shares[unit] : fz1;
  return static_cast<double>(step + 1) * share / fvStep[step].d;
}

PpsWorEqualJoint::PpsWorEqualJoint(const SVSStratumView& stratum, SVSJointMatrix matrix,
                                   std::vector<Range> rows)
    : fStratum(stratum), fMatrix(std::move(matrix)), fvRows(std::move(rows)) {
  assert(!stratum.sizes.empty());
  fvA.resize(stratum.sizes.size() - 1);
  fvB.resize(fvA.size());
  double beyond = 0.0;
  for (std::size_t unit = fvA.size(); unit-- > 0;) {
    beyond += stratum.sizes[unit + 1];
    fvA[unit] = beyond > 0.0 ? stratum.sizes[unit] / beyond : 0.0;
  }
  RunningProducts(fvA, fvB.data());
}

bool PpsWorEqualJoint::Run(std::size_t range, const Stop& stop) {
  // The product is one of 32 bits, and wraps from n = 46,342 on, where the matrix alone takes 17 GB.
  const std::int64_t product = (std::int64_t{fStratum.requested} - 1) * fStratum.requested;
  const double draws = static_cast<std::int32_t>(product);
  for (std::size_t position = fvRows[range].begin; position < fvRows[range].end; ++position) {
    if (stop()) return false;
    const std::size_t rank = fMatrix.Rank(position);
    const std::size_t unit = fMatrix.Unit(rank);
    for (std::size_t other = rank + 1; other < fMatrix.Count(); ++other) {
      double value = draws * fvA[unit] * fStratum.shares[fMatrix.Unit(other)];
      if (unit > 0) value *= fvB[unit - 1];
      if (value != kMissing) fMatrix.Set(rank, other, value);
    }
  }
  return true;
}
