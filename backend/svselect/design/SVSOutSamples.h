#pragma once

#include <cstdint>
#include <vector>

#include "backend/svselect/design/SVSOutputStats.h"

// SVSOutSamples collects the statuses and the findings of a run. Stages, tabulators, strata and engines each
// add a status as soon as they have one. Repeats are dropped, so the same status may be added again on its
// way up the call chain, or once for each stratum.
//
// Use:        SetStage() at the start of a stage; AddStatus() from then on.
// Threads:    the thread of the run only.
// Cost:       one comparison for an OK status. Any other searches the list, whose length is at most the
//             number of stages times the number of codes.
//
// Invariant:  no two kept statuses are equal, and none is OK.
class SVSOutSamples : public SVSOutputStats {
public:
  ~SVSOutSamples() override;

  // Stage stamped on statuses added from now on; 0, the initial value, means none.
  void SetStage(std::int32_t stage) { fStage = stage; }

  // Stamps the status with the stage and keeps it, unless it is OK or a repeat. Returns whether it was kept.
  // The caller's own copy is stamped too.
  bool AddStatus(SVStatus& status) { return !status.IsOK() && KeepStatus(status); }

  const std::vector<SVStatus>& Statuses() const override { return fStatuses; }

  SVSFindings& Findings() { return fFindings; }
  const SVSFindings& Findings() const override { return fFindings; }

private:
  bool KeepStatus(SVStatus& status);

  std::int32_t fStage = 0;
  std::vector<SVStatus> fStatuses;
  SVSFindings fFindings;
};
