#include "backend/svselect/selection/SampfordJoint.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// Terms below this are dropped: they are no part of any result, for E[(n - X)+] and its like are never below
// 1e-100 (the law of X is log-concave with its mode beside n), and denormal numbers would make the loops
// slow.
constexpr double kNothing = 1e-150;

double Drop(double term) {
  return std::fabs(term) < kNothing ? 0.0 : term;
}

// One more trial of chance `pi`: in `law`, of one value more than the counts so far, the last value being 0.
// `from` and `law` are different arrays of `size` values.
void AddTrial(double pi, const double* from, std::size_t size, double* law) {
  const double rest = 1.0 - pi;
  law[0] = Drop(rest * from[0]);
  for (std::size_t q = 1; q < size; ++q) law[q] = Drop(rest * from[q] + pi * from[q - 1]);
}

// The same for what is open after q successes; beyond the last value nothing is.
void AddTrialBelow(double pi, std::span<double> open) {
  const double rest = 1.0 - pi;
  for (std::size_t q = 0; q + 1 < open.size(); ++q) open[q] = Drop(rest * open[q] + pi * open[q + 1]);
  open.back() = Drop(rest * open.back());
}

// Four running sums, so that the additions needn't wait for each other; their order is fixed.
double Dot(const double* x, const double* y, std::size_t size) {
  double sum[4] = {0.0, 0.0, 0.0, 0.0};
  std::size_t q = 0;
  for (; q + 4 <= size; q += 4) {
    for (std::size_t lane = 0; lane < 4; ++lane) sum[lane] += x[q + lane] * y[q + lane];
  }
  for (; q < size; ++q) sum[0] += x[q] * y[q];
  return (sum[0] + sum[1]) + (sum[2] + sum[3]);
}

constexpr std::size_t kUnitsPerStopTest = 64;

}  // namespace

SampfordJoint::SampfordJoint(std::span<const double> p, int n, bool allTaken, SVSJointMatrix matrix,
                             std::vector<Range> rows)
    : fp(p), fn(n), fbAllTaken(allTaken || n <= 0), fMatrix(std::move(matrix)), fvRows(std::move(rows)) {
  fWidth = n > 1 ? static_cast<std::size_t>(n) - 1 : 0;
}

bool SampfordJoint::Prepare(const Stop& stop) {
  if (!fbAllTaken) {
    std::vector<double> counts;
    if (!CountsOfUnselected(stop, &counts)) return false;
    FillOpen(counts);
  }
  fbPrepared = true;
  return true;
}

// counts[q] is the probability of q successes, q = 0..n, among the units that aren't selected.
bool SampfordJoint::CountsOfUnselected(const Stop& stop, std::vector<double>* counts) const {
  counts->assign(fWidth + 2, 0.0);
  counts->front() = 1.0;
  std::vector<double> next(counts->size(), 0.0);
  std::size_t size = 1;
  std::size_t rank = 0;
  for (std::size_t unit = 0; unit < fp.size(); ++unit) {
    if (unit % kUnitsPerStopTest == 0 && stop()) return false;
    if (rank < fMatrix.Count() && fMatrix.Unit(rank) == unit) {
      ++rank;
      continue;
    }
    size = std::min(size + 1, counts->size());
    AddTrial(Chance(unit), counts->data(), size, next.data());
    counts->swap(next);
  }
  return true;
}

// From the last selected unit to the first: keep what is open after it, then let it take part.
void SampfordJoint::FillOpen(const std::vector<double>& counts) {
  // For a limit of n successes, q = 0..n; the limit n - 2 is the same two places further on.
  const std::size_t n = counts.size() - 1;
  std::vector<double> u(n + 1, counts[0]);
  std::vector<double> v(n + 1, 0.0);
  for (std::size_t q = n; q-- > 0;) {
    u[q] = u[q + 1] + counts[n - q];
    v[q] = v[q + 1] + u[q + 1];
  }
  const std::size_t k = fMatrix.Count();
  fvSelectChance.resize(k);
  fvU.resize(k * fWidth);
  fvV.resize(k * fWidth);
  for (std::size_t rank = k; rank-- > 0;) {
    std::copy(u.begin() + 2, u.end(), fvU.begin() + static_cast<std::ptrdiff_t>(rank * fWidth));
    std::copy(v.begin() + 2, v.end(), fvV.begin() + static_cast<std::ptrdiff_t>(rank * fWidth));
    const double pi = fvSelectChance[rank] = Chance(fMatrix.Unit(rank));
    AddTrialBelow(pi, u);
    AddTrialBelow(pi, v);
  }
  fSampfordConst = 1.0 / v[0];
}

bool SampfordJoint::Run(std::size_t range, const Stop& stop) {
  for (std::size_t position = fvRows[range].begin; position < fvRows[range].end; ++position) {
    if (stop() || !fbPrepared) return false;
    Row(fMatrix.Rank(position));
  }
  return true;
}

// The pairs of the unit at `rank` with those of higher rank.
void SampfordJoint::Row(std::size_t rank) {
  const std::size_t k = fMatrix.Count();
  if (fbAllTaken) {
    for (std::size_t other = rank + 1; other < k; ++other) fMatrix.Set(rank, other, 1.0);
    return;
  }
  const double pi = fvSelectChance[rank];
  // A value more than is ever used, so that there is one when n is 1.
  std::vector<double> before(fWidth + 1, 0.0);
  std::vector<double> next(fWidth + 1, 0.0);
  before[0] = 1.0;
  std::size_t size = 1;
  for (std::size_t other = 0; other < k; ++other) {
    if (other == rank) continue;
    const double otherPi = fvSelectChance[other];
    if (other > rank) {
      const std::size_t used = std::min(size, fWidth);
      const double u = Dot(before.data(), fvU.data() + other * fWidth, used);
      const double v = Dot(before.data(), fvV.data() + other * fWidth, used);
      const double value = pi * otherPi * (((1.0 - pi) + (1.0 - otherPi)) * u + v) * fSampfordConst;
      // Less than either by the formula; rounding mustn't lift it above where one of them is nearly 1.
      fMatrix.Set(rank, other, std::min({value, pi, otherPi}));
    }
    size = std::min(size + 1, before.size());
    AddTrial(otherPi, before.data(), size, next.data());
    before.swap(next);
  }
}
