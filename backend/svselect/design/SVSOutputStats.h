#pragma once

#include <vector>

#include "model_components/surveyplans/common/SVStatus.h"

// What a run leaves to report.
class SVSOutputStats {
public:
  virtual ~SVSOutputStats();

  // The statuses of the run in the order of their first occurrence.
  virtual const std::vector<SVStatus>& Statuses() const = 0;
};
