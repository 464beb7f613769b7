// PPS_MURTHY: two draws without replacement, each in proportion to size [Murthy57]. It tests no sizes.

#include "backend/svselect/selection/CumulativeDraw.h"
#include "backend/svselect/selection/MurthySteps.h"
#include "backend/svselect/selection/SVSelectSamples.h"
#include "host/numeric/MCRandomTwister.h"

void SVSelectSamples::SelectMurthy() {
  const std::vector<double> inclProbs = MurthyInclProbs(fProbPropSize);
  const auto take = [&](std::int32_t unit) {
    const double inclProb = inclProbs[static_cast<std::size_t>(unit)];
    TakeUnit(unit, inclProb, WeightOf(inclProb));
  };

  const double u1 = fpRandom->GetRealClosedOpen();
  const std::int32_t first = FindPosition(fCumProbPropSize, 0, fNAllSamples - 1, u1);
  if (LiesInInterval(fCumProbPropSize, 0, first, u1)) take(first);
  if (fNAllSamples < 2) return;

  // The second draw is from all units but that one, whether it was selected or not.
  const std::vector<double> others = SharesWithout(fProbPropSize, first);
  const double u2 = fpRandom->GetRealClosedOpen();
  const std::int32_t position = FindPosition(others, 0, fNAllSamples - 2, u2);
  if (LiesInInterval(others, 0, position, u2)) take(position < first ? position : position + 1);
}
