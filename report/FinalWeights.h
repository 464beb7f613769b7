#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "report/SampleReview.h"
#include "report/WeightSummary.h"

class HostSession;

// Final sampling weights of the sample that a run has drawn, and what the sample says about its stages.
struct FinalWeights {
  std::string variable;  // that holds them
  std::string file;      // the sample file, as written in the command; empty for the active file
  WeightSummary summary;
  std::vector<StageReview> stages{};
  // Of the sample file; empty without one.
  struct Column {
    std::string name;
    bool isString;
  };
  std::vector<Column> columns{};
  // Valid cases of the frame, whose number the sum of the weights estimates; empty if it doesn't.
  std::optional<std::int64_t> frameCases{};
};

// Reads the weights back from where the run put them: from the sample file if there is one, otherwise from
// the variable that was added to the active file. The stages are reviewed in the same pass. A case that was
// drawn several times counts as often as it is in the sample file, but only once in the active file. Cases
// without a weight don't count. Empty if there is no such variable, or it isn't numeric.
//
// REQUIRES: the sample file is finished and not committed yet: its temporary file is read. The frame is open.
// Errors:   DataError if the sample file or the frame can't be read back.
std::optional<FinalWeights> ReadFinalWeights(HostSession& session, const std::string& variable,
                                             const std::vector<StageVariables>& stages = {});
