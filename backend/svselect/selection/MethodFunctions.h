#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "backend/svselect/selection/SVSJointMatrix.h"
#include "backend/svselect/selection/SVSJointWork.h"
#include "backend/svselect/selection/SVSStratumView.h"
#include "model_components/surveyplans/common/SVStatus.h"

namespace MCCommonMath {
class MCRandomTwister;
}

// The second column of the table of methods (backend/svcommon/design/MethodTable.h): how each one draws and
// where its joint inclusion probabilities come from. The rows are the same in the same order.

// Draws the sample of a stratum. "Random numbers:" at the head of each draw's file says which ones it takes,
// and in which order. Neither may ever change.
// Errors: 1 when cancelled, 92032 for a size beyond the method's limit.
using DrawFunction = SVStatus(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                              SVSTakenUnits* taken);

// What that draw would do to each unit: it states the same, by the same functions, and fails where the draw
// fails. Where the draw only comes near the probabilities that it states, the hits are those stated.
// Random numbers: none. Errors: 92032.
using ForeseeFunction = SVStatus(const SVSStratumView& stratum, SVSForeseenUnits* units);

// The work of computing the joint probabilities of the selected units, cut into these ranges of its items.
// Throws std::bad_alloc where there is no memory.
using JointFunction = std::unique_ptr<SVSJointWork>(const SVSStratumView& stratum, SVSJointMatrix matrix,
                                                    std::vector<SVSJointWork::Range> ranges);

// How many items of that work threads can share; 0 when one thread does all of it, and the items are the
// selected units.
using SharedItemsFunction = std::int32_t(const SVSStratumView& stratum, std::int32_t selected);

// The inclusion probabilities that the draw of a stratum really has, unit by unit in the order of the list;
// empty where they are too costly to compute. In DrawnProbs.cpp.
// REQUIRES: the draw has succeeded, and took units.
using DrawnProbsFunction = std::vector<double>(const SVSStratumView& stratum);

// Each draw in the file of its name, with what it would do; DrawSequential serves both Chromy methods, DrawSampford Brewer's as well.
DrawFunction DrawSimpleWor, DrawSimpleWr, DrawSimpleSystematic, DrawSequential, DrawPpsWor, DrawPpsWr,
    DrawPpsSystematic, DrawSampford, DrawMurthy;
ForeseeFunction ForeseeSimpleWor, ForeseeSimpleWr, ForeseeSimpleSystematic, ForeseeSequential, ForeseePpsWor,
    ForeseePpsWr, ForeseePpsSystematic, ForeseeSampford, ForeseeMurthy;
JointFunction PpsWorJointWork, SampfordJointWork, MurthyJointWork;
SharedItemsFunction PpsWorSharedSteps, SampfordSharedRows;
DrawnProbsFunction PpsWorDrawnProbs, SampfordDrawnProbs;

// The lists of sizes that a method reads. A list of a large stratum takes megabytes, so no others are formed.
enum class SizeLists {
  kNone,
  kLine,    // s, p, S: points on a line of length M fall to units
  kShares,  // s, p, c: units are drawn by probabilities
};

struct MethodFunctions {
  MethodType code;
  SizeLists lists;
  DrawFunction* draw;
  ForeseeFunction* foresee;
  JointFunction* joint = nullptr;
  SharedItemsFunction* sharedItems = nullptr;  // null: none
  // Null where the draw has the probabilities that it states.
  DrawnProbsFunction* drawnProbs = nullptr;
};

// Those of one draw in proportion to size: DrawOneBySize takes the unit in whose part of [0, 1) a random number
// lies.
// Random numbers: one GetRealClosedOpen.
extern const MethodFunctions kOneBySize;

// The functions of a code. A code that no method has draws nothing.
const MethodFunctions& FunctionsOf(std::int32_t code);
