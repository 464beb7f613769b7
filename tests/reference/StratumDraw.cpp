#include "StratumDraw.h"
#include "KeyOf.h"
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
  ClusterTable table;
  ClusterPairs units;
  for (std::size_t i = 0; i < sizes.size(); ++i) {
    units.push_back(table.Insert(KeyOf({static_cast<int>(i)}), sizes[i]));
  }
  const ClusterPairs asGiven = units;
  if (MethodOf(method).ordersBySize) SortBySize(&units, exact);
  ClusterPairs selected;
  SVSelectSamples engine(&settings, 1, &cancelInfo);
  engine.SetRandom(random);
  engine.Prepare(&units, &selected, &outSamples, n, 0.5);

  StratumDraw drawn;
  drawn.code = engine.SelectSamples().code;
  engine.PrepareThreads(&drawn.jointThreads);
  drawn.selected = engine.GetNumSelected();
  engine.GetStageValues(&drawn.popSize, &drawn.sampleSize, &drawn.rate);
  for (double* value : {&drawn.popSize, &drawn.sampleSize, &drawn.rate}) *value = OrZero(*value);
  for (const ClusterTable::Entry* unit : asGiven) {
    double inclProb, weight, hits;
    unit->value.GetResults(&inclProb, &weight, &hits);
    drawn.inclProb.push_back(OrZero(inclProb));
    drawn.weight.push_back(OrZero(weight));
    drawn.hits.push_back(OrZero(hits));
  }
  for (const ClusterTable::Entry* unit : selected) drawn.order.push_back(unit->key[0]);
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
