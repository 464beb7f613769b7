#pragma once

#include <vector>

#include "backend/svselect/design/SVSFindings.h"
#include "model_components/surveyplans/common/SVStatus.h"

// What the procedure can read of a run when it reports: the statuses and the findings. An interface, so that
// the procedure sees neither the collector nor its AddStatus().
//
// Ownership:  owned by the computation; valid as long as the component that handed it out.
class SVSOutputStats {
public:
  virtual ~SVSOutputStats();

  // Warnings and errors in the order in which they first occurred.
  virtual const std::vector<SVStatus>& Statuses() const = 0;
  virtual const SVSFindings& Findings() const = 0;
};
