#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "backend/svselect/component/SVSAlgorithm.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutputStats.h"
#include "model_components/surveyplans/common/SVStatus.h"

// SVSComponent is the computation of one draw, as the procedure sees it: settings, a record stream and
// abstract outputs go in, statuses and each case's results come out.
//
// Use:        construct, Run() once, then GetOutputStats() and the reads; CaseStats() for each record of a
//             last pass.
// Ownership:  copies the settings and owns the algorithm; borrows the joint output and, for the call, the
//             iterator and the summary. What GetOutputStats() hands out lives as long as the component.
// Threads:    one thread; the joint probabilities use workers of their own within Run().
class SVSComponent : public SVSCompSettings {
public:
  // The status is an error from here on when the settings don't pass Validate(), or when their method
  // writes joint probabilities unasked (92012) and `jointProbs` is null.
  SVSComponent(const SVSCompSettings& settings, MCSV::SVSOutJointProbs* jointProbs);
  ~SVSComponent();
  SVSComponent(const SVSComponent&) = delete;
  SVSComponent& operator=(const SVSComponent&) = delete;

  // Draws the stages. False when the status is an error, before or after, and for a second run, which does
  // nothing. `summary` may be null.
  bool Run(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutputSummary* summary);

  SVStatus GetStatus() const { return fStatus; }

  // After a run without error: true, with the output statistics in `out`. Else false.
  bool GetOutputStats(const SVSOutputStats** out);
  // What GetOutputStats() gave has collected; nothing before that.
  const std::vector<SVStatus>& Statuses() const;
  // The stage that a status speaks of, 0 for none.
  std::int32_t StageOf(const SVStatus& status) const;

  // Whether a record may have a final weight: false only for one that CaseStats() would give none. For the
  // many that aren't in a sample this is far cheaper. False without a finished run.
  bool MaySelect(const MCCommon::Record& record);

  // What the run decided about a record: for each stage of the design the seven results by OutputKind, none
  // for a stage that wasn't selected; and the final weight, missing for a case that isn't in the sample. The
  // first error is returned, and leaves no final weight. Without a finished run nothing is computed.
  SVStatus CaseStats(const MCCommon::Record& record, std::vector<std::vector<double>>* stageValues,
                     double* finalWeight);

private:
  std::unique_ptr<SVSAlgorithm> fpAlgorithm;      // null when the settings failed their check
  const SVSOutputStats* fpOutputStats = nullptr;  // into the algorithm
  MCSV::SVSOutJointProbs* fpJointProbs;           // borrowed, may be null
  SVStatus fStatus;
};
