#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "backend/svselect/results/SummaryTableKind.h"
#include "host/environment/HostSession.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpTable.h"
#include "host/output/BpText.h"

inline BpString Fixed(const std::string& text) {
  return {text, true};
}

// Tests that build tables and look at what is shown of them.
class ShownTable : public testing::Test {
protected:
  HostSession fSession;
  BpProcedure fProcedure{"SVSelect", 4};
};

// A table as the summary of a stage is built: two nested column dimensions, rows nested by variable. It shows
// once this is gone.
struct SummaryTable {
  SummaryTable(BpProcedure* procedure, const std::string& title)
      : table(procedure->PivotTable(Fixed(title), BpString(SummaryTableKind::kKind, false), true)) {
    value.Position(kPlaceColumn, 1, true, false);
    statistics.Position(kPlaceColumn, 2, true, false);
    variables.Position(kPlaceRow, 1, true, false);
    table.Caption(Fixed("Plan File plan.xml"));
  }

  // Numbers and percentages are those requested and those drawn.
  using Pair = std::pair<double, double>;
  void Row(const BpCellText& outer, const BpCellText& inner, const BpCellText& leaf, const Pair& numbers,
           const Pair& percentages) const {
    variables.Group(outer, true, 2).Group(inner, true, 2).Category(leaf);
    Cells(SummaryTableKind::kUnitsSampled, numbers, BpProcedure::Count());
    Cells(SummaryTableKind::kProportionSampled, percentages, BpProcedure::Percent());
  }
  void Cells(const char* statistic, const Pair& cells, BpFormatSpec format) const {
    statistics.Category(Fixed(statistic));
    value.Category(Fixed(SummaryTableKind::kRequested)).Cell(BpNumber(cells.first, format));
    value.Category(Fixed(SummaryTableKind::kActual)).Cell(BpNumber(cells.second, format));
  }

  BpPivotTable table;
  BpDimension value = table.Dimension(Fixed("Value"), 2);
  BpDimension statistics = table.Dimension(Fixed("Statistics"), 2);
  BpDimension variables = table.Dimension(Fixed("Variables"), 2);
};
