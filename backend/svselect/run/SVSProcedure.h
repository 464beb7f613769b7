#pragma once

#include <cstdint>
#include <memory>

#include "host/numeric/RecordIterator.h"
#include "model_components/surveyplans/common/SVStatus.h"

// What a user is told of a status.
struct StatusText {
  const char* text = nullptr;  // null when nothing is told; ^1 stands for the stage
  bool showsStage = false;
};

// The text for a status code, given how the stage that it speaks of says its rate or size (an InclusionType),
// and whether that stage has strata or clusters.
StatusText TextOfStatus(std::int32_t code, std::int32_t inclusionType, bool isStratified);

class ProcedureDataSource;
class SVProcDSMultiIter;
class SVSComponent;
class SVSInputAdapter;
class SVMessages;
class SVSOutputStats;
class SVSValidSpecs;
namespace MCSV {
class SVSOutputSummary;
}

// SVSProcedure ties the record layer to the computation: the cases of the active file go in as records, and
// what the computation has to say comes out as messages.
//
// Use:        construct, SetSummary(), Run(), GetOutputStats() if the sample is to be written, Report().
// Ownership:  owns the record layer and the component; borrows specifications, data source and summary.
class SVSProcedure {
public:
  // Reads ahead to the first valid record. Without one an error has been issued, and Run() gives false.
  SVSProcedure(SVSValidSpecs* validSpecs, ProcedureDataSource* dataSource);
  ~SVSProcedure();

  // Where the stage summaries go; may be null.
  void SetSummary(MCSV::SVSOutputSummary* summary) { fpSummary = summary; }

  // Draws the selected stages, and writes the joint probabilities if the design needs them. True when all
  // stages were tabulated and selected.
  bool Run();

  // The component's output statistics, null after an error. Report() shows what they hold only after this
  // call.
  const SVSOutputStats* GetOutputStats();

  // Shows the outcome: the error of a run that failed, else each status that the run collected.
  void Report();

  // Turns one status into one message, or into none.
  void ShowStatus(const SVStatus& status);

  // Null when the data source gave no cases.
  SVSInputAdapter* GetInputAdapter() const { return fpInputAdapter.get(); }
  SVProcDSMultiIter* GetMultiPassIter() const { return fpMultiPassIter; }
  SVSComponent* GetComponent() const { return fpComponent.get(); }

private:
  SVSValidSpecs* fpValidSpecs;        // borrowed
  ProcedureDataSource* fpDataSource;  // borrowed
  std::unique_ptr<SVSInputAdapter> fpInputAdapter;
  std::unique_ptr<SVMessages> fpMessages;
  std::unique_ptr<MCCommon::MultiPassRecordIter> fpRecordIter;
  SVProcDSMultiIter* fpMultiPassIter = nullptr;  // *fpRecordIter in its own form
  std::unique_ptr<SVSComponent> fpComponent;     // null until Run()
  SVStatus fStatus;                              // of what the object itself did
  MCSV::SVSOutputSummary* fpSummary = nullptr;   // borrowed
};
