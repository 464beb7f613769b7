#pragma once

#include <string>
#include <vector>

#include "backend/svcommon/SVPlanSpecs.h"

// A sample plan in lines of plain English, for someone who wants to know what a plan does before drawing with
// it: the design, then for each stage its strata and clusters, the method, the number of units, and the
// output variables. The plan need not be complete or correct.
//
// Texts from the plan (names, labels, categories) are made printable, since a plan may hold any characters. A
// long table is cut short; its last line says how many rows were left out.
std::vector<std::string> PlanInWords(const SVPlanSpecs& plan);
