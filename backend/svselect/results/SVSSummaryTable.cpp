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

constexpr std::size_t kMaxStrataVariables = 18;  // a table can nest no deeper
constexpr std::size_t kValueCells = 4;           // of a collected row: two sizes, two rates
constexpr int kAsMade = 2;
constexpr double kPercent = 100.0;

BpString Fixed(const char* text) {
  return {text, true};
}

}  // namespace

SVSSummaryTable::SVSSummaryTable(const SVSValidSpecs* validSpecs, const SVSInputAdapter* inputAdapter,
                                 BpHeading* heading, const ProcedureDataSource* dataSource)
    : fpValidSpecs(validSpecs), fpInputAdapter(inputAdapter), fpHeading(heading), fpDataSource(dataSource) {}

SVSSummaryTable::~SVSSummaryTable() {
  CloseTable();
}

int SVSSummaryTable::StartStage(int stage) {
  fStatus = MCSV::kSummaryStop;
  if (!fpValidSpecs->PrintSelection()) return fStatus;
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

// The strata of a stage nest in the units of the stages before it.
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

int SVSSummaryTable::AddStratum(const std::vector<std::int32_t>& designValues, int requestedSize,
                                int actualSize, double requestedRate, double actualRate) {
  if (!fTable) return fStatus;
  assert(designValues.size() == fvCumStrataXW.size());
  const Row row = {requestedSize, actualSize, requestedRate, actualRate};
  if (fvCumStrataXW.empty()) {
    WriteRow(nullptr, row);
  } else {
    CollectRow(designValues, row);
  }
  return fStatus = MCSV::kSummaryGoOn;
}

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
}

int SVSSummaryTable::EndStage() {
  WriteCollectedRows();
  CloseTable();
  fvCumStrataXW.clear();
  return fStatus = MCSV::kSummaryGoOn;
}

void SVSSummaryTable::WriteCollectedRows() {
  if (fpStrataObsVecMap == nullptr) return;
  for (const OBS* key : fpStrataObsVecMap->Sort()) {
    const OBS* cells = key + fKeyBuffer.size();
    WriteRow(key, {TruncateToInt32(cells[0].number), TruncateToInt32(cells[1].number), cells[2].number,
                   cells[3].number});
  }
  fpStrataObsVecMap.reset();
}

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
}

// The stub of a row: a group for each variable with its value, one within the other; in the last, which names
// its variable only, the value is the category.
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

// The dimensions first: the table shows itself when it goes.
void SVSSummaryTable::CloseTable() {
  fVarsDim.reset();
  fStatsDim.reset();
  fValueDim.reset();
  fTable.reset();
}
