#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "backend/svselect/selection/SVSUnits.h"
#include "backend/svselect/selection/SVSelectSamples.h"
#include "backend/svselect/selection/SizeOrder.h"
#include "backend/svselect/tabulation/StratumOutlook.h"
#include "model_components/surveyplans/common/AbstractPreview.h"
#include "model_components/surveyplans/common/SVKey.h"
#include "model_components/surveyplans/common/SVStatus.h"

struct CertainUnits;
class SVCancelInfo;
class SVSCompSettings;
class SVSFindings;
class SVSOutSamples;
namespace MCCommonMath {
class MCRandomTwister;
}

// SVSStratumData is one stratum of one stage: its units with their measures of size, then its sample, then
// what each case received.
//
// Three phases. While the stage tabulates, it adds units and the further records of units; which unit a
// record belongs to, the stage knows. Of a unit only its key and its measure of size are kept; of the stratum,
// the value of the variable that gives its rate or size. Then Select() turns that value into a requested
// number of units and has SVSelectSamples draw. From then on GetRecordStats() answers for any unit.
//
// The requested number n of a stratum with N units:
//
//   a size   n is the size.
//   a rate   n = floor(f N + 1/2), within the stage's bounds; the rate f itself isn't adjusted to them.
//   neither  n = 2, for the methods that always draw two units.
//
// Without replacement the engine lowers n to N later; here a request that is too large only raises a warning.
//
// Use:        construct, SetOutSamples(), InitConstValues() if the stage has such a variable, AddUnit() and
//             AddRecord(), SetRandom(), Select() once; then the reads. A stratum is made for its first
//             record, so it always has a unit.
// Ownership:  owns its units; borrows settings, cancel view, collector and generator, which
//             must outlive it. A `record` is an array of values that is read only during the call.
// Threads:    the thread of the run only; ComputeJointProbs() starts threads of its own and joins them.
// Units:      sizes count units; rates are fractions of the units.
// Failures:   a returned SVStatus is the stratum's own, which the collector has received too. An error stays.
// Cost:       that of SVSUnits.
class SVSStratumData {
public:
  // `constCount` is the number of variables that must be constant within a stratum: 1 or 0 in practice.
  // `keyLength` is the number of codes in the key of a unit.
  // REQUIRES: the settings have the stage.
  SVSStratumData(const SVSCompSettings* settings, std::int32_t stage, SVCancelInfo* cancelInfo,
                 std::size_t constCount, std::size_t keyLength);

  void SetOutSamples(SVSOutSamples* outSamples) { fpOutSamples = outSamples; }
  void SetRandom(MCCommonMath::MCRandomTwister* generator) { fpRandom = generator; }

  // Takes the variables' values from the stratum's first record. False if one of them is missing.
  bool InitConstValues(const double* record, const std::vector<std::int32_t>& variables);
  // Compares a further record with them: the position of the first variable that differs, -1 if none does.
  // The first value stays. A missing one, however, is replaced by the record's, and then counts as different.
  int CheckConstValues(const double* record, const std::vector<std::int32_t>& variables);
  // The first of them. REQUIRES: there is one.
  double ConstValue() const { return fConstValues.front(); }

  // Adds a unit by its first record, and returns its number. `key` has the codes of its key; `size` is the
  // record's value of the measure-of-size variable, if there is one.
  std::int32_t AddUnit(const std::int32_t* key, double size);
  // Adds so many units that have neither keys nor sizes. REQUIRES: the key has no codes, and the method draws with
  // equal probabilities.
  void AddUnits(std::int32_t count) { fUnits.AddMany(count, WithoutVariable()); }
  // Adds a further record to a unit. Warning 92033, once per stratum, if the records of a unit disagree on its
  // measure of size; false if this one does.
  bool AddRecord(std::int32_t unit, double size) {
    if (fbUseMOSData) fUnits.CountRecord(unit);
    return !fbReadsSizes || fUnits.CheckSize(unit, size) || Disagree();
  }
  // The order in which the units are drawn from, in place of that of their first records: all units, once each.
  void OrderUnits(std::vector<std::int32_t> order) { fUnits.SetOrder(std::move(order)); }
  double SizeOf(std::int32_t unit) const { return fUnits.SizeOf(unit); }

  // Looks at the request and at the measures of size as Select() is going to see them, and notes what makes
  // the results wrong or unclear. `key` is that of the stratum. Changes nothing.
  // Cost: for methods that draw by size one look at each unit; for others none.
  void Review(const SVKey& key, SVSFindings* findings) const;

  // The same after Select(): what the draw itself did. `notesHits` asks for the units that were hit more than
  // once. REQUIRES: ClearWork() wasn't called.
  void ReviewDraw(const SVKey& key, bool notesHits, SVSFindings* findings) const;

  // Draws the sample. Errors: 92008 for a missing rate or size, and those of SVSelectSamples.
  SVStatus Select();

  // In place of Select(): what it would do to the units. Fills in `row` what the stratum itself knows, and
  // notes what ReviewDraw() does: how far a draw is from its probabilities, and one that takes no unit.
  StratumOutlook Foresee(MCSV::SVSStratumPreview* row, SVSFindings* findings);

  std::int32_t GetRequestSize();
  double GetRequestRate();
  std::int32_t GetNumSelected() const { return fSelectSamples.GetNumSelected(); }
  // Selected units (or hits) divided by the number of units; missing without units.
  double GetSelectRate() const;

  const SVSUnits& Units() const { return fUnits; }
  // Units that are taken for certain; known from the draw, or its foresight, on.
  std::int32_t CertainCount() const { return fUnits.ApartCount(); }

  // Fills `values` with the results of a case of that unit, by OutputKind. Those that don't apply are
  // missing, and so is always the cumulative weight, which only the caller can know. If the stratum has an
  // error, it is returned and all values are missing.
  SVStatus GetRecordStats(std::int32_t unit, std::vector<double>* values) const;

  // The selected units in order of selection, for the methods that have joint probabilities; empty for
  // others.
  const std::vector<std::int32_t>& SelectedUnits() const { return fvSelected; }

  // The matrix of those units, row by row; null on failure. Owned by the engine and valid until ClearWork().
  SVStatus ComputeJointProbs(const std::vector<double>** matrix);

  // Frees what only the joint probabilities need: the matrix alone grows with the square of the sample.
  void ClearWork() { fSelectSamples.ClearWork(); }

private:
  bool Disagree();
  // Without a measure of size a unit counts as 1, as does the first record of a unit whose records are counted.
  double WithoutVariable() const { return fbUseMOSVar ? MCMV::gMissingValue : 1.0; }

  // How many units are asked for, of how many. The status is a warning or an error about that.
  struct Request {
    std::int32_t size = 0;
    double rate = 0.0;
    SVStatus status{};
    double asked = 0.0;  // as `size`, which ends at 2^31 - 1
  };

  SVStatus PrepareDraw();
  void ForeseeProbs(const SVKey& key, StratumOutlook* outlook, SVSFindings* findings) const;
  void ForeseeRow(const StratumOutlook& outlook, MCSV::SVSStratumPreview* row) const;
  void ForeseeSizes(MCSV::SVSStratumPreview* row) const;
  void NameTooLarge(MCSV::SVSStratumPreview* row) const;
  Request FindRequest() const;
  Request RequestSize(double size) const;
  Request RequestRate(double rate) const;
  void ComputeRequest();
  SizeBounds Bounds() const;
  void ReviewSizes(const SVKey& key, std::int32_t requested, SVSFindings* findings) const;
  void ReviewLargeSizes(const SVKey& key, double limit, SVSFindings* findings) const;
  // REQUIRES: `units` is the number of those from which `drawn` are drawn.
  bool OnlyApproaches(std::int32_t drawn, std::int32_t units, bool anyFraction) const;
  void ReviewCertain(const SVKey& key, const CertainUnits& certain, std::int32_t requested,
                     SVSFindings* findings) const;
  void ReviewStatedProbs(const SVKey& key, SVSFindings* findings) const;
  void NoteStatedProbs(const SVKey& key, SVSFindings* findings) const;
  bool AnySizeHasFraction() const;
  void ReviewHits(const SVKey& key, SVSFindings* findings) const;
  bool TakesCertain() const { return fCertaintyShare > 0.0; }
  std::int32_t NumUnits() const { return fUnits.Count(); }

  // The fields that the records of a pass read come first and together: with a million strata in a stage,
  // each cache line more is a cache miss more for every record.
  SVSUnits fUnits;
  bool fbReadsSizes = false;         // a unit's size is the value of the measure-of-size variable
  bool fbUseMOSVar = false;          // the same, or there should be such a variable
  bool fbUseMOSData = false;         // a unit's size is its number of records
  bool fbConstStatus = false;        // warning 92033 has been raised
  std::vector<double> fConstValues;  // the stratum's rate or size, if a variable holds it
  SVSOutSamples* fpOutSamples = nullptr;
  SVStatus fStatus;
  std::vector<std::int32_t> fvSelected;  // units in order of selection, of methods that name them

  SVSelectSamples fSelectSamples;
  const SVSCompSettings* fpSettings;
  std::int32_t fStageInd;
  std::int32_t fSelectMethod;
  std::int32_t fInclProbType;
  double fCertaintyShare = 0.0;  // 0 where no unit is taken for certain
  std::int32_t fRequestSampleSize = 0;
  double fRequestSampleRate = 0.0;
  MCCommonMath::MCRandomTwister* fpRandom = nullptr;
};
