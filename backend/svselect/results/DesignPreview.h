#pragma once

#include <string>
#include <vector>

#include "host/output/BpText.h"
#include "model_components/surveyplans/common/AbstractPreview.h"

// What a draw by a plan would select from a frame, with variables and values as texts. It is a layer of the
// session, created by the caller that wants a preview and filled in by the procedure.

struct PreviewedStratum {
  std::vector<BpCellText> values;  // in full, of the variables that identify the stage's strata
  MCSV::SVSStratumPreview numbers;
  std::vector<std::string> certain;   // the units in numbers.certain.first
  std::vector<std::string> tooLarge;  // and in numbers.tooLarge.first
};

struct PreviewedStage {
  // Strata beyond these only count in the sums: a later stage has some in every cluster of the frame.
  static constexpr std::size_t kMostStrata = 10000;

  MCSV::SVSStagePreview numbers;
  std::string label;
  std::string method;                  // its name
  std::vector<std::string> variables;  // names: strata and clusters of the stages before, then own strata
  std::vector<std::string> clusters;   // names; empty if the units are cases
  bool bySize = false;
  bool withReplacement = false;
  std::vector<PreviewedStratum> strata;  // in the order of their values
};

struct DesignPreview {
  bool isComplete = false;  // the frame was read to its end
  bool hasEarlierWeight = false;
  std::vector<PreviewedStage> stages;
  MCSV::SVSSamplePreview sample;
};
