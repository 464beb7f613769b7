#pragma once

#include <string>
#include <vector>

#include "backend/svcommon/SVPlanSpecs.h"

// A sample plan as the text of a plan file, in either form. A plan that was read, written and read again is
// the same plan: see SaysTheSame(). Numbers have the shortest text that reads back to the same double.
//
// REQUIRES: the plan is complete, that is, it was read with code 0 and has no gaps (PlanGaps.h).

// The members are in a fixed order. What fits on a line of 100 characters is on one; but each member of the
// plan and of a stage has a line of its own. Tables are written into the plan, also one that was read from a
// file. Categories that are all plain numbers are written as such.
std::string PlanAsJson(const SVPlanSpecs& plan);

// With a reference to the grammar of plans. REQUIRES: XmlLacks() is empty.
std::string PlanAsXml(const SVPlanSpecs& plan);

// What a plan in XML can't hold, each by the name of the JSON plan's member: "stage 1: 'label' has a character
// that XML can't have".
std::vector<std::string> XmlLacks(const SVPlanSpecs& plan);

// Whether two plans draw the same sample and write the same variables, and have the same title and labels. The
// number that an XML plan gives to a stage doesn't count, nor do names of files.
bool SaysTheSame(const SVPlanSpecs& one, const SVPlanSpecs& other);
