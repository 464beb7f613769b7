#pragma once

#include <optional>
#include <string>

#include "report/WeightSummary.h"

class HostSession;

// Final sampling weights of the sample that a run has drawn.
struct FinalWeights {
  std::string variable;  // that holds them
  std::string file;      // the sample file, as written in the command; empty for the active file
  WeightSummary summary;
};

// Reads the weights back from where the run put them: from the sample file if there is one, otherwise from
// the variable that was added to the active file. A case that was drawn several times counts as often as it
// is in the sample file, but only once in the active file. Cases without a weight don't count. Empty if there
// is no such variable, or it isn't numeric.
//
// REQUIRES: the sample file is finished and not committed yet: its temporary file is read.
// Errors:   DataError if the sample file can't be read back.
std::optional<FinalWeights> ReadFinalWeights(HostSession& session, const std::string& variable);
