#pragma once

#include <cstdint>
#include <vector>

#include "host/numeric/Obs.h"
#include "model_components/surveyplans/common/SVHashtable.h"

// SVSClusterData is one sampling unit of a stage, a cluster or a single case: its measure of size before
// selection, and what selection decided about it. A unit that wasn't selected keeps three missing results.
//
// A record is an array of doubles, and variables are indices into it; only the first of them is a measure of
// size.
class SVSClusterData {
public:
  explicit SVSClusterData(double initialSize) : fSampleUnitSize(initialSize) {}

  double GetSize() const { return fSampleUnitSize; }
  void SetSize(double size) { fSampleUnitSize = size; }

  // For a size that is the number of the unit's records.
  void CountRecord() { fSampleUnitSize += 1.0; }

  // Takes the size from the unit's first record. False if it is missing there.
  bool LoadSize(const double* record, const std::vector<std::int32_t>& variables);

  // Holds a further record against the size: 0 when they disagree, else -1. A size still missing takes the
  // record's value, and any other stays.
  int CheckSize(const double* record, const std::vector<std::int32_t>& variables);

  void SetResults(double inclProb, double weight, double hits) {
    fInclProb = inclProb;
    fWeight = weight;
    fHits = hits;
  }
  bool IsSelected() const { return fWeight != MCMV::gMissingValue; }
  void GetResults(double* inclProb, double* weight, double* hits) const {
    *inclProb = fInclProb;
    *weight = fWeight;
    *hits = fHits;
  }

private:
  double fSampleUnitSize;
  double fInclProb = MCMV::gMissingValue;  // of the stage, as is the weight
  double fWeight = MCMV::gMissingValue;
  double fHits = MCMV::gMissingValue;  // number of selections
};

// The units of a stratum, and lists of them. Entries never move, so the lists are good while the table lives.
using ClusterTable = SVHashtable<SVSClusterData>;
using ClusterPairs = std::vector<ClusterTable::Entry*>;
