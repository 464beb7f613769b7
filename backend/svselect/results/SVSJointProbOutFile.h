#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/model/KORV_Case.h"
#include "host/numeric/Obs.h"
#include "host/write/UserOutputCaseFile.h"
#include "model_components/surveyplans/common/SVSOutJointProbs.h"

class IndependentDataStore;
class KORV_DataSource;
class SVSInputAdapter;
class SVSValidSpecs;

// SVSJointProbOutFile writes the joint inclusion probabilities of the first stage to a data file, for later
// variance estimates. Its variables: the strata and cluster variables of the first stage as they stand in the
// active file, where none has the name of a new one; Unit_No_, the number of the unit within its stratum from
// 1; Joint_Prob_1_, Joint_Prob_2_ and so on. A stratum with n selected units has n cases, which hold its n by
// n matrix in the first n probabilities; the others are missing.
//
// Ownership:  owns the output file; borrows everything else.
// Failures:   a file that can't be opened or written has been told by a message. The state is then
//             MCSV::kJointFailed and nothing leads out of it.
// Cost:       nothing is allocated for a row.
class SVSJointProbOutFile : public MCSV::SVSOutJointProbs {
public:
  SVSJointProbOutFile(const SVSValidSpecs* validSpecs, const SVSInputAdapter* inputAdapter,
                      const KORV_DataSource* dataSource);
  // Closes the file if that is still to be done.
  ~SVSJointProbOutFile() override;
  SVSJointProbOutFile(const SVSJointProbOutFile&) = delete;
  SVSJointProbOutFile& operator=(const SVSJointProbOutFile&) = delete;

  int Open(int maxJointVars) override;
  // REQUIRES: 1 <= nJProbVars <= maxJointVars; a code for each strata variable; the stratum before has got
  // all its rows.
  int StartStratum(int nJProbVars, const std::vector<std::int32_t>& vStrataVals) override;
  // REQUIRES: a code for each cluster variable, and nJProbVars probabilities.
  int WriteRow(const std::vector<std::int32_t>& clusterValues,
               const std::vector<double>& jointProbs) override;
  // REQUIRES: the last stratum has got all its rows.
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
  int fMaxNJPVars = 0;                         // probabilities of a row
  int fNJProbVars = 0;                         // those that the present stratum uses; also its rows
  int fRecordCount = 0;                        // rows of the present stratum so far
  int fTotalRows = 0;
  std::vector<std::int32_t> fStrataVars;  // dictionary indices
  std::vector<std::int32_t> fClusterVars;
  int fNKeyVars = 0;  // strata and cluster variables; the column of Unit_No_
  std::vector<OBS> fCaseCells;
  std::unique_ptr<KORV_Case> fpCase;  // over fCaseCells; null until the file is open
  int fState = MCSV::kJointCreated;
};
