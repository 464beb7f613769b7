#pragma once

#include <cstdint>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "host/engine/CaseEngine.h"

// What a sample says about the stages of its design: probabilities and weights by stratum, the units that are
// certain, the clusters that were drawn.

// A stage that was drawn, by the names of its variables.
struct StageVariables {
  int number = 0;
  std::string label{};
  // They identify a stratum, as in the stage's summary table: strata and clusters of the stages before, then
  // the strata of this one.
  std::vector<std::string> strata{};
  std::vector<std::string> clusters{};      // its units; empty if these are the cases
  std::string probability{};                // inclusion probability; empty if the plan doesn't ask for it
  std::string probabilityWord = "IncProb";  // what a plan calls it
  bool withReplacement = false;
};

// A label of a table's row. Labels with the same text are different if their keys are, see
// BpCellText::ValueKey().
struct RowLabel {
  std::string text;
  std::string key{};

  bool operator<(const RowLabel& other) const {
    return std::tie(text, key) < std::tie(other.text, other.key);
  }
};

struct NumberRange {
  double smallest = 0.0;
  double largest = 0.0;
  bool isEmpty = true;

  void Add(double number);
};

// A stratum, by its units that have a case in the sample.
struct StratumReview {
  std::vector<RowLabel> path;  // of its row in the summary table, from the outermost, in full
  std::int64_t units = 0;      // different ones; a case that was written twice counts twice
  std::int64_t certain = 0;    // of these: those whose inclusion probability is 1
  NumberRange probability;
  NumberRange weight;  // final
};

struct StageReview {
  static constexpr std::size_t kMostClusterNames = 200;

  StageVariables variables;
  bool hasStrata = false;               // the sample has all variables that identify the strata
  bool hasUnits = false;                // and all that identify the units
  bool hasProbability = false;          // and the probability
  std::vector<StratumReview> strata{};  // as they come in the sample; empty without hasStrata
  std::vector<std::string> clusters{};  // names of the first clusters, as they come in the sample
  std::int64_t clusterCount = 0;        // of all
};

// SampleReviewer collects the reviews in one pass over the sample.
//
// Use:        construct, open a cursor over Columns(), Take() each of its blocks, Reviews().
// Ownership:  borrows both dictionaries.
// Cost:       for each row and stage a search in a hash table; memory for each stratum and cluster of the
//             sample, which is less than the draw needed.
class SampleReviewer {
public:
  // Values are shown as the frame's dictionary has them, as in the summary tables, but in full.
  SampleReviewer(const Dictionary& sample, const Dictionary& frame, const std::string& weight,
                 const std::vector<StageVariables>& stages);

  // Columns of the sample to read; the first is the weight. REQUIRES: the sample has that variable.
  const std::vector<int>& Columns() const { return fvColumns; }

  // Takes the current block of a cursor over Columns(). Rows without a weight don't count.
  void Take(CaseCursor& cursor, std::size_t rows);

  const std::vector<StageReview>& Reviews() const { return fvReviews; }

private:
  // A column that is read.
  struct Place {
    KORV_Variable variable;
    const double* numbers = nullptr;          // of the current block, if it is numeric
    const std::string_view* texts = nullptr;  // if it is a string
  };
  // Where a stage's variables are in Columns(), and what was seen so far. Keys are values in a row.
  struct Stage {
    std::vector<std::size_t> strata;
    std::vector<std::size_t> clusters;
    std::size_t probability = 0;
    std::unordered_map<std::string, std::size_t> stratumOfKey{};
    std::unordered_set<std::string> unitKeys{};
  };

  bool FindAll(const std::vector<std::string>& names, std::vector<std::size_t>* places);
  void AddValue(std::size_t place, std::size_t row, std::string* key) const;
  RowLabel ShownValue(std::size_t place, std::size_t row) const;
  void TakeRow(std::size_t stage, std::size_t row);
  StratumReview& StratumOf(std::size_t stage, std::size_t row);
  bool IsNewUnit(std::size_t stage, std::size_t row);

  const Dictionary& fSample;
  const Dictionary& fFrame;
  std::vector<int> fvColumns;
  std::vector<Place> fvPlaces;  // of these
  std::vector<Stage> fvStages;
  std::vector<StageReview> fvReviews;  // of these
  std::string fKey;                    // scratch: of the current row, down to its stratum or unit
};
