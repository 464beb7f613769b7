#include "backend/svselect/design/SVSOutSamples.h"

#include <algorithm>

SVSOutputStats::~SVSOutputStats() = default;
SVSOutSamples::~SVSOutSamples() = default;

bool SVSOutSamples::KeepStatus(SVStatus& status) {
  status.StageSlot() = fStage;
  if (std::find(fStatuses.begin(), fStatuses.end(), status) != fStatuses.end()) return false;
  fStatuses.push_back(status);
  return true;
}
