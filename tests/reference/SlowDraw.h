#pragma once

#include <cstdint>
#include <vector>

// A draw by simple random sampling without replacement in several stages, slow and obvious: keys are lists in
// maps, and each stage goes over all records that are left.
struct SlowStage {
  std::vector<int> strata, clusters;  // record indices
  int size;                           // units per stratum
};

struct SlowCase {
  std::vector<std::vector<double>> stages;  // seven results by output kind, for each of the stages drawn
  double finalWeight;
};

// Draws the stages from `first` on (from 1). The case id stands last in a record; `weightVar` below 0: none.
std::vector<SlowCase> SlowDraw(const std::vector<std::vector<double>>& records,
                               const std::vector<SlowStage>& stages, int first, int weightVar,
                               std::uint32_t seed);
