#include "backend/svselect/selection/SVSJointWork.h"

#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <thread>

#include "JointReference.h"
#include "backend/svselect/selection/MurthyJoint.h"
#include "backend/svselect/selection/PpsWorJoint.h"
#include "backend/svselect/selection/SampfordJoint.h"
#include "host/numeric/MissingValue.h"

namespace {

enum class Method { kPpsWor, kSampford, kMurthy };
const auto kNever = [] { return false; };

// One stratum with its matrix; every unit counts as selected unless `selected` says otherwise.
struct Stratum {
  std::vector<double> sizes;
  int n;
  std::vector<std::int32_t> selected;
  std::vector<double> p, cumulative, firstStep, matrix;

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
    if (steps) firstStep = FirstStepValues(sizes, n);
    const PpsWorStratum stratum{sizes, p, cumulative, firstStep, n};
    if (steps) return std::make_unique<PpsWorJoint>(stratum, view, ranges);
    return std::make_unique<PpsWorEqualJoint>(stratum, view, ranges);
  }
  Stratum& Compute(Method method) {
    EXPECT_TRUE(Work(method)->Run(0, kNever));
    return *this;
  }
};

// Sizes that are the inclusion probabilities themselves: Pareto with shape `alpha`, scaled to the sum n, none
// above `largest`.
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
  return sizes;
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
      {Method::kPpsWor, {1, 2, 3, 4, 5, 6, 7}, 2, 1, 7, 0.020147},
      {Method::kPpsWor, {1, 2, 3, 4, 5, 6, 7}, 2, 5, 7, 0.120098},
      {Method::kPpsWor, {1, 2, 3, 4, 5, 6, 7}, 2, 6, 7, 0.163375},
      {Method::kPpsWor, {1, 2, 3, 4, 5, 6, 7}, 3, 1, 2, 0.014756},
      {Method::kPpsWor, {1, 2, 3, 4, 5, 6, 7}, 3, 6, 7, 0.469612},
      {Method::kSampford, {1, 2, 3, 4, 5, 6, 7}, 2, 1, 2, 0.004384},
      {Method::kSampford, {1, 2, 3, 4, 5, 6, 7}, 2, 1, 7, 0.021044},
      {Method::kSampford, {1, 2, 3, 4, 5, 6, 7}, 2, 6, 7, 0.153886},
      {Method::kSampford, {1, 2, 3, 4, 5, 6, 7}, 3, 1, 2, 0.012180},
      {Method::kSampford, {1, 2, 3, 4, 5, 6, 7}, 3, 1, 7, 0.065764},
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

// Goal: the formulas must agree with the designs that they speak of, outcome by outcome.
TEST(JointWork, AgreesWithEnumeration) {
  const std::vector<std::vector<double>> kSizes = {
      {1, 2, 3, 4, 5, 6, 7}, {1, 1, 1, 1, 1}, {1, 2, 3, 3, 3, 3}, {0.01, 2, 2.5, 3, 3.25, 3.5}, {3, 4, 4, 5}};
  for (const std::vector<double>& sizes : kSizes) {
    for (int n = 2; n < static_cast<int>(sizes.size()); ++n) {
      Stratum stratum(sizes, n);
      if (stratum.Pi(sizes.size() - 1) >= 1.0) continue;
      const auto expectNear = [&](const JointMatrix& exact) {
        for (std::size_t a = 0; a < sizes.size(); ++a) {
          for (std::size_t b = 0; b < sizes.size(); ++b) {
            if (a == b) continue;
            EXPECT_NEAR(stratum.At(a, b) / exact[a][b], 1.0, 1e-12) << n << ':' << a << ',' << b;
          }
        }
      };
      stratum.Compute(Method::kPpsWor);
      expectNear(EnumeratedPpsWor(sizes, n));
      stratum.Compute(Method::kSampford);
      expectNear(EnumeratedSampford(stratum.p, n));
      stratum.Compute(Method::kMurthy);
      expectNear(EnumeratedMurthy(stratum.p));
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
  std::sort(sizes.begin(), sizes.end());
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
      std::sort(sizes.begin(), sizes.end());
      for (const std::size_t turn : {std::size_t{0}, units / 2, units - 1}) {
        SCOPED_TRACE(testing::Message() << n << ", alpha " << alpha << ", first unit " << turn);
        std::vector<double> turned = sizes;
        std::rotate(turned.begin(), turned.begin() + static_cast<std::ptrdiff_t>(turn), turned.end());
        Stratum stratum(turned, n);
        const auto work = stratum.Work(Method::kSampford, units);  // one row a range
        ASSERT_TRUE(work->Run(0, kNever));
        double sum = 0.0;
        for (std::size_t b = 1; b < units; ++b) {
          EXPECT_GT(stratum.At(0, b), 0.0);
          EXPECT_LE(stratum.At(0, b), std::min(stratum.Pi(0), stratum.Pi(b)));
          sum += stratum.At(0, b);
          if (b % (units / 4) != 1) continue;
          EXPECT_NEAR(stratum.At(0, b) / LongSampford(stratum.p, n, 0, b), 1.0, 1e-11) << b;
        }
        EXPECT_NEAR(sum / ((n - 1) * stratum.Pi(0)), 1.0, 1e-9);
      }
    }
  }
}

// Goal: a matrix of some units, in any order of selection, holds what their formula says: for PPS_WOR the sum
// in the order of the steps, to the last bit.
TEST(JointWork, SelectedUnitsHaveTheirPlaces) {
  std::vector<double> sizes = ParetoSizes(60, 24, 1.5, 0.9, 5);
  std::sort(sizes.begin(), sizes.end());
  const JointMatrix plain = PlainPpsWor(sizes, 24);
  for (const Method method : {Method::kPpsWor, Method::kSampford}) {
    Stratum stratum(sizes, 24);
    std::shuffle(stratum.selected.begin(), stratum.selected.end(), std::mt19937(3));
    stratum.selected.resize(11);
    stratum.Compute(method);
    for (std::size_t a = 0; a < 11; ++a) {
      for (std::size_t b = 0; b < 11; ++b) {
        if (a == b) continue;
        const auto ia = static_cast<std::size_t>(stratum.selected[a]) - 1;
        const auto ib = static_cast<std::size_t>(stratum.selected[b]) - 1;
        if (method == Method::kPpsWor) {
          EXPECT_EQ(stratum.At(a, b), plain[ia][ib]) << ia << ',' << ib;
        } else {
          EXPECT_NEAR(stratum.At(a, b) / LongSampford(stratum.p, 24, ia, ib), 1.0, 1e-12) << ia << ',' << ib;
        }
      }
    }
  }
}

// Goal: ranges change speed, never digits, on threads and one after the other in any order.
TEST(JointWork, RangesDontChangeADigit) {
  std::vector<double> sizes = ParetoSizes(90, 37, 1.2, 0.99, 9);
  std::sort(sizes.begin(), sizes.end());
  for (const Method method : {Method::kPpsWor, Method::kSampford}) {
    const std::vector<double> one = Stratum(sizes, 37).Compute(method).matrix;
    for (const std::size_t count : {1U, 2U, 3U, 7U, 37U}) {
      Stratum parallel(sizes, 37);
      const auto work = parallel.Work(method, count);
      std::vector<std::thread> threads;
      for (std::size_t r = 0; r < count; ++r) threads.emplace_back([&work, r] { work->Run(r, kNever); });
      for (std::thread& thread : threads) thread.join();
      EXPECT_EQ(parallel.matrix, one) << count;
      Stratum backwards(sizes, 37);
      const auto again = backwards.Work(method, count);
      for (std::size_t r = count; r-- > 0;) EXPECT_TRUE(again->Run(r, kNever));
      EXPECT_EQ(backwards.matrix, one) << count;
    }
  }
}

// Goal: a stop at any question ends the range in which it was asked, though no later question repeats it.
TEST(JointWork, StopsAtAnyQuestion) {
  for (const Method method : {Method::kPpsWor, Method::kSampford, Method::kMurthy}) {
    for (int stopAt = 0, asked = 1; stopAt < asked; ++stopAt) {
      Stratum stratum({1, 2, 3, 4, 5, 6, 7, 8, 9}, 3);
      asked = 0;
      const auto stop = [&] { return asked++ == stopAt; };
      const auto work = stratum.Work(method, 2);
      const bool first = work->Run(0, stop);
      EXPECT_EQ(first && work->Run(1, stop), stopAt >= asked);
    }
  }
}

}  // namespace
