#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>

#include "Outcomes.h"
#include "backend/svselect/selection/Murthy.h"
#include "backend/svselect/selection/PpsWorJoint.h"
#include "backend/svselect/selection/SVSJointWork.h"
#include "backend/svselect/selection/SampfordJoint.h"
#include "host/numeric/Obs.h"

namespace {

enum class Method { kPpsWor, kSampford, kMurthy };
const auto kNever = [] { return false; };

// One stratum with its matrix; every unit counts as selected unless `selected` says otherwise.
struct Stratum {
  std::vector<double> sizes;
  int n;
  std::vector<std::int32_t> selected;
  std::vector<double> p, cumulative, matrix;

  Stratum(std::vector<double> s, int drawn) : sizes(std::move(s)), n(drawn), selected(sizes.size()) {
    std::iota(selected.begin(), selected.end(), 1);
    const double total = std::accumulate(sizes.begin(), sizes.end(), 0.0);
    for (const double size : sizes) p.push_back(size / total);
    cumulative.resize(p.size());
    std::partial_sum(p.begin(), p.end(), cumulative.begin());
  }
  double Pi(std::size_t unit) const { return n * p[unit]; }
  double At(std::size_t a, std::size_t b) const { return matrix[a * selected.size() + b]; }
  bool LargestEqual() const { return sizes.back() == sizes[sizes.size() - static_cast<std::size_t>(n)]; }

  // The work in `count` ranges, prepared; rows or steps alike.
  std::unique_ptr<SVSJointWork> Work(Method method, std::size_t count = 1) {
    matrix.assign(selected.size() * selected.size(), MCMV::gMissingValue);
    const SVSJointMatrix view(matrix, selected);
    const bool steps = method == Method::kPpsWor && !LargestEqual();
    const std::size_t items = steps ? static_cast<std::size_t>(n) : selected.size();
    std::vector<SVSJointWork::Range> ranges;
    for (std::size_t r = 0; r < count; ++r) ranges.push_back({r * items / count, (r + 1) * items / count});
    if (method == Method::kMurthy) return std::make_unique<MurthyJoint>(p, view, ranges);
    if (method == Method::kSampford) {
      auto work = std::make_unique<SampfordJoint>(p, n, false, view, ranges);
      EXPECT_TRUE(work->Prepare(kNever));
      return work;
    }
    const SVSStratumView stratum = {
        .requested = n, .sizes = sizes, .shares = p, .cumulativeShares = cumulative};
    if (steps) return std::make_unique<PpsWorJoint>(stratum, view, ranges);
    return std::make_unique<PpsWorEqualJoint>(stratum, view, ranges);
  }
  Stratum& Compute(Method method) {
    EXPECT_TRUE(Work(method)->Run(0, kNever));
    return *this;
  }
};

// Sizes that are the inclusion probabilities themselves: Pareto with shape `alpha`, scaled to the sum n, none
// above `largest`; in ascending order.
std::vector<double> ParetoSizes(std::size_t units, int n, double alpha, double largest, unsigned seed) {
  std::mt19937 random(seed);
  std::vector<double> sizes(units);
  for (double& size : sizes)
    size = std::pow(1.0 - static_cast<double>(random()) / 4294967296.0, -1.0 / alpha);
  double low = 0.0;
  double high = 1.0 / *std::min_element(sizes.begin(), sizes.end());
  for (int i = 0; i < 200; ++i) {
    const double scale = (low + high) / 2.0;
    double sum = 0.0;
    for (const double size : sizes) sum += std::min(scale * size, largest);
    (sum < n ? low : high) = scale;
  }
  for (double& size : sizes) size = std::min(high * size, largest);
  std::sort(sizes.begin(), sizes.end());
  return sizes;
}

// One pair of Sampford's design by sums of positive terms only, in long double: prod (1 + (lambda + pi y) x)
// with y y = 0.
double LongSampford(const std::vector<double>& p, int n, std::size_t a, std::size_t b) {
  struct Term {
    long double plain = 0, marked = 0;
  };
  const auto product = [&](bool all) {
    std::vector<Term> terms(static_cast<std::size_t>(n) + 1);
    terms[0].plain = 1;
    for (std::size_t j = 0; j < p.size(); ++j) {
      if (!all && (j == a || j == b)) continue;
      const long double pi = n * p[j];
      const long double lambda = pi / (1 - pi);
      for (std::size_t m = terms.size() - 1; m > 0; --m) {
        terms[m].marked += lambda * terms[m - 1].marked + pi * terms[m - 1].plain;
        terms[m].plain += lambda * terms[m - 1].plain;
      }
    }
    return terms;
  };
  const long double pa = n * p[a];
  const long double pb = n * p[b];
  const Term rest = product(false)[static_cast<std::size_t>(n) - 2];
  return static_cast<double>(pa / (1 - pa) * (pb / (1 - pb)) * ((2 - pa - pb) * rest.plain + rest.marked) /
                             product(true).back().marked);
}

TEST(JointWork, GivesTheKnownNumbers) {
  const struct {
    Method method;
    std::vector<double> sizes;
    int n;
    std::size_t a, b;
    double value;
  } kCases[] = {
      {Method::kPpsWor, {1, 2, 3, 4, 5, 6, 7}, 2, 1, 2, 0.005128},
      {Method::kPpsWor, {1, 2, 3, 4, 5, 6, 7}, 3, 6, 7, 0.469612},
      {Method::kSampford, {1, 2, 3, 4, 5, 6, 7}, 2, 1, 2, 0.004384},
      {Method::kSampford, {1, 2, 3, 4, 5, 6, 7}, 3, 6, 7, 0.448836},
      {Method::kMurthy, {0.5, 0.3, 0.2}, 2, 1, 2, 0.514286},
      {Method::kMurthy, {5, 0, 5}, 2, 1, 2, 0.0},
      {Method::kMurthy, {5, 0}, 2, 1, 2, MCMV::gMissingValue},
  };
  for (const auto& c : kCases) {
    Stratum stratum(c.sizes, c.n);
    EXPECT_NEAR(stratum.Compute(c.method).At(c.a - 1, c.b - 1), c.value, 5e-7)
        << c.n << ',' << c.a << ',' << c.b;
    EXPECT_EQ(stratum.At(0, 0), MCMV::gMissingValue);
  }
}

// Goal: the formulas must agree with the draws that they speak of, outcome by outcome.
TEST(JointWork, AgreesWithEnumeration) {
  const std::vector<std::vector<double>> kSizes = {
      {1, 2, 3, 4, 5, 6, 7}, {1, 1, 1, 1, 1}, {1, 2, 3, 3, 3, 3}, {0.01, 2, 2.5, 3, 3.25, 3.5}, {3, 4, 4, 5}};
  for (const std::vector<double>& sizes : kSizes) {
    for (int n = 2; n < static_cast<int>(sizes.size()); ++n) {
      Stratum stratum(sizes, n);
      if (stratum.Pi(sizes.size() - 1) >= 1.0) continue;
      const std::pair<Method, Outcomes> kMethodsWithOutcomes[] = {
          {Method::kPpsWor, Outcomes(sizes).PpsWor(n)},
          {Method::kSampford, Outcomes(sizes).ExactSampford(n)},
          {Method::kMurthy, Outcomes(sizes).Murthy()},
      };
      for (const auto& [method, exact] : kMethodsWithOutcomes) {
        stratum.Compute(method);
        for (std::size_t a = 0; a < sizes.size(); ++a) {
          for (std::size_t b = 0; b < sizes.size(); ++b) {
            if (a == b) continue;
            const double wanted = exact.Of({static_cast<int>(a), static_cast<int>(b)});
            EXPECT_NEAR(stratum.At(a, b) / wanted, 1.0, 1e-12) << n << ':' << a << ',' << b;
          }
        }
      }
    }
  }
}

// Over all units the values are symmetric, positive, no more than either inclusion probability, and those of
// a unit add up to n - 1 times its own.
RC_GTEST_PROP(JointWork, KeepsTheIdentities, ()) {
  const auto units = *rc::gen::inRange<std::size_t>(3, 40);
  const int n = *rc::gen::inRange(2, static_cast<int>(units));
  const double alpha = *rc::gen::element(0.3, 1.0, 5.0);
  std::vector<double> sizes = ParetoSizes(units, n, alpha, 0.999, *rc::gen::arbitrary<unsigned>());
  for (const Method method : {Method::kPpsWor, Method::kSampford}) {
    const Stratum stratum = Stratum(sizes, n).Compute(method);
    for (std::size_t a = 0; a < units; ++a) {
      double sum = 0.0;
      for (std::size_t b = 0; b < units; ++b) {
        if (b == a) continue;
        RC_ASSERT(stratum.At(a, b) == stratum.At(b, a));
        RC_ASSERT(stratum.At(a, b) > 0.0);
        RC_ASSERT(stratum.At(a, b) <= std::min(stratum.Pi(a), stratum.Pi(b)) * (1.0 + 1e-12));
        sum += stratum.At(a, b);
      }
      RC_ASSERT(std::fabs(sum / ((n - 1) * stratum.Pi(a)) - 1.0) < 1e-9);
    }
  }
}

// Goal: no digit is lost where a recurrence that subtracts loses them all. A row of the first unit holds all
// its pairs; the order of the units decides whether that is the largest, the smallest or one between.
TEST(SampfordJoint, StaysExactForManyUnevenUnits) {
  for (const int n : {20, 60, 200, 500}) {
    for (const double alpha : {0.2, 1.1}) {
      const std::size_t units = static_cast<std::size_t>(n) * 2;
      std::vector<double> sizes = ParetoSizes(units, n, alpha, 0.999, 17);
      for (const std::size_t turn : {std::size_t{0}, units / 2, units - 1}) {
        SCOPED_TRACE(testing::Message() << n << ", alpha " << alpha << ", first unit " << turn);
        std::vector<double> turned = sizes;
        std::rotate(turned.begin(), turned.begin() + static_cast<std::ptrdiff_t>(turn), turned.end());
        Stratum stratum(turned, n);
        const auto work = stratum.Work(Method::kSampford, units);  // one row a range
        ASSERT_TRUE(work->Run(0, kNever));
        for (std::size_t b = 1; b < units; b += units / 4) {
          EXPECT_NEAR(stratum.At(0, b) / LongSampford(stratum.p, n, 0, b), 1.0, 1e-11) << b;
        }
      }
    }
  }
}

// Goal: a matrix of some units, in any order of selection, holds what that of all units holds of them.
TEST(JointWork, SelectedUnitsHaveTheirPlaces) {
  std::vector<double> sizes = ParetoSizes(60, 24, 1.5, 0.9, 5);
  for (const Method method : {Method::kPpsWor, Method::kSampford, Method::kMurthy}) {
    const Stratum all = Stratum(sizes, 24).Compute(method);
    Stratum some(sizes, 24);
    std::shuffle(some.selected.begin(), some.selected.end(), std::mt19937(3));
    some.selected.resize(11);
    some.Compute(method);
    for (std::size_t a = 0; a < 11; ++a) {
      for (std::size_t b = 0; b < 11; ++b) {
        const auto ia = static_cast<std::size_t>(some.selected[a]) - 1;
        const auto ib = static_cast<std::size_t>(some.selected[b]) - 1;
        const double tolerance =
            method == Method::kSampford ? 1e-13 : 0.0;  // its rows depend on the selected
        EXPECT_NEAR(some.At(a, b), all.At(ia, ib), tolerance) << ia << ',' << ib;
      }
    }
  }
}

}  // namespace
