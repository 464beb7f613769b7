// The sequential procedure [Chromy79] of SIMPLE_CHROMY, where all sizes are 1, and PPS_CHROMY.

#include "backend/svselect/selection/CumulativeDraw.h"
#include "backend/svselect/selection/SVSelectSamples.h"
#include "backend/svselect/selection/SequentialSteps.h"
#include "host/numeric/MCRandomTwister.h"

// The units are gone round from a random one, and each gets what the number of hits so far grows by.
void SVSelectSamples::SelectSequential() {
  if (AnySizeAbove(fTotalSampleSize / fNRequestSamples)) return Fail(kStatusInvalidSize);
  const std::int32_t start =
      FindPosition(fCumProbPropSize, 0, fNAllSamples - 1, fpRandom->GetRealClosedOpen());

  std::vector<std::int32_t> hits(fpClusterTablePairs->size());  // by unit
  ExpectedHits before;
  std::int32_t hitsBefore = 0;
  double sum = 0.0;
  std::int32_t unit = start;
  for (std::int32_t k = 0; k < fNAllSamples; ++k) {
    if (Cancelled()) return;
    sum += Share(unit);
    const ExpectedHits now = SplitExpected(fNRequestSamples * sum);
    const HitsStep step = NextHits(hitsBefore, before, now);
    std::int32_t hitsNow = step.count;
    if (step.bDraw && step.chance > fpRandom->GetRealOpen()) ++hitsNow;
    hits[static_cast<std::size_t>(unit)] = hitsNow - hitsBefore;
    hitsBefore = hitsNow;
    before = now;
    if (++unit == fNAllSamples) unit = 0;
  }

  for (std::int32_t i = 0; i < fNAllSamples; ++i) {
    const std::int32_t count = hits[static_cast<std::size_t>(i)];
    if (count <= 0) continue;
    Unit(i).SetResults(RequestedShare(i), WeightOf(RequestedShare(i)), count);
    ++fNSelectSamples;
  }
}
