#pragma once

#include <string>

#include "host/environment/HostErrors.h"
#include "host/output/BpTable.h"
#include "host/output/BpText.h"

class BpProcedure;

// What tables stand under.
class BpHeading {
public:
  virtual ~BpHeading();

  // Opens a table of that title; the second text names its kind. The flag is always true.
  BpPivotTable PivotTable(const BpCellText& title, const BpCellText& kind, bool);

  virtual BpProcedure& Procedure() = 0;
};

// The output context of one procedure, the heading of all its tables.
class BpProcedure : public BpHeading {
public:
  // The integer is the procedure's own code for itself; this host has no use for it.
  BpProcedure(const std::string& title, int);

  BpProcedure& Procedure() override { return *this; }

  static BpFormatSpec Count() { return {.decimals = 0, .isPercent = false}; }
  static BpFormatSpec Percent() { return {.decimals = 1, .isPercent = true}; }
};

// kWarningLevel or kErrorLevel.
using BpErrorLevel = int;

// Issues a message of the procedure, without a group. An error raises the host's error flag. `show` is always
// kShowInMessage.
void BpError(const BpCellText& text, int show, BpErrorLevel level);

// One line of the procedure's notes; `group` says in which part of the notes it stands.
void AddNotes(int group, const BpCellText& label, const BpCellText& text);
