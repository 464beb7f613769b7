#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "host/model/ObsVecMap.h"
#include "host/numeric/Obs.h"
#include "host/output/BpTable.h"
#include "model_components/surveyplans/common/SVSOutputSummary.h"

class BpHeading;
class ProcedureDataSource;
class SVSInputAdapter;
class SVSValidSpecs;

// SVSSummaryTable shows for each stratum of a stage how many units were asked for and how many were drawn,
// and the same as proportions: one pivot table for each stage. The strata arrive in an order of their own, so
// the rows are collected and stand in the order of the strata's values. A stage whose strata are told by too
// many variables gets a table with a note and no rows.
//
// Use:        for each stage StartStage(), AddStratum() for each stratum as long as the results are 0, then
//             EndStage(), which puts the table in the output.
// Ownership:  borrows everything that it is given.
class SVSSummaryTable : public MCSV::SVSOutputSummary {
public:
  SVSSummaryTable(const SVSValidSpecs* validSpecs, const SVSInputAdapter* inputAdapter, BpHeading* heading,
                  const ProcedureDataSource* dataSource);
  ~SVSSummaryTable() override;

  // 1 when no rows are wanted; AddStratum() is then not to be called.
  int StartStage(int stage) override;
  // REQUIRES: a code for each variable that tells the strata of the stage.
  int AddStratum(const std::vector<std::int32_t>& designValues, int requestedSize, int actualSize,
                 double requestedRate, double actualRate) override;
  int EndStage() override;
  int Status() override { return fStatus; }

private:
  // What is shown of a stratum.
  struct Row {
    int requestedSize;
    int actualSize;
    double requestedRate;
    double actualRate;
  };

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
  std::optional<BpPivotTable> fTable;  // of the present stage, as all up to the rows
  std::optional<BpDimension> fValueDim;
  std::optional<BpDimension> fStatsDim;
  std::optional<BpDimension> fVarsDim;           // none without strata variables
  std::unique_ptr<ObsVecMap> fpStrataObsVecMap;  // the rows by their keys; null without or with too many
  std::vector<OBS> fKeyBuffer;                   // room for one key
  int fStatus = MCSV::kSummaryGoOn;
  std::vector<std::int32_t> fvCumStrataXW;  // dictionary indices of the variables that tell a stratum
};
