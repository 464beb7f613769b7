#pragma once

#include <cstdint>
#include <string>

#include "host/environment/HostErrors.h"
#include "host/output/BpTable.h"
#include "host/output/BpText.h"

// Where a procedure's output starts: its heading, its messages and its notes. All of it goes to the output
// document of the current session. The functions and constructors here take no document, because the
// interface between host and procedure has none; they are the only ones in this folder that look for the
// session.

class BpProcedure;

// Something that tables can be put under.
class BpHeading {
public:
  virtual ~BpHeading();

  // Starts a table. `kind` identifies the table for our own report and for readers of the JSON report: unlike
  // the title it doesn't vary with the data, and it is never shown. The flag is always true and unused.
  BpPivotTable PivotTable(const BpCellText& title, const BpCellText& kind, bool);

  // The procedure whose output this is part of.
  virtual BpProcedure& Procedure() = 0;
};

// The output of one procedure, and the heading of all its tables. Constructing it sets the document's title.
class BpProcedure : public BpHeading {
public:
  // The integer is the procedure's number for itself; unused.
  BpProcedure(const std::string& title, int);

  BpProcedure& Procedure() override { return *this; }

  // The formats for counts, and for percentages that are already multiplied by 100.
  static BpFormatSpec Count() { return {.decimals = 0, .isPercent = false}; }
  static BpFormatSpec Percent() { return {.decimals = 1, .isPercent = true}; }
};

// kWarningLevel or kErrorLevel.
using BpErrorLevel = int;

// Issues a message that belongs to no group. An error also sets the host's error flag. `show` is always
// kShowInMessage and unused.
void BpError(const BpCellText& text, int show, BpErrorLevel level);

// Adds a sentence that a user should read beside the messages. It belongs to no group and sets no flag.
void BpRemark(const std::string& text);

// Says how many cases the frame has, and how many of them the procedure left out.
void BpCases(std::int64_t read, std::int64_t leftOut);

// Adds a line to the notes. Lines are printed by ascending group, and within a group in the order of the
// calls.
void AddNotes(int group, const BpCellText& label, const BpCellText& text);
