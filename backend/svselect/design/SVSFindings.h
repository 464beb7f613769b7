#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "model_components/surveyplans/common/SVKey.h"

// A finding is something about the frame or the draw that a statistician has to know before the sample is
// used: a probability that isn't right, a weight that doesn't say all, units that can't be drawn. Statuses
// say that a rule was broken, and a few of them stop the run; findings change nothing. They say where it
// happened, how often, and with which value.

enum class FindingKind : std::uint8_t {
  kNoPreviousWeight,  // cases whose earlier weight isn't above 0, which are left out
  kUnequalSpec,       // cases that disagree with the first of their stratum on its rate or size
  kUnequalOrder,      // cases that disagree with the first of their unit on a variable that orders the units
  kUnequalSize,       // cases that disagree with the first of their unit on its measure of size
  kMissingSpec,       // strata without a rate or size
  kRateAboveOne,      // strata with a rate that no draw without replacement can have
  kRoundsToNone,      // strata with a rate of so few units that none is drawn
  kTooFewUnits,       // strata that have fewer units than are asked for
  kFewerThanLeast,    // strata that have fewer units than the least number that bounds a rate
  kMissingSize,       // units without a measure of size
  kNegativeSize,      // units with one below 0
  kZeroSize,          // units with one of 0
  kNoTotalSize,       // strata in which the measures of size don't add up to more than 0
  kSizeAboveLimit,    // units too large for the method
  kHitsNotKept,       // units that the sample shows as hit once though they were hit more often
  kOtherCount,        // strata that gave another number of units than asked for
  kCertainTakeAll,    // strata whose certain units leave none to be drawn of the others
  kStatedProbs,       // strata whose draw may not have the inclusion probabilities that it states
};

// Which findings end a run with an error, so that nothing is written.
enum class Strictness : std::uint8_t {
  kLenient,  // none
  kPlan,  // those by which a probability or weight is wrong or unclear, but for kStatedProbs: the plan names
          // its method, and the draw of some methods only comes near what they state
  kAll    // kStatedProbs too
};

// Cases that are left out and units that can't be drawn limit what the sample represents, but not the
// weights; a size above the limit is an error in any draw; and a least number asks for all of fewer units.
constexpr bool IsRefused(FindingKind kind, Strictness strictness) {
  if (kind == FindingKind::kStatedProbs) return strictness == Strictness::kAll;
  return strictness != Strictness::kLenient && kind != FindingKind::kNoPreviousWeight &&
         kind != FindingKind::kZeroSize && kind != FindingKind::kSizeAboveLimit &&
         kind != FindingKind::kFewerThanLeast;
}

// All findings of one kind in one stage.
struct SVSFinding {
  // A place where it was found. Keys hold category codes; `unit` is empty where the stratum is meant. What
  // `value` and `other` are depends on the kind: the size and the limit, the number asked for and that there,
  // the stated and the true probability; of kNoTotalSize the sum, and 1 if the draw refuses it.
  struct Example {
    SVKey stratum;
    SVKey unit;
    double value = 0.0;
    double other = 0.0;
  };

  FindingKind kind = FindingKind::kUnequalSize;
  std::int32_t stage = 0;
  std::int64_t count = 0;           // of units, strata or cases
  std::int64_t unknown = 0;         // kStatedProbs: strata whose true probabilities weren't computed
  std::vector<Example> examples{};  // the first ones, each place once
};

// Collects the findings of a run.
//
// Threads:  the thread of the run only.
// Cost:     Note() searches the findings, which are no more than kinds times stages, and the examples while
//           there are fewer than kMaxExamples. Memory doesn't grow with the number of units.
class SVSFindings {
public:
  static constexpr std::size_t kMaxExamples = 10;

  // Counts once, and keeps the example while there are few. A place that is an example already only counts.
  void Note(FindingKind kind, std::int32_t stage, SVSFinding::Example example);
  // The same, so many times, where no place is worth a mention.
  void Count(FindingKind kind, std::int32_t stage, std::int64_t times = 1) {
    Find(kind, stage).count += times;
  }
  // For kStatedProbs, of a stratum that is counted: a unit with its two probabilities, of which the one with
  // the largest difference becomes the only example; or that they are too costly to compute.
  void KeepWorst(std::int32_t stage, const SVSFinding::Example& example);
  void CountUnknown(std::int32_t stage) { ++Find(FindingKind::kStatedProbs, stage).unknown; }

  // In the order in which they were first noted.
  const std::vector<SVSFinding>& All() const { return fvFindings; }
  bool AnyRefused(Strictness strictness) const;
  // How often that was found in a stage.
  std::int64_t RefusedCount(std::int32_t stage, Strictness strictness) const;

private:
  SVSFinding& Find(FindingKind kind, std::int32_t stage);

  std::vector<SVSFinding> fvFindings;
};
