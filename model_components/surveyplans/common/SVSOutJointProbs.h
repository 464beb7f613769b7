#pragma once

#include <cstdint>
#include <vector>

namespace MCSV {

// States of a joint probability output. A call out of order leads to kJointFailed, and nothing leads out of
// it.
enum JointProbsState : int {
  kJointCreated = 0,
  kJointOpened = 1,
  kJointStratumStarted = 2,
  kJointRowWritten = 3,
  kJointClosed = 4,
  kJointFailed = 5,
};

// Where the computation sends the joint inclusion probabilities of the first stage. Calls, in this order:
// Open once; for each stratum with selected units StartStratum and exactly nJProbVars times WriteRow; Close.
// All give the state.
class SVSOutJointProbs {
public:
  virtual ~SVSOutJointProbs();

  // `maxJointVars` is the largest number of selected units of any stratum.
  virtual int Open(int maxJointVars) = 0;

  // `nJProbVars` is the number of selected units, `vStrataVals` the codes of the stratum's key.
  virtual int StartStratum(int nJProbVars, const std::vector<std::int32_t>& vStrataVals) = 0;

  // One unit: the codes of its key, and its row of the stratum's matrix, nJProbVars probabilities.
  virtual int WriteRow(const std::vector<std::int32_t>& clusterValues,
                       const std::vector<double>& jointProbs) = 0;

  virtual int Close() = 0;

  // Rows written so far.
  virtual int TotalRows() = 0;
  virtual int State() = 0;
};

}  // namespace MCSV
