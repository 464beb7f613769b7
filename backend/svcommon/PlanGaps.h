#pragma once

#include <string>
#include <vector>

class SVPlanSpecs;

// Why a draw that has read cases ends without a message.
inline constexpr const char* kUnusableRequest =
    "a case has a size that isn't a whole number up to 2147483647, or a rate that isn't above 0";

// What a plan lacks without which nothing can be drawn, though its reader accepts it, one sentence for each.
// A draw ends there without a message, or with one about the frame. REQUIRES: the plan was read with code 0.
std::vector<std::string> PlanGaps(const SVPlanSpecs& plan);
