#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "backend/svselect/component/SVSAlgorithm.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutputStats.h"
#include "model_components/surveyplans/common/SVStatus.h"

// SVSComponent is the computation of one draw as the procedure sees it. Settings, a stream of records and two
// outputs go in; statuses and the results of each case come out. It knows no files, no variables and no host:
// records hold numbers, categories are codes, and results go to the interfaces of AbstractOutputs.h.
//
// Use:        construct, Run() once, then GetOutputStats() and the other reads; and one more pass over the same
//             records: StartWalk(), then KeepSelected() with each of its blocks and RowStats() for what it
//             kept; or, where the records come one by one, CaseStats() for each.
// Ownership:  copies the settings and owns the algorithm; borrows the joint output for its own life, the
//             iterator and the summary for the call of Run(). What GetOutputStats() returns lives as long as
//             the component.
// Threads:    one thread; Run() starts threads of its own for the joint probabilities and joins them.
// Failures:   throws nothing of its own. An error is kept: GetStatus() returns it, and every later call does
//             nothing. Warnings don't stop a run; they are in Statuses().
// Cost:       a run reads the records once for each selected stage. Memory is that of the strata and units of
//             all stages (see SVSStratumData.h); it doesn't depend on the number of records.
//
// Invariants: (1) fpAlgorithm is null exactly if the settings or the outputs were refused at construction.
//             (2) a record gets the same codes in the pass for CaseStats() as in those of Run().
class SVSComponent : public SVSCompSettings {
public:
  // The status is an error from here on if the settings don't pass Validate(), or if their method writes
  // joint probabilities unasked, `jointProbs` is null and more than a check is asked for (92012).
  // `jointProbs` may be given without being needed.
  SVSComponent(const SVSCompSettings& settings, MCSV::SVSOutJointProbs* jointProbs);
  ~SVSComponent();
  SVSComponent(const SVSComponent&) = delete;
  SVSComponent& operator=(const SVSComponent&) = delete;

  // Draws the stages; if the settings ask for a check only, tabulates and reviews the first of them, and sets
  // the status to the error that a draw would end with for certain. False if the status is an error, before
  // or afterwards. A second call does nothing and returns false. `summary` may be null.
  bool Run(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutputSummary* summary);

  // In place of Run(): what a draw would do. False if the status is an error, before or afterwards: one that a
  // draw ends with for certain.
  bool Preview(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutPreview* output);

  SVStatus GetStatus() const { return fStatus; }

  // After a run without error: true, and `*out` is set. Otherwise false.
  bool GetOutputStats(const SVSOutputStats** out);
  // The collected statuses. Odd, but relied on: the list is empty until GetOutputStats() was called, so a run
  // whose sample isn't written shows no warnings.
  const std::vector<SVStatus>& Statuses() const;
  // What was found so far, whether the run failed or not. In the order of the run.
  const SVSFindings& Findings() const;
  // The stage that a status is about; 0 if none is known.
  std::int32_t StageOf(const SVStatus& status) const;

  // A quick test before CaseStats(): false means that the record surely has no final weight. Most records
  // aren't in a sample, and for those this is far cheaper. False without a finished run.
  bool MaySelect(const MCCommon::Record& record);

  // What the run decided about a record: for each stage of the design the seven results by OutputKind, an
  // empty list for a stage that wasn't drawn; and the final weight, missing for a case that isn't in the
  // sample. The first error is returned; the final weight is then missing. Nothing is done before a finished
  // run.
  SVStatus CaseStats(const MCCommon::Record& record, std::vector<std::vector<double>>* stageValues,
                     double* finalWeight);

  // Starts a walk over the blocks of a further pass. False without a finished run.
  bool StartWalk();
  // The rows of the next block that may have a final weight, in their order.
  // REQUIRES, here and below: StartWalk() has returned true.
  void KeepSelected(const MCCommon::RecordBlock& block, SVSRows* rows) {
    fpAlgorithm->KeepSelected(block, rows);
  }
  // As CaseStats(), for the row at a place in what was kept.
  SVStatus RowStats(const MCCommon::RecordBlock& block, const SVSRows& rows, std::size_t place,
                    std::vector<std::vector<double>>* stageValues, double* finalWeight) {
    return fpAlgorithm->RowStats(block, rows, place, stageValues, finalWeight);
  }

private:
  std::unique_ptr<SVSAlgorithm> fpAlgorithm;      // null when the settings failed their check
  const SVSOutputStats* fpOutputStats = nullptr;  // into the algorithm
  MCSV::SVSOutJointProbs* fpJointProbs;           // borrowed, may be null
  SVStatus fStatus;
};
