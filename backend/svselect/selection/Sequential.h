#pragma once

#include <cstdint>

// The steps of the sequential procedure, which Sequential.cpp explains: the number of hits up to a position
// is the whole part of its expectation, or one more.

// The expected number of hits up to a position.
struct ExpectedHits {
  std::int32_t count = 0;  // I, the whole part
  double rest = 0.0;       // F, the expectation less its whole part
};

// `expected` split into whole part and rest.
ExpectedHits SplitExpected(double expected);

// Number of hits wanted up to a position: `count`, and one more with probability `chance`. A number
// is drawn only if `bDraw`.
struct HitsStep {
  std::int32_t count = 0;
  bool bDraw = false;
  double chance = 0.0;
};

// The step from one position to the next. `hits` is the number up to `before`: before.count, or one more.
HitsStep NextHits(std::int32_t hits, const ExpectedHits& before, const ExpectedHits& now);
