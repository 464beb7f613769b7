#include "StratumDraw.h"
#include "StopAt.h"
#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/selection/SVSelectSamples.h"
#include "backend/svselect/selection/SizeOrder.h"

namespace {
double OrZero(double value) {
  return value == MCMV::gMissingValue ? 0.0 : value;
}
}  // namespace

StratumDraw DrawStratum(MethodType method, const std::vector<double>& sizes, int n,
                        MCCommonMath::MCRandomTwister* random, bool exact, int stopAt) {
  SVSCompSettings settings;
  settings.FindStage(1).setMethodType(method);
  settings.SetExactDesign(exact);
  settings.SetNumThreads(3);
  StopAt stop(stopAt);
  SVCancelInfo cancelInfo(&stop);
  SVSOutSamples outSamples;
  SVSUnits units(1);
  for (int i = 0; i < static_cast<int>(sizes.size()); ++i) units.Add(&i, sizes[static_cast<std::size_t>(i)]);
  if (MethodOf(method).ordersBySize) SortBySize(&units, exact);
  std::vector<std::int32_t> selected;
  SVSelectSamples engine(&settings, 1, &cancelInfo);
  engine.SetRandom(random);
  engine.Prepare(&units, &selected, &outSamples, n, 0.5);

  StratumDraw drawn;
  drawn.code = engine.SelectSamples().code;
  engine.PrepareThreads(&drawn.jointThreads);
  drawn.selected = engine.GetNumSelected();
  engine.GetStageValues(&drawn.popSize, &drawn.sampleSize, &drawn.rate);
  for (double* value : {&drawn.popSize, &drawn.sampleSize, &drawn.rate}) *value = OrZero(*value);
  for (int i = 0; i < static_cast<int>(sizes.size()); ++i) {
    const SVSUnits::Result* taken = units.ResultOf(i);
    const SVSUnits::Result result = taken == nullptr ? SVSUnits::Result() : *taken;
    drawn.inclProb.push_back(OrZero(result.inclProb));
    drawn.weight.push_back(OrZero(result.weight));
    drawn.hits.push_back(OrZero(result.hits));
  }
  drawn.order.assign(selected.begin(), selected.end());
  return drawn;
}

double DeviationOfDraws(const RepeatedDraws& repeated, const std::vector<double>& probs) {
  const auto& [method, sizes, n, exact, draws] = repeated;
  MCCommonMath::MCRandomTwister random;
  random.Initialize(4711);
  std::vector<double> counts(probs.size());
  for (int draw = 0; draw < draws; ++draw) {
    const StratumDraw drawn = DrawStratum(method, sizes, n, &random, exact);
    for (std::size_t i = 0; i < counts.size(); ++i) counts[i] += drawn.hits[i] > 0 ? 1 : 0;
  }
  double sum = 0;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const double variance = draws * probs[i] * (1 - probs[i]);
    const double deviation = counts[i] - draws * probs[i];
    sum += variance > 1e-6 ? deviation * deviation / variance : std::abs(deviation) * 1e9;
  }
  return sum;
}
