#pragma once

#include <cstdint>
#include <vector>

#include "backend/svselect/results/DesignPreview.h"
#include "backend/svselect/run/FindingTexts.h"
#include "model_components/surveyplans/common/AbstractPreview.h"

// Turns the preview of the computation into that of the session: codes become values, keys of units names, and
// strata are put in the order of their values.
//
// Ownership:  borrows both, which must outlive it.
class PreviewOutput : public MCSV::SVSOutPreview {
public:
  PreviewOutput(const FindingNames& names, DesignPreview* preview) : fNames(names), fpPreview(preview) {}

  void AddStratum(std::int32_t stage, const MCSV::SVSStratumPreview& stratum) override;
  void EndStage(const MCSV::SVSStagePreview& stage) override;
  void EndPreview(const MCSV::SVSSamplePreview& sample) override;

  // Whether a draw fails by a size that is too large.
  bool FailsBySize() const { return fbFailsBySize; }

private:
  std::vector<std::string> NamesOf(std::int32_t stage, const MCSV::SVSNamedUnits& units) const;
  void SetValues(std::int32_t stage, PreviewedStage* previewed) const;

  FindingNames fNames;
  DesignPreview* fpPreview;
  std::vector<PreviewedStratum> fvStrata;  // of the current stage
  bool fbFailsBySize = false;
};
