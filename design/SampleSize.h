#pragma once

#include <cstdint>
#include <optional>
#include <string>

// How many units a simple random sample, or one of a known design effect, needs for a stated precision. Pure
// functions.
//
// Notation, as in the sources: N units in the population, n in the sample; P an expected proportion, Q = 1 - P;
// S the standard deviation between units, with divisor N - 1; d the margin of error, half the width of the
// confidence interval; z the point that a standard normal variable exceeds in absolute value with probability
// 1 - confidence; C the coefficient of variation of the estimate.

enum class SizeTarget { kProportion, kMean, kTotal };

// What is asked. Just one of `margin` and `cv` is given.
struct SizeQuestion {
  SizeTarget target = SizeTarget::kProportion;
  // The proportion, mean or total that is expected. For a proportion 0.5 if it isn't given, the worst case
  // for a margin; for a mean or total only a coefficient of variation needs it.
  std::optional<double> expected{};
  std::optional<double> deviation{};   // S, of a mean or total
  std::optional<double> population{};  // N, whole; none is a population without end. A total needs it
  std::optional<double> margin{};      // d, in the unit of what is estimated
  std::optional<double> cv{};          // C, 0.05 for 5 %
  double confidence = 0.95;
  double designEffect = 1.0;  // variance of the estimate over that of a simple random sample of the same size
  double responseRate = 1.0;  // share of the units drawn that answer
};

// The answer, in the order in which it comes about. `problem` says in one sentence what keeps it from being
// given; the rest is then undefined.
struct SizeAnswer {
  std::string problem{};
  bool isOutOfReach = false;    // the question is a good one, and no sample is large enough
  double z = 0.0;               // 0 if a coefficient of variation was asked for
  double simple = 0.0;          // simple random sample from a population without end
  double withEffect = 0.0;      // times the design effect
  double withPopulation = 0.0;  // corrected for the finite population
  std::int64_t answers = 0;     // rounded up
  std::int64_t sample = 0;      // units to draw, so that as many answer on the average
};

// Solves for n:
//
//   proportion    V = D P Q (N - n) / (n (N - 1))        n0 = D P Q / V     n = n0 / (1 + (n0 - 1) / N)
//   mean          V = D S^2 (1 - n / N) / n              n0 = D S^2 / V     n = n0 / (1 + n0 / N)
//   total         as the mean, with V / N^2 in place of V
//
// where D is the design effect and V the variance that is wanted: (d / z)^2, or (C times the expected value)^2.
// The units to draw are n over the response rate, rounded up.
//
// Sources: [Cochran77], (4.1) and (4.2) for the proportion, section 4.6 for mean and total; [Kish65], section
// 8.2, for D, which multiplies the variance with its finite population correction; [DHS12], for D and the
// response rate in a sample of a stated relative error. [Lohr19], section 2.6, uses the form of the mean for a
// proportion too, with S^2 = P Q, which can differ by one unit.
SizeAnswer SampleSizeFor(const SizeQuestion& question);

// The z above: the inverse of the standard normal distribution function at (1 + confidence) / 2.
// REQUIRES: 0 < confidence < 1. Accuracy: absolute error below 1e-12.
double NormalPoint(double confidence);
