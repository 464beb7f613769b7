#include "backend/svselect/results/SVSJointProbOutFile.h"

#include <algorithm>
#include <cassert>
#include <string>

#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "backend/svselect/results/OutputVariables.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostErrors.h"
#include "host/numeric/Obs.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"
#include "host/write/IndependentDataStore.h"

using namespace MCSV;

SVSJointProbOutFile::SVSJointProbOutFile(const SVSValidSpecs* validSpecs, const SVSInputAdapter* inputAdapter,
                                         const KORV_DataSource* dataSource)
    : fpValidSpecs(validSpecs),
      fpInputAdapter(inputAdapter),
      fpDataSource(dataSource),
      fOutFile(validSpecs->JointProbFile()) {}

SVSJointProbOutFile::~SVSJointProbOutFile() {
  if (fState == kJointOpened || fState == kJointRowWritten) fpOutStore->CloseStore();
}

// The file itself was opened by the constructor; what is opened here is the sequence of calls. A second
// Open() fails.
int SVSJointProbOutFile::Open(int maxJointVars) {
  fpOutStore = fOutFile.DataSource();
  if (fState != kJointCreated || !fpValidSpecs->JointProbFile().IsInit() || fpOutStore == nullptr) {
    return fState = kJointFailed;
  }
  fMaxNJPVars = maxJointVars;
  fStrataVars = fpInputAdapter->FirstStageStrata();
  fClusterVars = fpInputAdapter->FirstStageClusters();
  fNKeyVars = static_cast<int>(fStrataVars.size() + fClusterVars.size());
  DefineVariables();
  return fState = kJointOpened;
}

void SVSJointProbOutFile::DefineVariables() {
  CopyVariables(fStrataVars);
  CopyVariables(fClusterVars);
  AddNewVariable("Unit_No_", 0, kLevelNominal);
  for (int k = 1; k <= fMaxNJPVars; ++k) {
    AddNewVariable("Joint_Prob_" + std::to_string(k) + "_", pvGetCmnSys()->defaultFormatDecimals,
                   kLevelScale);
  }
  fpOutStore->FinishDictionary();
  fCaseCells.resize(fpOutStore->CaseCellCount());
  fpCase = std::make_unique<KORV_Case>(*fpOutStore, fCaseCells.data());
}

void SVSJointProbOutFile::CopyVariables(const std::vector<std::int32_t>& variables) {
  int index = 0;
  for (const std::int32_t variable : variables) {
    fpOutStore->MakeVariable(fpDataSource->GetVariable(variable), index);
  }
}

// New variables have the session's default format, except for the decimals and the measurement level.
void SVSJointProbOutFile::AddNewVariable(const std::string& name, int decimals, int level) {
  const CommonSystemBlock& defaults = *pvGetCmnSys();
  FreeVariableName(*fpOutStore, name);
  int index = 0;
  KORV_Variable& variable = fpOutStore->MakeVariable(0, index);
  variable.SetName(name);
  variable.SetFormat(defaults.defaultFormatType, defaults.defaultFormatWidth, decimals);
  variable.SetWriteFormat(defaults.defaultFormatType, defaults.defaultFormatWidth, decimals);
  variable.SetMeasurementLevel(level);
}

// All columns are set to missing first, string columns too: each key column is overwritten by StartStratum()
// or WriteRow(), and each probability beyond the stratum's own stays missing in all its rows.
int SVSJointProbOutFile::StartStratum(int nJProbVars, const std::vector<std::int32_t>& vStrataVals) {
  if (fState != kJointOpened && fState != kJointRowWritten) return fState = kJointFailed;
  assert(1 <= nJProbVars && nJProbVars <= fMaxNJPVars);
  assert(vStrataVals.size() == fStrataVars.size());
  assert(fRecordCount == fNJProbVars);
  fRecordCount = 0;
  fNJProbVars = nJProbVars;
  const int columns = fNKeyVars + 1 + fMaxNJPVars;
  for (int column = 0; column < columns; ++column) fpCase->SetColumnValue(column, MCMV::gMissingValue);
  int column = 0;
  for (const std::int32_t code : vStrataVals) {
    SetKey(column, fStrataVars[static_cast<std::size_t>(column)], code);
    ++column;
  }
  return fState = kJointStratumStarted;
}

// The value that a category code represents, as many cells as its variable has.
void SVSJointProbOutFile::SetKey(int column, std::int32_t variable, std::int32_t code) {
  const OBS* value = fpInputAdapter->ObsOfCode(variable, code);
  assert(value != nullptr);
  std::copy_n(value, ObsCells(fpDataSource->GetVariable(variable).GetType()), fpCase->GetObsPointer(column));
}

// A store reports a full disk and the like by throwing ErrorText, which is shown as an error of the run.
int SVSJointProbOutFile::WriteRow(const std::vector<std::int32_t>& clusterValues,
                                  const std::vector<double>& jointProbs) {
  if (fState != kJointStratumStarted && fState != kJointRowWritten) return fState = kJointFailed;
  int column = static_cast<int>(fStrataVars.size());
  for (std::size_t i = 0; i < fClusterVars.size(); ++i) SetKey(column++, fClusterVars[i], clusterValues[i]);
  fpCase->SetColumnValue(column++, fRecordCount + 1);
  for (int k = 0; k < fNJProbVars; ++k) {
    fpCase->SetColumnValue(column++, jointProbs[static_cast<std::size_t>(k)]);
  }
  try {
    fpOutStore->AddCase(*fpCase);
  } catch (const ErrorText& error) {
    BpError(BpString(error.message, false), kShowInMessage, kErrorLevel);
    return fState = kJointFailed;
  }
  ++fRecordCount;
  ++fTotalRows;
  return fState = kJointRowWritten;
}

// Closing between StartStratum() and its rows is a call out of order, as is a second Close().
int SVSJointProbOutFile::Close() {
  if (fState == kJointOpened || fState == kJointRowWritten) {
    assert(fRecordCount == fNJProbVars);
    fpOutStore->CloseStore();
    fState = kJointClosed;
  } else if (fState == kJointStratumStarted || fState == kJointClosed) {
    fState = kJointFailed;
  }
  return fState;
}
