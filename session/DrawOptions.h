#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/environment/HostSession.h"
#include "report/PreviewTables.h"
#include "session/CommandText.h"

// What a caller of the library asks of a draw beside plan and frame: a JSON object whose members mean what the
// options of the program of the same names mean.
//
//   seed           a whole number from 1 to 2147483647, or "random", which is the default
//   stages         list of the stages to draw, as [1, 2]; all if not given
//   exact_design   true: draw with exactly the probabilities that are stated
//   strict         true: what makes a probability or weight wrong or unclear is an error
//   joint          true: compute the joint inclusion probabilities
//   keep           list of the variables to copy to the sample; all if not given
//   weight         variable that weights the cases
//   split          list of variables whose changes split the cases into groups
//   sort           list of variables to order the cases by, those with a minus sign in descending order
//   serpentine     true: every second run of that order is reversed
//   cost           list of three numbers, for a preview: the survey, each unit of the first stage, each case
struct DrawOptions {
  HostSettings settings;
  CommandParts parts;  // seed, stages and keep
  bool joint = false;
  std::string weight;
  std::vector<std::string> split;
  std::vector<std::string> sort;
  bool serpentine = false;
  std::optional<SurveyCost> cost;
};

// Reads the options; an empty text has none.
// Errors: DataError about the first member that is unknown, given twice or has a value that it can't have, or
//         about a text that isn't a JSON object.
DrawOptions ReadDrawOptions(const std::string& json);
