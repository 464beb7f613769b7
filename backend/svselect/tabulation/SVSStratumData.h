#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "backend/svselect/selection/SVSClusterData.h"
#include "backend/svselect/selection/SVSelectSamples.h"
#include "backend/svselect/tabulation/UnitFilter.h"
#include "model_components/surveyplans/common/SVKey.h"
#include "model_components/surveyplans/common/SVStatus.h"

class SVCancelInfo;
class SVSCompSettings;
class SVSOutSamples;
namespace MCCommonMath {
class MCRandomTwister;
}

// SVSStratumData is one stratum of one stage: its units with their measures of size, then its sample, then
// what each case received.
//
// Use:        construct, SetOutSamples(), AddRecord() for each record of the stage's pass, SetRandom(),
//             Select() once; from then on the reads. A stratum exists from its first record on, so it has a
//             unit.
// Ownership:  owns its units with their keys; borrows settings, cancel view, collector and generator, which
//             must outlive it. A `record` is the array of values of a record; it is read in the call only.
// Threads:    the thread of the run only.
// Units:      sizes count units, rates are shares of the units.
// Cost:       AddRecord() is one search of the table, and allocates only for a unit that is new.
//
// Where a SVStatus is returned it is the stratum's own, which the collector has heard as well.
class SVSStratumData {
public:
  // `constCount` is the number of variables that must be constant in a stratum. REQUIRES: the stage is there.
  SVSStratumData(const SVSCompSettings* settings, std::int32_t stage, SVCancelInfo* cancelInfo,
                 std::size_t constCount);

  void SetOutSamples(SVSOutSamples* outSamples) { fpOutSamples = outSamples; }
  void SetRandom(MCCommonMath::MCRandomTwister* generator) { fpRandom = generator; }

  // Takes the variables' values from the stratum's first record. False if one of them is missing.
  bool InitConstValues(const double* record, const std::vector<std::int32_t>& variables);
  // Holds a further record against them: the position of the first variable that differs, -1 for none. The
  // value that was first stays, but a missing one gives way to the record's, and counts as different then.
  int CheckConstValues(const double* record, const std::vector<std::int32_t>& variables);

  // Ask the memory for what AddRecord() and GetRecordStats() will look at: first where the unit stands, then
  // the unit itself.
  void PrefetchPlace(const SVKey& unitKey) const { fClusterTable.PrefetchPlace(unitKey); }
  void PrefetchUnit(const SVKey& unitKey) const { fClusterTable.PrefetchEntry(unitKey); }

  // Enters a record under its unit. Warning 92033, once, when a unit's records disagree on its size.
  void AddRecord(const SVKey& unitKey, const double* record);

  // Draws the sample. Errors: 92008 for a missing rate or size, and those of the engine.
  SVStatus Select();

  std::int32_t GetRequestSize();
  double GetRequestRate();
  std::int32_t GetNumSelected() const { return fSelectSamples.GetNumSelected(); }
  // Selected units, or hits, by units; missing without units.
  double GetSelectRate() const;

  // Whether the unit may be in the sample: false only for one that isn't. For the many that aren't this is
  // far cheaper than GetRecordStats().
  bool MaySelect(const SVKey& unitKey) const { return fSelected.MayHold(unitKey); }

  // Makes `values` the seven results of a case of that unit, by OutputKind; missing what it didn't receive,
  // and the cumulative weight in any case. An error of the stratum is returned, with all of them missing.
  SVStatus GetRecordStats(const SVKey& unitKey, std::vector<double>* values) const;

  // The units that were selected one by one, in order of selection, for the methods that have joint
  // probabilities. Valid until ClearWork().
  const ClusterPairs& GetClusterSelectPairs() const { return fClusterSelectPairs; }

  // The matrix of those units, row by row. It is the engine's and stands until ClearWork(); null on failure.
  SVStatus ComputeJointProbs(const std::vector<double>** matrix);

  // Releases what only the joint probabilities need.
  void ClearWork() { fSelectSamples.ClearWork(); }

private:
  void FilterSelected();
  void ComputeRequest();
  void RequestSize(double size);
  void RequestRate(double rate);
  std::int32_t NumUnits() const { return static_cast<std::int32_t>(fClusterTable.Count()); }

  // What each record looks at stands together: with thousands of strata in a stage, a line more of it is a
  // miss of the cache more for every record.
  SVSOutSamples* fpOutSamples = nullptr;
  bool fbUseMOSVar = false;    // a unit's size is its value of the measure of size
  bool fbUseMOSData = false;   // a unit's size is its number of records
  bool fbConstStatus = false;  // 92033 was raised
  SVStatus fStatus;
  ClusterTable fClusterTable;
  UnitFilter fSelected;
  std::vector<std::int32_t> fConstClusterVars;  // the measure of size: constant within a unit
  std::vector<double> fConstValues;             // the rate or size of the stratum, if a variable carries it
  ClusterPairs fClusterTablePairs;              // all units by first appearance; PPS_WOR sorts them
  ClusterPairs fClusterSelectPairs;

  SVSelectSamples fSelectSamples;
  const SVSCompSettings* fpSettings;
  std::int32_t fStageInd;
  std::int32_t fSelectMethod;
  std::int32_t fInclProbType;
  double fInitSizeMeasure;  // of a new unit
  std::int32_t fRequestSampleSize = 0;
  double fRequestSampleRate = 0.0;
  MCCommonMath::MCRandomTwister* fpRandom = nullptr;
};
