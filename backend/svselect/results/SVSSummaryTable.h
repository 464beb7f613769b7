#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/model/ObsVecMap.h"
#include "host/numeric/Obs.h"
#include "host/output/BpTable.h"
#include "model_components/surveyplans/common/AbstractOutputs.h"

class BpHeading;
class ProcedureDataSource;
class SVSInputAdapter;
class SVSValidSpecs;

// SVSSummaryTable shows, for each stratum of a stage, how many units were requested and how many were drawn,
// and the same as proportions: one pivot table for each stage.
//
// The strata arrive in the order of the draw, which means nothing to a reader. So the rows are collected and
// written in ascending order of the strata's values. Without strata variables there is a single row, which is
// written at once. A stage whose strata depend on too many variables gets a table with a note and no rows.
//
// Use:        for each stage StartStage(), AddStratum() for each stratum as long as the result is 0, then
//             EndStage(), which hands the table to the output.
// Ownership:  borrows everything that it is given.
// Threads:    the thread of the run only.
// Failures:   none; Status() is never kSummaryFailed. A program that uses it wrongly meets an assertion.
//
// Invariants: (1) outside a stage there is no table and no dimension.
//             (2) the dimensions belong to fTable, and are dropped before it.
class SVSSummaryTable : public MCSV::SVSOutputSummary {
public:
  SVSSummaryTable(const SVSValidSpecs* validSpecs, const SVSInputAdapter* inputAdapter, BpHeading* heading,
                  const ProcedureDataSource* dataSource);
  ~SVSSummaryTable() override;

  // 1 if no rows are wanted; AddStratum() must not be called then.
  int StartStage(int stage) override;
  // REQUIRES: a code for each variable that identifies the strata of the stage.
  int AddStratum(const std::vector<std::int32_t>& designValues, const MCSV::SVSDrawnStratum& drawn) override;
  int EndStage() override;
  int Status() override { return fStatus; }

private:
  using Row = MCSV::SVSDrawnStratum;

  // A stage goes through these in their order; rows without a key skip the two that collect them.
  void OpenTable(int stage);
  void FindStrataVariables(int stage);
  void CollectRow(const std::vector<std::int32_t>& designValues, const Row& row);
  void WriteCollectedRows();
  void WriteRow(const OBS* keyCells, const Row& row) const;
  void WriteKey(const OBS* keyCells) const;
  void CloseTable();

  const SVSValidSpecs* fpValidSpecs;
  const SVSInputAdapter* fpInputAdapter;
  BpHeading* fpHeading;
  const ProcedureDataSource* fpDataSource;
  // Of the current stage.
  bool fbTakesCertain = false;
  std::optional<BpPivotTable> fTable;
  std::optional<BpDimension> fValueDim;
  std::optional<BpDimension> fStatsDim;
  std::optional<BpDimension> fVarsDim;           // none without strata variables
  std::unique_ptr<ObsVecMap> fpStrataObsVecMap;  // the rows by their keys; null without or with too many
  std::vector<OBS> fKeyBuffer;                   // scratch: one key
  int fStatus = MCSV::kSummaryGoOn;
  std::vector<std::int32_t> fvCumStrataXW;  // dictionary indices of the variables that identify a stratum
};
