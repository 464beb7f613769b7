#pragma once

#include <string>
#include <vector>

#include "planning/PlannedAllocation.h"
#include "session/Inspect.h"

class HostSession;

// What a plan is to be made of; see planning/StageWords.h and planning/PlannedAllocation.h for the words.
struct DesignRequest {
  std::vector<std::string> stages;  // in words, one for each
  std::string title;
  std::string weight;
  std::string previousWeight;  // empty for none
  std::string allocate;        // in words; empty for no allocation
  FrameOptions frame;          // names are checked against it; without a path or query they aren't
};

struct PlanDesign {
  PlanReading reading;               // as if the plan had been read from a file; but it names none
  std::vector<std::string> remarks;  // on the frame and the allocation
  PlannedAllocation allocation;      // without strata if none was asked for
  std::string variable;              // whose deviations were used; empty for none
};

// Makes a plan from words. With a frame, its names are looked up in the dictionary, and so is whether the
// categories of its tables can be values of their variables; an allocation counts the units of its strata.
//
// Errors:  in reading.problems, and in messages of the document if the frame can't be used.
// Cancel:  as in Inspect.h.
PlanDesign DesignPlan(HostSession& session, const DesignRequest& request);
