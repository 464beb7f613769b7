#pragma once

#include <cstdint>

// What a user is told of a status.
struct StatusText {
  const char* text = nullptr;  // null when nothing is told; ^1 stands for the stage
  bool showsStage = false;
};

// The text for a status code, given how the stage that it speaks of says its rate or size (an InclusionType),
// and whether that stage has strata or clusters.
StatusText TextOfStatus(std::int32_t code, std::int32_t inclusionType, bool isStratified);
