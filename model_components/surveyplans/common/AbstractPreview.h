#pragma once

#include <bit>
#include <cstdint>
#include <map>
#include <vector>

#include "host/numeric/Obs.h"
#include "model_components/surveyplans/common/SVKey.h"

// The output of a preview: what a draw is going to do to a frame, stratum by stratum, before anything is drawn.
// As in AbstractOutputs.h, categories travel as codes.

namespace MCSV {

struct SVSRange {
  double least = MCMV::gMissingValue;  // both are missing while nothing was added
  double most = MCMV::gMissingValue;

  void Add(double number) {
    if (number == MCMV::gMissingValue) return;
    if (least == MCMV::gMissingValue || number < least) least = number;
    if (most == MCMV::gMissingValue || number > most) most = number;
  }
  void Add(const SVSRange& other) {
    Add(other.least);
    Add(other.most);
  }
  bool IsEmpty() const { return least == MCMV::gMissingValue; }
};

// Units of a stratum that are named: the first ones by their keys, and how many there are. A unit that is a case
// has the case's position, from 0, as its key.
struct SVSNamedUnits {
  static constexpr std::size_t kMostNames = 10;

  std::int64_t count = 0;
  std::vector<SVKey> first{};
};

struct SVSStratumPreview {
  SVKey key{};             // the codes of the variables that identify it
  double reached = 1.0;    // the probability that the stages before select the unit that contains it
  std::int64_t units = 0;  // of the frame
  std::int64_t cases = 0;  // in them
  double totalSize = MCMV::gMissingValue;  // within the bounds of the sizes; missing for equal probabilities
  std::int64_t asked = 0;
  double askedRate = 0.0;
  std::int64_t possible = 0;  // of what is asked
  // Number of units that will be drawn, or of hits; as expected, where the draw doesn't keep its number.
  double drawn = 0.0;
  std::int64_t askedReserve = 0;
  std::int64_t reserve = 0;      // units that will be held
  double attempts = 1.0;         // of a draw that is repeated until it succeeds, on average
  std::int64_t withoutSize = 0;  // units whose measure of size is missing or not above 0
  std::int64_t disagreeing = 0;  // cases with another measure of size than the first of their unit
  bool isRefused = false;        // by a strict run: it makes a probability or weight wrong or unclear
  std::int32_t failure = 0;      // the code of the error that its draw ends with; 0 for none
  SVSRange probability{};        // stated, of the units that can be drawn
  SVSRange weight{};             // of the stage
  SVSNamedUnits certain{};       // units of probability 1, where not all are taken
  // Where a size is above the limit: the units that would have to be taken for certain, so that the rest can be
  // drawn by the method.
  SVSNamedUnits tooLarge{};

  bool EndsRun() const { return isRefused || failure != 0; }
};

// A stage as a whole. Expectations are over the draws of this stage and of all before it.
struct SVSStagePreview {
  std::int32_t stage = 0;
  std::int64_t strata = 0;
  std::int64_t units = 0;
  std::int64_t singleStrata = 0;  // of the frame, with no more than one unit
  std::int64_t drawsOne = 0;      // strata of which one unit of several is drawn
  double expectedUnits = 0.0;     // or hits
  double expectedCases = 0.0;     // in selected units; in the last stage, of the sample
  double expectedSingles = 0.0;   // strata that are reached, and draw one unit
  SVSRange probability{};
  SVSRange weight{};
  std::int64_t failing = 0;      // strata that end a run that gets to them
  double expectedFailing = 0.0;  // how many a run gets to
  bool mayBeRefused = false;     // cases disagree on what a strict run wants to be clear

  void Add(const SVSStratumPreview& stratum) {
    ++strata;
    units += stratum.units;
    if (stratum.units == 1) ++singleStrata;
    if (stratum.units > 1 && stratum.drawn == 1.0) ++drawsOne;
    if (stratum.EndsRun()) {
      ++failing;
      expectedFailing += stratum.reached;
    }
    expectedUnits += stratum.reached * stratum.drawn;
    if (stratum.drawn == 1.0) expectedSingles += stratum.reached;
    if (!(stratum.reached > 0.0)) return;
    probability.Add(stratum.probability);
    weight.Add(stratum.weight);
  }
};

// How many cases of a sample can be expected to have which weight: in classes of weights that differ by less
// than 0.8 %.
class SVSExpectedWeights {
public:
  struct Class {
    double cases = 0.0;
    double sum = 0.0;  // of their weights
  };

  // REQUIRES: the weight is above 0.
  void Add(double weight, double cases) {
    Class& found = fClasses[std::bit_cast<std::uint64_t>(weight) >> kFinerBits];
    found.cases += cases;
    found.sum += cases * weight;
  }
  // By ascending weight.
  const std::map<std::uint64_t, Class>& All() const { return fClasses; }

private:
  static constexpr int kFinerBits = 52 - 7;  // bits of a double below the seven first ones of its fraction

  std::map<std::uint64_t, Class> fClasses;
};

// The final weights of the sample that is expected.
struct SVSSamplePreview {
  std::int64_t cases = 0;   // of the frame
  double frameSum = 0.0;    // of their weights of an earlier sampling; without one, the same
  double neverDrawn = 0.0;  // of frameSum: cases that no draw takes
  double expectedCases = 0.0;
  double expectedSum = 0.0;      // of the final weights
  double expectedSquares = 0.0;  // of their squares
  SVSExpectedWeights weights{};  // of this design alone, without that of an earlier sampling
  SVSRange weight{};
};

// Receives a preview.
//
// Use:        for each stage in order AddStratum() for each of its strata, then EndStage(); at last EndPreview().
//             Strata come in order of first record.
// Ownership:  arguments are read during the call only. Nothing is thrown.
class SVSOutPreview {
public:
  virtual ~SVSOutPreview() = default;
  virtual void AddStratum(std::int32_t stage, const SVSStratumPreview& stratum) = 0;
  virtual void EndStage(const SVSStagePreview& stage) = 0;
  virtual void EndPreview(const SVSSamplePreview& sample) = 0;
};

}  // namespace MCSV
