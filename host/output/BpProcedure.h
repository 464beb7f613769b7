#pragma once

#include <string>

#include "host/output/BpFormatSpec.h"
#include "host/output/BpHeading.h"

// The output context of one procedure, the heading of all its tables.
class BpProcedure : public BpHeading {
public:
  // The integer is the procedure's own code for itself; this host has no use for it.
  BpProcedure(const std::string& title, int);

  BpProcedure& Procedure() override { return *this; }

  static BpFormatSpec Count() { return {.decimals = 0, .isPercent = false}; }
  static BpFormatSpec Percent() { return {.decimals = 1, .isPercent = true}; }
};
