#include "backend/svselect/results/SVSSummaryTable.h"

#include <algorithm>
#include <cassert>
#include <string>

#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "backend/svselect/results/SummaryTableKind.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/numeric/Fuzzy.h"
#include "host/output/BpComposite.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpTable.h"
#include "host/output/BpText.h"

namespace {

constexpr std::size_t kMaxStrataVariables = 18;  // the deepest nesting that a table can have
constexpr std::size_t kValueCells = 5;           // of a collected row: sizes, rates, certain units
constexpr int kAsMade = 2;                       // categories stay in the order in which they were added
constexpr double kPercent = 100.0;

BpString Fixed(const char* text) {
  return {text, true};
}

}  // namespace

SVSSummaryTable::SVSSummaryTable(const SVSValidSpecs* validSpecs, const SVSInputAdapter* inputAdapter,
                                 BpHeading* heading, const ProcedureDataSource* dataSource)
    : fpValidSpecs(validSpecs), fpInputAdapter(inputAdapter), fpHeading(heading), fpDataSource(dataSource) {}

// A run that ends within a stage still shows what its table has so far.
SVSSummaryTable::~SVSSummaryTable() {
  CloseTable();
}

// The status is kSummaryStop until everything for rows is ready. The table is opened before the number of
// variables is known to be too large: it carries the note.
int SVSSummaryTable::StartStage(int stage) {
  fStatus = MCSV::kSummaryStop;
  if (!fpValidSpecs->PrintSelection()) return fStatus;
  fbTakesCertain = fpValidSpecs->CompSettings()->GetStage(stage)->certaintyShare() > 0.0;
  OpenTable(stage);
  FindStrataVariables(stage);
  if (fvCumStrataXW.size() > kMaxStrataVariables) {
    const BpString note("Too many strata clusters in summary table ...", true);
    fTable->Note(BpAnnotation(note.Replicate(), -1));
    return fStatus;
  }
  if (!fvCumStrataXW.empty()) {
    fVarsDim.emplace(fTable->Dimension(Fixed("Variables"), kAsMade));
    fVarsDim->Position(kPlaceRow, 1, true, false);
    fpStrataObsVecMap =
        std::make_unique<ObsVecMap>(ObsVecMap::MakeKeySpec(*fpDataSource, fvCumStrataXW), kValueCells);
    fKeyBuffer.resize(fpStrataObsVecMap->CellSize() - kValueCells);
  }
  return fStatus = MCSV::kSummaryGoOn;
}

// Two dimensions make the columns: requested and actual, within each statistic. The rows come later, if at
// all.
void SVSSummaryTable::OpenTable(int stage) {
  const std::string& label = fpValidSpecs->StageLabels()[static_cast<std::size_t>(stage - 1)];
  BpComposite title(label.empty() ? "Summary stage ^1" : "Summary stage ^1 label ^2", true);
  title.Add(BpNumber(stage, BpProcedure::Count()));
  if (!label.empty()) title.Add(BpString(label, false));
  title.Finish();
  fTable.emplace(fpHeading->PivotTable(title, BpString(SummaryTableKind::kKind, false), true));

  BpComposite caption("Plan File ^1", true);
  caption.Add(BpString(fpValidSpecs->PlanFile(), false));
  caption.Finish();
  fTable->Caption(caption);

  fValueDim.emplace(fTable->Dimension(Fixed("Value"), kAsMade));
  fValueDim->Position(kPlaceColumn, 1, true, false);
  fStatsDim.emplace(fTable->Dimension(Fixed("Statistics"), kAsMade));
  fStatsDim->Position(kPlaceColumn, 2, true, false);
}

// The strata of a stage lie within the units of earlier stages, so the clusters of those identify them too.
// The same rule makes the keys of the computation (SVSCompSettings::KeyVars), and the codes come in its
// order.
void SVSSummaryTable::FindStrataVariables(int stage) {
  fvCumStrataXW.clear();
  for (const DesignStage* design : fpValidSpecs->DesignStages()) {
    if (design->stageNumber() > stage) break;
    const std::vector<std::int32_t>& strata = design->strataVariables();
    fvCumStrataXW.insert(fvCumStrataXW.end(), strata.begin(), strata.end());
    if (design->stageNumber() == stage) continue;
    const std::vector<std::int32_t>& clusters = design->clusterVariables();
    fvCumStrataXW.insert(fvCumStrataXW.end(), clusters.begin(), clusters.end());
  }
}

// Without a table, because the user asked for none, there is nothing to do.
int SVSSummaryTable::AddStratum(const std::vector<std::int32_t>& designValues, const Row& row) {
  if (!fTable) return fStatus;
  assert(designValues.size() == fvCumStrataXW.size());
  if (fvCumStrataXW.empty()) {
    WriteRow(nullptr, row);
  } else {
    CollectRow(designValues, row);
  }
  return fStatus = MCSV::kSummaryGoOn;
}

// A row is stored behind its key in the map, as numbers. Sizes survive that exactly, being whole. Two
// codes with equal values can't occur, so the search before Insert() only guards its precondition.
void SVSSummaryTable::CollectRow(const std::vector<std::int32_t>& designValues, const Row& row) {
  assert(fpStrataObsVecMap != nullptr);
  const ObsVecMap::KeySpec& widths = fpStrataObsVecMap->GetKeySpec();
  auto shift = fKeyBuffer.begin();
  for (std::size_t i = 0; i < fvCumStrataXW.size(); ++i) {
    const OBS* value = fpInputAdapter->ObsOfCode(fvCumStrataXW[i], designValues[i]);
    assert(value != nullptr);
    shift = std::copy_n(value, ObsCells(widths[i]), shift);
  }
  assert(shift == fKeyBuffer.end());
  OBS* cells = fpStrataObsVecMap->Contains(fKeyBuffer.data());
  if (cells == nullptr) cells = fpStrataObsVecMap->Insert(fKeyBuffer.data());
  cells[0].number = row.requestedSize;
  cells[1].number = row.actualSize;
  cells[2].number = row.requestedRate;
  cells[3].number = row.actualRate;
  cells[4].number = row.certain;
}

// Also called for a stage without rows: the table with the note is shown, and one that was never opened
// isn't.
int SVSSummaryTable::EndStage() {
  WriteCollectedRows();
  CloseTable();
  fvCumStrataXW.clear();
  return fStatus = MCSV::kSummaryGoOn;
}

// The value cells follow the key cells in an entry of the map.
void SVSSummaryTable::WriteCollectedRows() {
  if (fpStrataObsVecMap == nullptr) return;
  for (const OBS* key : fpStrataObsVecMap->Sort()) {
    const OBS* cells = key + fKeyBuffer.size();
    WriteRow(key, {TruncateToInt32(cells[0].number), TruncateToInt32(cells[1].number), cells[2].number,
                   cells[3].number, TruncateToInt32(cells[4].number)});
  }
  fpStrataObsVecMap.reset();
}

// A cell belongs to the categories that were asked for last in each dimension, so the stub comes first, then
// the statistic, then the two values.
void SVSSummaryTable::WriteRow(const OBS* keyCells, const Row& row) const {
  if (keyCells != nullptr) WriteKey(keyCells);
  const auto write = [this](const char* statistic, const BpNumber& requested, const BpNumber& actual) {
    fStatsDim->Category(Fixed(statistic));
    fValueDim->Category(Fixed(SummaryTableKind::kRequested)).Cell(requested);
    fValueDim->Category(Fixed(SummaryTableKind::kActual)).Cell(actual);
  };
  const BpFormatSpec count = BpProcedure::Count();
  const BpFormatSpec percent = BpProcedure::Percent();
  write(SummaryTableKind::kUnitsSampled, BpNumber(row.requestedSize, count), BpNumber(row.actualSize, count));
  write(SummaryTableKind::kProportionSampled, BpNumber(row.requestedRate * kPercent, percent),
        BpNumber(row.actualRate * kPercent, percent));
  if (!fbTakesCertain) return;
  fStatsDim->Category(Fixed(SummaryTableKind::kCertainUnits));
  fValueDim->Category(Fixed(SummaryTableKind::kActual)).Cell(BpNumber(row.certain, count));
}

// The stub of a row: nested groups, one for each variable and labelled with its value, "region = North". The
// group of the last variable has only the name, and the value is a category in it, so that the values of one
// variable are listed under one label.
void SVSSummaryTable::WriteKey(const OBS* keyCells) const {
  const ObsVecMap::KeySpec& widths = fpStrataObsVecMap->GetKeySpec();
  BpGroup parent = *fVarsDim;
  for (std::size_t i = 0; i < fvCumStrataXW.size(); ++i) {
    const KORV_Variable& variable = fpDataSource->GetVariable(fvCumStrataXW[i]);
    const bool isLast = i + 1 == fvCumStrataXW.size();
    const BpDataValue value(variable, keyCells, kShowInTable);
    BpComposite label(isLast ? "^1 =" : "^1 = ^2", false);
    label.Add(BpVariable(variable, kShowInTable));
    if (!isLast) label.Add(value);
    label.Finish();
    parent = parent.Group(label, true, kAsMade);
    if (isLast) parent.Category(value);
    keyCells += ObsCells(widths[i]);
  }
}

// Destroying the table hands it to the output, so the dimensions, which are parts of it, go first.
void SVSSummaryTable::CloseTable() {
  fVarsDim.reset();
  fStatsDim.reset();
  fValueDim.reset();
  fTable.reset();
}
