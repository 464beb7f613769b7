#include "backend/svselect/selection/MethodFunctions.h"

#include <iterator>

#include "backend/svselect/selection/CumulativeDraw.h"
#include "host/numeric/MCRandomTwister.h"

namespace {

constexpr MethodFunctions kFunctions[] = {
    {kMethodSimpleWor, SizeLists::kNone, DrawSimpleWor, ForeseeSimpleWor},
    {kMethodSimpleWr, SizeLists::kNone, DrawSimpleWr, ForeseeSimpleWr},
    {kMethodSimpleSystematic, SizeLists::kNone, DrawSimpleSystematic, ForeseeSimpleSystematic},
    {kMethodSimpleChromy, SizeLists::kShares, DrawSequential, ForeseeSequential},
    {kMethodPpsWor, SizeLists::kShares, DrawPpsWor, ForeseePpsWor, PpsWorJointWork, PpsWorSharedSteps,
     PpsWorDrawnProbs},
    {kMethodPpsWr, SizeLists::kLine, DrawPpsWr, ForeseePpsWr},
    {kMethodPpsSystematic, SizeLists::kLine, DrawPpsSystematic, ForeseePpsSystematic},
    {kMethodPpsChromy, SizeLists::kShares, DrawSequential, ForeseeSequential},
    {kMethodPpsBrewer, SizeLists::kShares, DrawSampford, ForeseeSampford, SampfordJointWork, nullptr,
     SampfordDrawnProbs},
    {kMethodPpsMurthy, SizeLists::kShares, DrawMurthy, ForeseeMurthy, MurthyJointWork},
    {kMethodPpsSampford, SizeLists::kShares, DrawSampford, ForeseeSampford, SampfordJointWork,
     SampfordSharedRows, SampfordDrawnProbs},
};

static_assert(std::size(kFunctions) == std::size(kMethods), "a row for each method");
static_assert(
    [] {
      for (std::size_t i = 0; i < std::size(kMethods); ++i) {
        if (kFunctions[i].code != kMethods[i].code) return false;
      }
      return true;
    }(),
    "the rows of kMethods in the same order");

// Sizes are looked at, so that a missing one is reported.
constexpr MethodFunctions kNoFunctions = {kMethodNone, SizeLists::kShares, nullptr, nullptr};

SVStatus DrawOneBySize(const SVSStratumView& stratum, MCCommonMath::MCRandomTwister* random,
                       SVSTakenUnits* taken) {
  const double u = random->GetRealClosedOpen();
  const std::int32_t unit = FindPosition(stratum.cumulativeShares, 0, stratum.units - 1, u);
  if (LiesInInterval(stratum.cumulativeShares, 0, unit, u)) taken->TakeBySize(stratum, unit);
  return SVStatus();
}

SVStatus ForeseeOneBySize(const SVSStratumView& stratum, SVSForeseenUnits* units) {
  units->TakeAllBySize(stratum);
  return SVStatus();
}

}  // namespace

const MethodFunctions kOneBySize = {kMethodNone, SizeLists::kShares, DrawOneBySize, ForeseeOneBySize};

const MethodFunctions& FunctionsOf(std::int32_t code) {
  const std::size_t index = static_cast<std::uint32_t>(code) - 1U;
  return index < std::size(kFunctions) ? kFunctions[index] : kNoFunctions;
}
