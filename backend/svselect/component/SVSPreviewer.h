#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/tabulation/SVSDataTabulator.h"
#include "host/numeric/RecordIterator.h"
#include "model_components/surveyplans/common/AbstractPreview.h"
#include "model_components/surveyplans/common/SVStatus.h"

class SVSCompSettings;

// SVSPreviewer foresees a draw: what it does to each stratum, and the sample that it can be expected to give.
// Nothing is drawn, and no random number used.
//
// One pass. The stages follow one another in a chain: a record goes through all of them at once, as if every
// unit of the stages before had been selected. So there is a stratum of a later stage in every cluster of the
// frame, whichever a draw selects.
//
// Expectations. Draws in different strata, and of different stages, are independent of each other, and what a
// stratum of a later stage does doesn't depend on how its cluster was selected. With R the probability that a
// cluster is selected through all stages so far, and h(k) the hits that a stratum in it gives unit k on
// average (without replacement the probability of k), the expected hits of k are R h(k). All expected numbers
// are sums of that over the frame: exact, but where the true probabilities of a draw that only comes near those
// stated are too costly to compute.
//
// Use:        construct, Run() once.
// Ownership:  owns its tabulators; borrows everything else.
// Threads:    the thread of the run only.
// Cost:       one pass; then a look at each stratum and, where units have different probabilities, each unit.
//             Memory is that of a draw in which each stage selects all its units.
class SVSPreviewer {
public:
  SVSPreviewer(const SVSCompSettings* settings, SVCancelInfo* cancelInfo, SVSOutSamples* outSamples);

  // Returns the error that a draw ends with for certain. Where it depends on the clusters that are selected, the
  // output has the strata that would end the draw. The output is complete unless the pass itself fails.
  SVStatus Run(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutPreview* output);

private:
  // A unit of a stage that another one follows.
  struct Reached {
    double reach = 1.0;      // R: the probability that it is selected, through all stages so far
    double weight = 1.0;     // the product of the stages' weights, if it is
    std::int64_t cases = 0;  // in it
  };
  // A stage between its pass and its output.
  struct Stage {
    std::int32_t number = 0;
    std::unique_ptr<SVSDataTabulator> tabulator;
    std::vector<std::int64_t> casesOfStratum;
    std::vector<Reached> units;  // but for the last stage
  };

  void CountCases();
  void Foresee(std::size_t place, MCSV::SVSOutPreview* output);
  Reached OuterOf(std::size_t place, std::size_t stratum) const;
  double ForeseeUnits(std::size_t place, const std::vector<StratumOutlook>& outlooks);
  void AddStratum(std::size_t place, std::size_t stratum, const StratumOutlook& outlook);
  void AddMass(const Reached& outer, const StratumOutlook::Unit& unit, const CaseMass& mass);
  void Keep(SVStatus status) {
    fpOutSamples->AddStatus(status);  // stamps it with the stage
    if (!fStatus.IsError()) fStatus = status;
  }

  const SVSCompSettings* fpSettings;
  SVCancelInfo* fpCancelInfo;
  SVSOutSamples* fpOutSamples;
  std::vector<Stage> fvStages;  // the selected ones
  bool fbLosesHits = false;     // the last one, the only one that can have hits
  MCSV::SVSSamplePreview fSample;
  SVStatus fStatus;
};
