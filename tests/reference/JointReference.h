#pragma once

#include <vector>

// Slow and obvious joint inclusion probabilities: N x N matrices over all units of a stratum, the diagonal
// holding the inclusion probabilities.
using JointMatrix = std::vector<std::vector<double>>;

// Sampford's design by its definition, sample by sample.
JointMatrix EnumeratedSampford(const std::vector<double>& p, int n);
// One pair of it by sums of positive terms only, in long double: prod (1 + (lambda + pi y) x) with y y = 0.
double LongSampford(const std::vector<double>& p, int n, std::size_t a, std::size_t b);

// Murthy's design: all ordered pairs of draws.
JointMatrix EnumeratedMurthy(const std::vector<double>& p);

// PPS without replacement. `sizes` ascend.
std::vector<double> FirstStepValues(const std::vector<double>& sizes, int n);
// The draw as a tree of its turns; both forms.
JointMatrix EnumeratedPpsWor(const std::vector<double>& sizes, int n);
// The formula pair by pair and step by step, summed in the order of the steps.
JointMatrix PlainPpsWor(const std::vector<double>& sizes, int n);
