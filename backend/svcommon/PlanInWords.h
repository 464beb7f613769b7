#pragma once

#include <string>
#include <vector>

#include "backend/svcommon/SVPlanSpecs.h"

// What a sample plan says, in lines of plain English: the design, then each stage with what it is drawn by,
// how and how many, and the variables that it leaves. Texts of the plan are made fit for a line; long tables
// are cut short, and the last line of one says how much is left out.
std::vector<std::string> PlanInWords(const SVPlanSpecs& plan);
