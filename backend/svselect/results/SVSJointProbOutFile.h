#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/model/KORV_Case.h"
#include "host/numeric/Obs.h"
#include "host/write/UserOutputCaseFile.h"
#include "model_components/surveyplans/common/AbstractOutputs.h"

class IndependentDataStore;
class KORV_DataSource;
class SVSInputAdapter;
class SVSValidSpecs;

// SVSJointProbOutFile writes the joint inclusion probabilities of the first stage to a data file, which
// variance estimation needs later.
//
// The file has one case for each selected unit. Its variables are
//
//   the strata and cluster variables of the first stage, copied from the active file with their dictionary
//   entries; one that has the name of a variable below is renamed;
//   Unit_No_, the number of the unit within its stratum, from 1;
//   Joint_Prob_1_, Joint_Prob_2_, ... up to the size of the largest stratum sample.
//
// The cases of a stratum with n selected units are the rows of its n by n matrix, in the first n
// probabilities; the others are missing. Row i has the inclusion probability of unit i in column i.
//
// Use:        as SVSOutJointProbs says: Open(), then StartStratum() and its rows for each stratum, Close().
// Ownership:  owns the output file; borrows everything else.
// Threads:    the thread of the run only.
// Failures:   a file that can't be opened or written has been reported by a message. The state is then
//             kJointFailed for good.
// Cost:       nothing is allocated for a row.
//
// Invariants: (1) fpCase and fpOutStore aren't null from kJointOpened to kJointClosed.
//             (2) fRecordCount <= fNJProbVars <= fMaxNJPVars.
class SVSJointProbOutFile : public MCSV::SVSOutJointProbs {
public:
  SVSJointProbOutFile(const SVSValidSpecs* validSpecs, const SVSInputAdapter* inputAdapter,
                      const KORV_DataSource* dataSource);
  // Closes the file unless that was done.
  ~SVSJointProbOutFile() override;
  SVSJointProbOutFile(const SVSJointProbOutFile&) = delete;
  SVSJointProbOutFile& operator=(const SVSJointProbOutFile&) = delete;

  int Open(int maxJointVars) override;
  // REQUIRES: 1 <= nJProbVars <= maxJointVars; a code for each strata variable; all rows of the stratum
  // before were written.
  int StartStratum(int nJProbVars, const std::vector<std::int32_t>& vStrataVals) override;
  // REQUIRES: a code for each cluster variable, and nJProbVars probabilities.
  int WriteRow(const std::vector<std::int32_t>& clusterValues,
               const std::vector<double>& jointProbs) override;
  // REQUIRES: all rows of the last stratum were written.
  int Close() override;
  int TotalRows() override { return fTotalRows; }
  int State() override { return fState; }

private:
  void DefineVariables();
  void CopyVariables(const std::vector<std::int32_t>& variables);
  void AddNewVariable(const std::string& name, int decimals, int level);
  void SetKey(int column, std::int32_t variable, std::int32_t code);

  const SVSValidSpecs* fpValidSpecs;
  const SVSInputAdapter* fpInputAdapter;
  const KORV_DataSource* fpDataSource;  // the active file
  UserOutputCaseFile fOutFile;
  IndependentDataStore* fpOutStore = nullptr;  // into fOutFile
  int fMaxNJPVars = 0;                         // probabilities in a row
  int fNJProbVars = 0;                         // selected units of the current stratum: its rows and columns
  int fRecordCount = 0;                        // rows of the current stratum so far
  int fTotalRows = 0;
  std::vector<std::int32_t> fStrataVars;  // dictionary indices
  std::vector<std::int32_t> fClusterVars;
  int fNKeyVars = 0;  // number of strata and cluster variables, hence the column of Unit_No_
  std::vector<OBS> fCaseCells;
  std::unique_ptr<KORV_Case> fpCase;  // over fCaseCells; null until the file is open
  int fState = MCSV::kJointCreated;
};
