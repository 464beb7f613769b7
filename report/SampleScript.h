#pragma once

#include <iosfwd>
#include <string>
#include <vector>

// The R code that loads a sample and describes its design to R's `survey` package, by the variables of the
// sample. docs/GUIDE.md, "Estimates in R", explains the code.

// A column of a data file.
struct ScriptColumn {
  std::string name;
  bool isString = false;
};

// A data file that the script reads.
struct ScriptFile {
  enum class Kind { kCsv, kTsv, kParquet, kNative };

  std::string path;  // from the script's folder; empty if there is no file
  Kind kind = Kind::kCsv;
};

// A stage, by the names that columns of the sample have. An empty name means that the sample has no such
// column.
struct ScriptStage {
  // What an estimate of the variance can rest on.
  enum class Draw {
    kSimple,  // a simple random sample without replacement: numbers of units
    kJoint,   // unequal probabilities: joint probabilities, or an approximation by those of single units
    kOther,   // as if drawn with replacement
  };

  Draw draw = Draw::kOther;
  std::vector<std::string> strata{};    // within the units of the stage before
  std::vector<std::string> clusters{};  // the units; empty if these are the cases
  std::string populationSize{};
  std::string probability{};
  std::string index{};    // of the hits of a unit
  std::string reserve{};  // above 0 for units that aren't in the sample
};

struct SampleScript {
  // Why there is no design; the rest is then empty but for the notes.
  std::string whyNone{};
  std::vector<std::string> notes{};  // what the reader of the script should know of the run

  ScriptFile sample{};
  std::vector<ScriptColumn> columns{};
  std::string weight{};
  std::vector<ScriptStage> stages{};  // from the first of the plan; never empty
  bool fromEarlierSampling = false;   // the weight has that of a sampling that the plan doesn't describe
  bool estimatesAsReplaced = false;   // the plan wants variances as with replacement
  ScriptFile joint{};                 // of the first stage
  bool hasLoneUnit = false;           // a stratum of the first stage has one unit, which isn't certain
  bool areUnitsCases = false;         // each unit of the first stage is one case of the sample
};

// Writes the script. Where the sample lacks what the exact design takes, a simpler one is written, with a
// comment that says what is missing.
void WriteSampleScript(const SampleScript& script, std::ostream& out);
