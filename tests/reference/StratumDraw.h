#pragma once

#include <limits>
#include <vector>

#include "backend/svcommon/design/Enumerations.h"
#include "host/numeric/MCRandomTwister.h"
#include "model_components/surveyplans/common/SVStatus.h"

// What came of one stratum: by unit in the order of the sizes given, 0 where nothing was written.
struct StratumDraw {
  int code = 0;  // of the status
  std::vector<double> inclProb, weight, hits;
  std::vector<int> order;  // 0-based units in the order of selection, of methods that name them one by one
  int selected = 0, jointThreads = 0;  // of three that may compute joint probabilities
  double popSize = 0, sampleSize = 0, rate = 0;

  bool operator==(const StratumDraw&) const = default;
};

// Draws n units of these sizes with the engine. `stopAt` is the question for cancellation that is first
// answered by yes, counted from 1.
StratumDraw DrawStratum(MethodType method, const std::vector<double>& sizes, int n,
                        MCCommonMath::MCRandomTwister* random, bool exact = false,
                        int stopAt = std::numeric_limits<int>::max());

// Draws that are repeated from a fixed seed.
struct RepeatedDraws {
  MethodType method;
  std::vector<double> sizes;
  int n;
  bool exact;
  int draws;
};

// How far the units drawn are from these probabilities: a sum of squared deviations, one for each unit, each of
// expectation below 1. Of eight units or fewer, a sound build exceeds 60 with less than one chance in 10^8.
double DeviationOfDraws(const RepeatedDraws& repeated, const std::vector<double>& probs);
