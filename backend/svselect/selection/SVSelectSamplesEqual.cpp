// The methods of equal probability that need no measures of size.

#include <algorithm>
#include <cmath>

#include "backend/svselect/selection/SVSelectSamples.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/MCRandomTwister.h"

// One pass: a unit is taken with the probability of the units still wanted among those left. One number for
// each unit examined; the pass ends when the sample is full.
void SVSelectSamples::SelectSimpleWor() {
  const double inclProb = static_cast<double>(fNRequestSamples) / fNAllSamples;
  const double weight = static_cast<double>(fNAllSamples) / fNRequestSamples;
  std::int32_t wanted = fNRequestSamples;
  for (std::int32_t i = 0; i < fNAllSamples && wanted > 0; ++i) {
    if (Cancelled()) return;
    const double chance = static_cast<double>(wanted) / (fNAllSamples - i);
    if (!(chance > fpRandom->GetRealOpen())) continue;
    Unit(i).SetResults(inclProb, weight, 1.0);
    ++fNSelectSamples;
    --wanted;
  }
}

void SVSelectSamples::SelectSimpleWr() {
  const double population = fNAllSamples;
  const double inclProb = 1.0 - std::pow(1.0 - 1.0 / population, fNRequestSamples);
  const double weight = population / fNRequestSamples;
  std::vector<std::int32_t> hits(fpClusterTablePairs->size());
  for (std::int32_t draw = 0; draw < fNRequestSamples; ++draw) {
    if (Cancelled()) return;
    const std::int32_t unit = TruncateToInt32(population * fpRandom->GetRealClosedOpen());
    ++hits[static_cast<std::size_t>(std::min(unit, fNAllSamples - 1))];
  }
  for (std::int32_t i = 0; i < fNAllSamples; ++i) {
    const std::int32_t count = hits[static_cast<std::size_t>(i)];
    if (count == 0) continue;
    Unit(i).SetResults(inclProb, weight, count);
    fNSelectSamples += count;
  }
}

// Every N/n-th unit from a random start, the interval being no whole number. The units are written as they
// come.
void SVSelectSamples::SelectSimpleSystematic() {
  const double inclProb = static_cast<double>(fNRequestSamples) / fNAllSamples;
  const double interval = static_cast<double>(fNAllSamples) / fNRequestSamples;
  const double start = fpRandom->GetRealOpen();
  for (std::int32_t j = 0; j < fNRequestSamples; ++j) {
    if (Cancelled()) return;
    const std::int32_t unit = TruncateToInt32((j + start) * interval);
    Unit(std::min(unit, fNAllSamples - 1)).SetResults(inclProb, interval, 1.0);
    ++fNSelectSamples;
  }
}
