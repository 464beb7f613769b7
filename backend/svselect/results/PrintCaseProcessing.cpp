#include "backend/svselect/results/PrintCaseProcessing.h"

#include "backend/svselect/records/SVSInputAdapter.h"
#include "backend/svselect/run/SVSProcedure.h"
#include "host/output/BpHeading.h"
#include "host/output/BpNumber.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpString.h"

namespace {

constexpr int kAsMade = 2;

void AddRow(const BpDimension& cases, const char* label, std::int64_t count) {
  cases.Category(BpString(label, true)).Cell(BpNumber(static_cast<double>(count), BpProcedure::Count()));
}

}  // namespace

void PrintCaseProcessing(const SVSProcedure& procedure, BpHeading& heading) {
  const SVSInputAdapter& adapter = *procedure.GetInputAdapter();
  BpPivotTable table = heading.PivotTable(BpString("Case Processing Summary", true),
                                          BpString("Case Processing Summary", false), true);
  const BpDimension cases = table.Dimension(BpString("Cases", true), kAsMade);
  cases.Position(kPlaceRow, 1, true, false);
  const BpDimension value = table.Dimension(BpString("Value", true), kAsMade);
  value.Position(kPlaceColumn, 1, true, false);
  value.Category(BpString("Unweighted Cases", true));
  AddRow(cases, "Valid", adapter.ValidCases());
  AddRow(cases, "Invalid", adapter.InvalidCases());
  AddRow(cases, "Total", adapter.ValidCases() + adapter.InvalidCases());
}
