#pragma once

#include "host/output/BpCellText.h"
#include "host/output/BpPivotTable.h"

class BpProcedure;

// What tables stand under.
class BpHeading {
public:
  virtual ~BpHeading();

  // Opens a table of that title; the second text names its kind. The flag is always true.
  BpPivotTable PivotTable(const BpCellText& title, const BpCellText& kind, bool);

  virtual BpProcedure& Procedure() = 0;
};
