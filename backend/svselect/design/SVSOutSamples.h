#pragma once

#include <cstdint>
#include <vector>

#include "backend/svselect/design/SVSOutputStats.h"

// SVSOutSamples collects the statuses of a run: stages, tabulators, strata and engines add what they have as
// soon as they have it. Repeats are dropped, so a status may arrive again on its way up, or from each
// stratum.
//
// Threads: the thread of the run only.
// Cost:    an OK status costs one comparison; any other a search of the list, which the stages and the kinds
//          of status bound.
class SVSOutSamples : public SVSOutputStats {
public:
  ~SVSOutSamples() override;

  // The stage that the statuses to come speak of. 0, the initial one, means none.
  void SetStage(std::int32_t stage) { fStage = stage; }

  // Stamps the status with the stage and keeps it, unless it is OK or already kept. True when it was kept.
  bool AddStatus(SVStatus& status) { return !status.IsOK() && KeepStatus(status); }

  const std::vector<SVStatus>& Statuses() const override { return fStatuses; }

private:
  bool KeepStatus(SVStatus& status);

  std::int32_t fStage = 0;
  std::vector<SVStatus> fStatuses;
};
