#include "backend/svselect/results/SVSStrataTable.h"

#include <algorithm>
#include <cassert>

#include "backend/svcommon/design/DesignStage.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "backend/svselect/results/OutputVariables.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/environment/HostErrors.h"
#include "host/files/SessionFiles.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"
#include "host/write/IndependentDataStore.h"

namespace {

constexpr std::size_t kValues = 4;  // of a row, behind its key

}  // namespace

SVSStrataTable::SVSStrataTable(const SVSValidSpecs* validSpecs, const SVSInputAdapter* inputAdapter,
                               const ProcedureDataSource* dataSource, MCSV::SVSOutputSummary* next)
    : fpValidSpecs(validSpecs), fpInputAdapter(inputAdapter), fpDataSource(dataSource), fpNext(next) {
  if (!SessionFiles::Current().Claims().IsInMemory(kStrataTable)) return;
  fSpec.Init(kStrataTable, true, true);
  fpFile = std::make_unique<UserOutputCaseFile>(fSpec);
  fpStore = fpFile->DataSource();
}

SVSStrataTable::~SVSStrataTable() = default;

int SVSStrataTable::StartStage(int stage) {
  const int next = fpNext->StartStage(stage);
  fbNextGoesOn = next == MCSV::kSummaryGoOn;
  if (fpStore == nullptr) return fStatus = next;
  if (fpCase == nullptr) DefineVariables();
  fStage = stage;
  fvVariables = VariablesOf(stage);
  if (!fvVariables.empty()) {
    fpRows = std::make_unique<ObsVecMap>(ObsVecMap::MakeKeySpec(*fpDataSource, fvVariables), kValues);
    fKey.resize(fpRows->CellSize() - kValues);
  }
  return fStatus = MCSV::kSummaryGoOn;
}

// As in SVSSummaryTable::FindStrataVariables(): strata lie within the units of earlier stages.
std::vector<std::int32_t> SVSStrataTable::VariablesOf(int stage) const {
  std::vector<std::int32_t> variables;
  for (const DesignStage* design : fpValidSpecs->DesignStages()) {
    if (design->stageNumber() > stage) break;
    const std::vector<std::int32_t>& strata = design->strataVariables();
    variables.insert(variables.end(), strata.begin(), strata.end());
    if (design->stageNumber() == stage) continue;
    const std::vector<std::int32_t>& clusters = design->clusterVariables();
    variables.insert(variables.end(), clusters.begin(), clusters.end());
  }
  return variables;
}

// Those of the last drawn stage begin with those of every earlier one.
void SVSStrataTable::DefineVariables() {
  const std::vector<std::int32_t>* const drawn = fpValidSpecs->SelectStages();
  const int last = fpValidSpecs->SelectStageCount() > 0
                       ? drawn->back()
                       : static_cast<int>(fpValidSpecs->DesignStages().size());
  AddNumber("stage", "INTEGER");
  int index = 0;
  for (const std::int32_t variable : VariablesOf(last)) {
    const KORV_Variable copy = fpDataSource->GetVariable(variable);
    FreeVariableName(*fpStore, copy.GetName());
    fpStore->MakeVariable(copy, index);
    ++fKeyColumns;
  }
  AddNumber("requested", "INTEGER");
  AddNumber("drawn", "INTEGER");
  AddNumber("requested_rate", "DOUBLE");
  AddNumber("drawn_rate", "DOUBLE");
  fpStore->FinishDictionary();
  fCells.resize(fpStore->CaseCellCount());
  fpCase = std::make_unique<KORV_Case>(*fpStore, fCells.data());
}

// A variable of the frame keeps its name where it can; ours gives way.
void SVSStrataTable::AddNumber(const char* name, const char* type) {
  constexpr std::size_t kLongestName = 64;
  int index = 0;
  KORV_Variable variable(UniqueVariableName(*fpStore, name, kLongestName), 0);
  variable.SetColumnType(type);
  fpStore->MakeVariable(variable, index);
}

int SVSStrataTable::AddStratum(const std::vector<std::int32_t>& designValues,
                               const MCSV::SVSDrawnStratum& drawn) {
  if (fbNextGoesOn) {
    fStatus = fpNext->AddStratum(designValues, drawn);
    if (fStatus == MCSV::kSummaryFailed || fpStore == nullptr) return fStatus;
    fbNextGoesOn = fStatus == MCSV::kSummaryGoOn;
  }
  OBS values[kValues];
  values[0].number = drawn.requestedSize;
  values[1].number = drawn.actualSize;
  values[2].number = drawn.requestedRate;
  values[3].number = drawn.actualRate;
  if (fpRows == nullptr)
    return fStatus = WriteRow(nullptr, values) ? MCSV::kSummaryGoOn : MCSV::kSummaryFailed;
  auto at = fKey.begin();
  const ObsVecMap::KeySpec& widths = fpRows->GetKeySpec();
  for (std::size_t i = 0; i < fvVariables.size(); ++i) {
    const OBS* const value = fpInputAdapter->ObsOfCode(fvVariables[i], designValues[i]);
    assert(value != nullptr);
    at = std::copy_n(value, ObsCells(widths[i]), at);
  }
  OBS* cells = fpRows->Contains(fKey.data());
  if (cells == nullptr) cells = fpRows->Insert(fKey.data());
  std::copy_n(values, kValues, cells);
  return fStatus = MCSV::kSummaryGoOn;
}

int SVSStrataTable::EndStage() {
  fStatus = fpNext->EndStage();
  if (fStatus == MCSV::kSummaryFailed || fpRows == nullptr) return fStatus;
  bool isGood = true;
  for (const OBS* key : fpRows->Sort()) isGood = isGood && WriteRow(key, key + fKey.size());
  fpRows.reset();
  return fStatus = isGood ? MCSV::kSummaryGoOn : MCSV::kSummaryFailed;
}

// False after an error of the run.
bool SVSStrataTable::WriteRow(const OBS* keyCells, const OBS* values) {
  int column = 0;
  fpCase->SetColumnValue(column++, fStage);
  for (const std::int32_t variable : fvVariables) {
    const std::size_t cells = ObsCells(fpDataSource->GetVariable(variable).GetType());
    std::copy_n(keyCells, cells, fpCase->GetObsPointer(column++));
    keyCells += cells;
  }
  for (; column <= fKeyColumns; ++column) fpCase->SetColumnValue(column, MCMV::gMissingValue);
  for (std::size_t i = 0; i < kValues; ++i) fpCase->SetColumnValue(column++, values[i].number);
  try {
    fpStore->AddCase(*fpCase);
    return true;
  } catch (const ErrorText& error) {
    BpError(BpString(error.message, false), kShowInMessage, kErrorLevel);
    return false;
  }
}

void SVSStrataTable::Close() {
  if (fpStore != nullptr && fpCase != nullptr) fpStore->CloseStore();
}
