#pragma once

#include <cstdint>
#include <vector>

namespace MCSV {

// Results of a summary output: go on, stop the present walk, or failure. Any value but the first and the last
// stops the walk.
enum SummaryResult : int { kSummaryGoOn = 0, kSummaryStop = 1, kSummaryFailed = 2 };

// Where the computation sends what was asked for and what was drawn in each stratum of a stage.
class SVSOutputSummary {
public:
  virtual ~SVSOutputSummary();

  virtual int StartStage(int stage) = 0;

  // `designValues` are the codes of the stratum's key; sizes count units, rates are shares of the units.
  virtual int AddStratum(const std::vector<std::int32_t>& designValues, int requestedSize, int actualSize,
                         double requestedRate, double actualRate) = 0;

  virtual int EndStage() = 0;
  virtual int Status() = 0;
};

}  // namespace MCSV
