#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/files/UserCaseFileSpec.h"
#include "host/model/KORV_Case.h"
#include "host/model/ObsVecMap.h"
#include "host/numeric/Obs.h"
#include "host/write/UserOutputCaseFile.h"
#include "model_components/surveyplans/common/AbstractOutputs.h"

class IndependentDataStore;
class ProcedureDataSource;
class SVSInputAdapter;
class SVSValidSpecs;

// SVSStrataTable keeps in memory what SVSSummaryTable shows, for a session that keeps its outputs as tables:
// one row for each stratum of each drawn stage, in ascending order within a stage.
//
//   stage                           number of the stage
//   the variables that identify a   those of all drawn stages; beyond the stage of the row they are missing
//   stratum
//   requested, drawn                units, or hits
//   requested_rate, drawn_rate      the same as fractions of the stratum's units
//
// It takes the place of another output and passes on what it gets.
//
// Use:        as the output that it stands before. In a session that keeps no tables it only passes on.
// Ownership:  owns its store; borrows everything else.
// Threads:    the thread of the run only.
// Failures:   a row that can't be kept is an error of the run, with kSummaryFailed.
class SVSStrataTable : public MCSV::SVSOutputSummary {
public:
  SVSStrataTable(const SVSValidSpecs* validSpecs, const SVSInputAdapter* inputAdapter,
                 const ProcedureDataSource* dataSource, MCSV::SVSOutputSummary* next);
  ~SVSStrataTable() override;

  int StartStage(int stage) override;
  int AddStratum(const std::vector<std::int32_t>& designValues, const MCSV::SVSDrawnStratum& drawn) override;
  int EndStage() override;
  int Status() override { return fStatus; }

  // After the last stage. The table is there from now on.
  void Close();

private:
  void DefineVariables();
  std::vector<std::int32_t> VariablesOf(int stage) const;
  void AddNumber(const char* name, const char* type);
  bool WriteRow(const OBS* keyCells, const OBS* values);

  const SVSValidSpecs* fpValidSpecs;
  const SVSInputAdapter* fpInputAdapter;
  const ProcedureDataSource* fpDataSource;
  MCSV::SVSOutputSummary* fpNext;
  bool fbNextGoesOn = false;  // the next output wants the rows of the stage
  int fStatus = MCSV::kSummaryGoOn;

  UserCaseFileSpec fSpec{FileRole::kStrata};
  std::unique_ptr<UserOutputCaseFile> fpFile;  // null if the session keeps no tables
  IndependentDataStore* fpStore = nullptr;     // of the file
  std::vector<OBS> fCells;
  std::unique_ptr<KORV_Case> fpCase;  // null before the first stage
  int fKeyColumns = 0;                // of the table

  // Of the current stage.
  int fStage = 0;
  std::vector<std::int32_t> fvVariables;  // dictionary indices of those that identify a stratum
  std::unique_ptr<ObsVecMap> fpRows;      // by their keys; null without a variable
  std::vector<OBS> fKey;                  // scratch
};
