#include "backend/svselect/selection/SequentialSteps.h"

#include "host/numeric/Fuzzy.h"

ExpectedHits SplitExpected(double expected) {
  const std::int32_t count = TruncateToInt32(expected);
  return {count, expected - count};
}

HitsStep NextHits(std::int32_t hits, const ExpectedHits& before, const ExpectedHits& now) {
  if (hits == before.count) {
    if (!(now.rest > before.rest)) return {now.count, false, 0.0};
    return {now.count, true, (now.rest - before.rest) / (1.0 - before.rest)};
  }
  if (now.rest >= before.rest) return {now.count + 1, false, 0.0};
  return {now.count, true, now.rest / before.rest};
}
