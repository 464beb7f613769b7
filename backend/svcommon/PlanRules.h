#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/command/VarCatList.h"
#include "host/text/VariableNames.h"

class SVPlanSpecs;
struct SVPlanOrderKey;
struct SVPlanStageSpecs;

// The rules of a plan that don't depend on how it is written, XML or JSON. Each function tests one of them and
// says what is wrong; the readers add the place, and decide the order.

// What breaks a rule: the code of PlanReadErrors, and a text. The code is 0 if nothing does.
struct PlanFault {
  int code = 0;
  std::string what;
};

// A list or table of a plan has at most this many variables.
inline constexpr std::size_t kMaxPlanListVariables = 10'000;

// "a, b or c", or with another word before the last. REQUIRES: there are words.
std::string ListedWords(const std::vector<std::string>& words, const char* last = "or");

// Notes a name as used and tests it: names are used once in a plan, and legal. A repeated name is reported as
// repeated even if it is also illegal.
PlanFault NameFault(SVPlanSpecs* plan, const KorvVarName& name);

// The method of stage `number`, by its word. A word that is no method is followed by the nearest one.
// `missing` says how the plan lacks the word, for an empty one.
PlanFault MethodFault(const SVPlanSpecs& plan, int number, const std::string& word, const char* missing);

// A size, rate, population size or probability; `text` is the value as the plan has it.
PlanFault ValueFault(std::int32_t paramKind, double value, const std::string& text);

// A variable of a stage's table: a stratum of this or an earlier stage, or a cluster of an earlier one.
// Clusters of its own stage make no sense: they are the units to be drawn, and a number of units per unit says
// nothing. REQUIRES: strata and clusters up to this stage have been noted in the plan.
PlanFault TableVariableFault(const SVPlanSpecs& plan, int number, const KorvVarName& name);

// Whether a stage asks for two units, or leaves their number open: all that a method of two units can give.
bool AsksForTwo(const SVPlanStageSpecs& stage);

// Adds a variable to order units by, as the plan has it: with a minus sign in descending order. Always adds one;
// names must be legal and, in the list, different.
PlanFault AddOrderKey(const std::string& text, std::vector<SVPlanOrderKey>* order);

// The order of a stage's units: there must be variables, and a method for which their order matters.
PlanFault OrderFault(const SVPlanStageSpecs& stage);

inline constexpr const char* kNoRunsText =
    "'serpentine' has no effect: it reverses runs of units, and 'order' has no two variables that make runs";

// A share of the limit from which units are taken for certain; `text` is the value as the plan has it.
PlanFault CertaintyShareFault(double share, const std::string& text);

// A stage that takes units for certain: its method must draw by size and without replacement. A method that is
// no method isn't blamed again.
PlanFault CertaintyFault(const SVPlanStageSpecs& stage);

inline constexpr const char* kNoCertaintyText =
    "'certain' has no effect: the stage has no 'certainty', so it takes no unit for certain";

// A lone stage that writes joint probabilities in any case needs clusters, which name the rows of their file.
// `cure` is the end of the sentence.
PlanFault OnlyStageFault(const SVPlanStageSpecs& stage, const char* cure);

inline constexpr const char* kNoClustersText =
    "the stage has no clusters, within which the next one could draw";

// That a row of a table repeats the categories of an earlier one; rows count from 1. A JSON plan is refused
// then, so that it doesn't matter which row would count.
std::string RepeatedRowText(int row, int earlier, bool isJson);

// Rows with the same categories: each with the one before it that has them, both from 0, in order of the
// later one.
std::vector<std::pair<std::size_t, std::size_t>> RepeatedRows(const VarCatList& table);
