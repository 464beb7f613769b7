#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

class CaseEngine;
struct Dictionary;

// What a frame has in each stratum of a first stage, from one pass over its cases.

// Columns of the dictionary.
struct StratumColumns {
  std::vector<int> strata;    // in the order of the plan; not empty
  std::vector<int> clusters;  // empty if each case is a unit
  int variable = -1;          // numeric variable to describe; -1 for none
};

struct StratumCount {
  // As a plan writes them: texts without trailing blanks, numbers in their shortest form.
  std::vector<std::string> categories;
  std::int64_t units = 0;
  // Of the variable: a unit's value is that of its case, or the sum over the cases of its cluster. Units without
  // a value don't count here.
  std::int64_t unitsWithValue = 0;
  double mean = 0.0;
  double deviation =
      std::numeric_limits<double>::quiet_NaN();  // divisor N - 1; NaN below two units with a value
};

struct StratumCounts {
  std::vector<StratumCount> strata;  // ascending by their values, numbers before texts
  std::int64_t leftOut = 0;          // cases with a missing stratum or cluster, which a draw leaves out too
};

// Counts as a draw does: system- and user-missing values of strata and clusters leave a case out, and names
// of clusters may recur in other strata. A user-missing value of the variable is no value.
// Memory:  a key for each cluster; without clusters nothing grows with the cases.
// Errors:  DataError if the frame can't be read. A stop request ends the pass; the counts are then useless.
StratumCounts CountStrata(CaseEngine& engine, const Dictionary& dictionary, const StratumColumns& columns);
