#pragma once

#include <cstdint>
#include <vector>

// The two outputs of the computation, as interfaces: it sends its results here and knows nothing of files,
// tables or messages. Categories travel as codes; the implementation of an output turns a code back into a
// value.

namespace MCSV {

// Results of a summary output. The computation goes on only after kSummaryGoOn; any other value ends the
// present walk over the strata. kSummaryFailed also ends the run.
enum SummaryResult : int { kSummaryGoOn = 0, kSummaryStop = 1, kSummaryFailed = 2 };

// What a stratum was asked for and gave. Sizes count units (or hits, for a method that can select a unit more
// than once); rates are fractions of the stratum's units.
struct SVSDrawnStratum {
  int requestedSize = 0;
  int actualSize = 0;
  double requestedRate = 0.0;
  double actualRate = 0.0;
  int certain = 0;  // of actualSize: units that were taken for certain
};

// SVSOutputSummary receives, for each stage, how many units each stratum was asked for and how many it gave.
//
// Use:        for each drawn stage, in stage order: StartStage(), AddStratum() once per stratum, EndStage().
//             An output that wants no rows answers kSummaryStop to StartStage(); EndStage() is still called.
// Ownership:  borrowed by the computation for the length of a run. Arguments are read during the call only.
// Failures:   kSummaryFailed from any call makes the run end with status 92000. Nothing is thrown.
// Order:      strata arrive in the order of the hash table, which is the order in which they were drawn. An
//             output that shows them sorts them itself.
class SVSOutputSummary {
public:
  virtual ~SVSOutputSummary();

  virtual int StartStage(int stage) = 0;  // its number in the design, from 1

  // `designValues` are the category codes of the stratum's key.
  virtual int AddStratum(const std::vector<std::int32_t>& designValues, const SVSDrawnStratum& drawn) = 0;

  virtual int EndStage() = 0;

  virtual int Status() = 0;  // the result of the last call
};

// States of a joint probability output. A call out of order leads to kJointFailed, which is final.
enum JointProbsState : int {
  kJointCreated = 0,
  kJointOpened = 1,
  kJointStratumStarted = 2,
  kJointRowWritten = 3,
  kJointClosed = 4,
  kJointFailed = 5,
};

// SVSOutJointProbs receives the joint inclusion probabilities of the units selected in the first stage.
//
// Use:        Open() once; for each stratum with selected units StartStratum() and then WriteRow() exactly
//             nJProbVars times; Close(). Each returns the new state.
// Ownership:  borrowed by the computation for the length of a run. Arguments are read during the call only.
// Threads:    called on the thread of the run, whichever threads computed the probabilities.
// Failures:   an output that can't be opened is closed and skipped: the sample is still good. An output that
//             fails later ends the run with status 92012. Nothing is thrown.
// Order:      strata arrive in ascending order of their keys, units in the order of selection.
class SVSOutJointProbs {
public:
  virtual ~SVSOutJointProbs();

  // `maxJointVars` is the largest number of selected units of any stratum, hence the width of the widest row.
  virtual int Open(int maxJointVars) = 0;

  // `nJProbVars` is the number of selected units; `vStrataVals` are the category codes of the stratum's key.
  virtual int StartStratum(int nJProbVars, const std::vector<std::int32_t>& vStrataVals) = 0;

  // One selected unit: the category codes of its key and its row of the stratum's matrix, nJProbVars values.
  virtual int WriteRow(const std::vector<std::int32_t>& clusterValues,
                       const std::vector<double>& jointProbs) = 0;

  virtual int Close() = 0;

  virtual int TotalRows() = 0;  // written so far, over all strata
  virtual int State() = 0;
};

}  // namespace MCSV
