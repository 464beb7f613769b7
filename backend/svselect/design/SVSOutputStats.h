#pragma once

#include <vector>

#include "model_components/surveyplans/common/SVStatus.h"

// What the procedure can read of a run when it reports: the statuses. An interface, so that the procedure
// sees neither the collector nor its AddStatus().
//
// Ownership:  owned by the computation; valid as long as the component that handed it out.
class SVSOutputStats {
public:
  virtual ~SVSOutputStats();

  // Warnings and errors in the order in which they first occurred.
  virtual const std::vector<SVStatus>& Statuses() const = 0;
};
