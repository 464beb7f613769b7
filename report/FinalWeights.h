#pragma once

#include <optional>
#include <string>

#include "report/WeightSummary.h"

// The final sampling weights that a run has left.
struct FinalWeights {
  std::string variable;
  std::string file;  // the sample file, as written in the command; empty for the active file
  WeightSummary summary;
};

// Reads the weights back from where the run put them: from the sample file once it is in its place, else from
// the active file's new variable. In the sample file every case counts, so one drawn with replacement as
// often as it was written; in the active file the cases that have a weight, each once. Empty when the run
// left no such variable.
// Errors: DataError when the sample file can't be read back.
std::optional<FinalWeights> ReadFinalWeights(const std::string& variable);
