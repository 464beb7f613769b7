#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "host/write/UserOutputCaseFile.h"

class DesignStage;
class IndependentDataStore;
class KORV_DataSource;
class ProcedureDataSource;
class SVProcDSMultiIter;
class SVSComponent;
class SVSInputAdapter;
class SVSValidSpecs;

// SVSSampleFile delivers the sample. Until now a run has only decided about units; nowhere is there a list of
// selected cases. So this class makes one more pass over the data and asks the component about each case.
//
// There are two ways to deliver:
//
//   with a sample file   each selected case is written there, once for each time it was selected: first the
//                        variables copied from the active file (KEEP and DROP), then those of the plan.
//   without one          the plan's variables are added to the active file. A case that wasn't selected has
//                        missing values there.
//
// Either way, an older variable that has the name of a new one is renamed, and a document in the dictionary
// describes the design. The selection rule file is written in the same pass.
//
// Variables are defined before the pass starts, never during it: a store takes no more variables after its
// first case, and the pass should read only the columns that are copied.
//
// Repeats. If the last stage with new variables draws with replacement and asks for its number of selections,
// that variable numbers the copies of a case instead: 1, 2, 3. Without such a variable each case is written
// once, however often it was selected.
//
// Use:        construct; unless that failed, Write() once.
// Ownership:  owns the sample file; borrows everything else.
// Threads:    the thread of the run only.
// Failures:   a file that can't be opened or written has been reported by a message; the state is then
//             kFailed. A record for which the component reports an error isn't in the sample, without any
//             message.
// Cost:       a case costs what the component's answer costs, a selected one also its copies; nothing is
//             allocated for a case. In a pass by blocks only selected cases are looked at.
//
// Invariants: (1) fNewKinds, fNewStages and fNewMethods are parallel: one entry for each new variable.
//             (2) the new variables are the last ones of their file, in that order.
class SVSSampleFile {
public:
  enum State : std::int32_t { kCreated = 0, kDefined = 1, kWritten = 2, kClosed = 3, kFailed = 4 };

  SVSSampleFile(const SVSValidSpecs* validSpecs, ProcedureDataSource* dataSource,
                SVSInputAdapter* inputAdapter);
  // Closes the file unless it was closed or has failed.
  ~SVSSampleFile();
  SVSSampleFile(const SVSSampleFile&) = delete;
  SVSSampleFile& operator=(const SVSSampleFile&) = delete;

  // Defines the variables, makes the pass and closes the file; returns the final state. A second call fails.
  std::int32_t Write(SVSComponent& component, SVProcDSMultiIter& multiPassIter);

  // The new variables that took the name of an older one: index of the new variable to index of the older
  // one, both in `*target`, which is set to the sample file or the active file.
  const std::map<std::int32_t, std::int32_t>& RenamedVariables(const KORV_DataSource** target) const;

  std::int32_t fState = kCreated;

private:
  class CaseWriter;
  class RuleWriter;

  // The variables, in the order of the calls.
  KORV_DataSource& Target() const;
  void DefineVariables();
  void CopyVariables();
  bool IsLeftOut(const DesignStage& stage) const;
  void AddStageVariables(const DesignStage& stage);
  void AddFinalWeight();
  void MakeVariable(const std::string& name, int decimals, const char* label);
  void SaveDocument();
  // The pass.
  void MakePass(SVSComponent& component, SVProcDSMultiIter& multiPassIter);
  template <class TakeCase>
  void WalkBlocks(SVSComponent& component, SVProcDSMultiIter& multiPassIter, const TakeCase& takeCase);
  template <class TakeCase>
  void WalkCases(SVSComponent& component, SVProcDSMultiIter& multiPassIter, const TakeCase& takeCase);
  bool IsWritten(double finalWeight) const;
  int FindRepeatPosition() const;
  void FillNewValues(double finalWeight, std::vector<double>* values) const;

  const SVSValidSpecs* fpValidSpecs;
  ProcedureDataSource* fpDataSource;  // the active file
  UserOutputCaseFile fOutFile;
  IndependentDataStore* fpOutStore = nullptr;  // into fOutFile; null without a sample file
  SVSInputAdapter* fpInputAdapter;
  std::vector<std::int32_t> fKeepColumns;  // dictionary indices of the copied variables, in output order
  // What each new variable holds, in the order of the variables.
  std::vector<std::int32_t> fNewKinds;            // OutputKind
  std::vector<std::int32_t> fNewStages;           // stage number; kFinalWeightStage for the final weight
  std::vector<std::int32_t> fNewMethods;          // MethodType of the stage
  std::map<std::int32_t, std::int32_t> fRenamed;  // see RenamedVariables()
  std::vector<std::vector<double>> fStageValues;  // scratch: the component's answer for one case
};
