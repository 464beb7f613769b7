#include "backend/svselect/results/PrintRenamedVariables.h"

#include "backend/svselect/results/SVSSampleFile.h"
#include "host/data/KORV_DataSource.h"
#include "host/output/BpHeading.h"
#include "host/output/BpString.h"

namespace {

constexpr int kUnsorted = 0;
constexpr int kAsMade = 2;

}  // namespace

void PrintRenamedVariables(BpHeading& heading, const SVSSampleFile& sampleFile) {
  const KORV_DataSource* target = nullptr;
  const auto& renamed = sampleFile.RenamedVariables(&target);
  if (renamed.empty()) return;
  BpPivotTable table =
      heading.PivotTable(BpString("Renamed Variables", true), BpString("Renamed Variables", false), true);
  const BpDimension names = table.Dimension(BpString("Original Name", true), kUnsorted);
  names.Position(kPlaceRow, 1, false, false);
  const BpDimension information = table.Dimension(BpString("Information", true), kAsMade);
  information.Position(kPlaceColumn, 1, true, false);
  information.Category(BpString("Current Name", true));
  for (const auto& [taker, older] : renamed) {
    names.Category(BpString(target->GetVariable(taker).GetName(), false))
        .Cell(BpString(target->GetVariable(older).GetName(), false));
  }
}
