#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "design/Allocation.h"
#include "planning/StratumCounts.h"

struct Dictionary;
struct SVPlanStageSpecs;

// An allocation over the strata of a plan's first stage, as the user asks for it in words:
//
//   n=500 rule=neyman variable=enrolment min=2
//   n=500 rule=optimal by=type sd=sds.csv cost=costs.csv max=200
//
//   n         the size of the sample
//   rule      equal, proportional, neyman, optimal or power
//   by        the strata of the stage, in the order of the tables; as in the stage if it isn't given
//   variable  numeric variable of the frame, whose deviations, totals and variation the rules use
//   sd, cost, min, max  one number for all strata, or a table in a .csv file
//   units     such a table: the units of the strata, where there is no frame to count them in
//   exponent, size, cv  of the rule power; size and cv are numbers or tables as well

// A number for each stratum, as it was asked for.
struct StratumNumbers {
  std::optional<double> same{};  // for all strata
  std::string path{};            // of a table; empty without one
};

struct AllocationWords {
  std::int64_t n = 0;
  AllocationRule rule = AllocationRule::kProportional;
  double exponent = 1.0;
  std::vector<std::string> by;
  std::string variable;
  std::map<std::string, StratumNumbers> numbers;  // by the word of the option: sd, cost, min, ...

  bool Has(const char* word) const { return numbers.count(word) > 0; }
};

// Reads the words. Returns what is wrong, in one sentence; empty if nothing is.
std::string ReadAllocationWords(const std::string& text, AllocationWords* words);

// Every key, in the order of the list above.
std::vector<std::string> AllocationKeys();

// An allocation with what it was made of.
struct PlannedAllocation {
  std::vector<std::string> problems{};  // if there are any, the rest is incomplete
  std::vector<std::string> remarks{};
  std::vector<std::string> by{};                       // variables of the table
  std::vector<std::vector<std::string>> categories{};  // of each stratum, by variable
  std::vector<AllocationStratum> strata{};
  std::vector<std::int64_t> sizes{};
  bool isWithReplacement = false;
};

// Allocates over the strata of a frame, or of the table `units` if `counts` is null. `dictionary` tells which
// variables are numeric; null without a frame: then categories are compared as texts.
// REQUIRES: the words were read without a problem, and `by` has the strata of the stage.
PlannedAllocation PlanAllocation(const AllocationWords& words, const Dictionary* dictionary,
                                 const StratumCounts* counts, bool isWithReplacement);

// Makes the sizes the table of the stage. REQUIRES: no problems.
void SetSizes(const PlannedAllocation& allocation, SVPlanStageSpecs* stage);
