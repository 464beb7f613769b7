#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/output/OutputTable.h"
#include "report/WeightSummary.h"

struct DesignPreview;
namespace MCSV {
struct SVSStratumPreview;
}

// What a survey costs: `fixed` for all, `unit` for each unit of the first stage, `each` for each case.
struct SurveyCost {
  double fixed = 0.0;
  double unit = 0.0;
  double each = 0.0;
};

// What a preview says beyond the numbers that it was filled with.
struct PreviewFigures {
  double meanWeight = 0.0;    // 0 if no case is expected
  double designEffect = 0.0;  // due to unequal weights, n sum(w^2) / (sum w)^2 of the expected sums; or 0
  std::optional<double> cost{};
};
PreviewFigures FiguresOf(const DesignPreview& preview, const std::optional<SurveyCost>& cost);

// The sample that can be expected, and the stages.
std::vector<OutputTable> DesignTables(const DesignPreview& preview, const PreviewFigures& figures);

// The strata of each stage. A column that has nothing to say in any of them is left out.
std::vector<OutputTable> StrataTables(const DesignPreview& preview);

// The weights of the cases that can be expected, as if these were drawn; rounded so that their number is right
// in all.
WeightSummary ExpectedWeights(const DesignPreview& preview);

// Why a stratum ends a run; empty if it doesn't.
std::string FailureInWords(const MCSV::SVSStratumPreview& stratum);
