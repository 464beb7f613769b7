#pragma once

#include <cstdint>
#include <memory>

#include "host/numeric/RecordIterator.h"
#include "model_components/surveyplans/common/SVStatus.h"

class ProcedureDataSource;
struct DrawEnd;
struct DesignPreview;
class SVProcDSMultiIter;
class SVSComponent;
class SVSInputAdapter;
class SVMessages;
class SVSOutputStats;
class SVSValidSpecs;
namespace MCSV {
class SVSOutputSummary;
}

// The message for a status.
struct StatusText {
  const char* text = nullptr;  // null if the status isn't shown; ^1 is the place of the stage's number
  bool showsStage = false;     // the text has a ^1
};

// The message for a status code. It depends on how the stage of the status states its rate or size (an
// InclusionType), and on whether that stage has strata or clusters: without, "stratum" would mean nothing.
StatusText TextOfStatus(std::int32_t code, std::int32_t inclusionType, bool isStratified);

// SVSProcedure connects the record layer to the computation: the cases of the active file go in as records,
// and the statuses that the computation returns come out as messages.
//
// Use:        once: construct, SetSummary(), Run(), GetOutputStats() if the sample is written, Report().
// Ownership:  owns the record layer and the component; borrows specifications, data source and summary, which
//             must outlive it.
// Threads:    the thread of the run only.
// Failures:   an error is kept in the object: Run() returns false and Report() shows it. A source without
//             cases, or without valid ones, has been reported by a message from the constructor. An exception
//             from the data layer is not caught here.
//
// Invariants: (1) without cases there is no record layer: GetInputAdapter() and GetMultiPassIter() are null.
//             (2) the component exists from the first Run() that got as far as the computation.
//             (3) the adapter outlives the record iterator, which outlives the component: each calls the one
//                 before it. The destructor releases them in that order.
class SVSProcedure {
public:
  // Reads ahead to the first valid record. If there is none, an error is shown and Run() will return false.
  SVSProcedure(SVSValidSpecs* validSpecs, ProcedureDataSource* dataSource);
  ~SVSProcedure();

  // The output for stage summaries; may be null. Call before Run().
  void SetSummary(MCSV::SVSOutputSummary* summary) { fpSummary = summary; }

  // Draws the selected stages, or only checks them if the specifications say so, and writes the joint
  // probabilities if the design needs them. True if all selected stages were tabulated and drawn. Whether
  // they were or not, what was found on the way becomes remarks.
  bool Run();

  // After an error before Run(): makes remarks about the cases that were refused, if that was the reason.
  void RemarkOnRefused();
  // In place of Run(): fills in what a draw would do, and remarks on what was found. True if a draw can't fail.
  bool Preview(DesignPreview* preview);

  // The component's output statistics; null after an error. The call has an effect: Report() shows the
  // collected statuses only after it.
  const SVSOutputStats* GetOutputStats();

  // Shows the outcome: the error of a run that failed, otherwise each status that the run collected.
  void Report();

  // Shows one status as a message. Statuses that are OK, or have no text, aren't shown.
  void ShowStatus(const SVStatus& status);

  // Null if the data source has no cases.
  SVSInputAdapter* GetInputAdapter() const { return fpInputAdapter.get(); }
  SVProcDSMultiIter* GetMultiPassIter() const { return fpMultiPassIter; }
  SVSComponent* GetComponent() const { return fpComponent.get(); }

private:
  bool CanRun() const;
  void Remark(const DrawEnd& end) const;

  SVSValidSpecs* fpValidSpecs;        // borrowed
  ProcedureDataSource* fpDataSource;  // borrowed
  std::unique_ptr<SVSInputAdapter> fpInputAdapter;
  std::unique_ptr<SVMessages> fpMessages;
  std::unique_ptr<MCCommon::MultiPassRecordIter> fpRecordIter;
  SVProcDSMultiIter* fpMultiPassIter = nullptr;  // *fpRecordIter by its own type
  std::unique_ptr<SVSComponent> fpComponent;     // null until Run()
  SVStatus fStatus;                              // the first error, or OK
  MCSV::SVSOutputSummary* fpSummary = nullptr;   // borrowed
};
