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

// SVSSampleFile delivers the sample: one more pass over the data, in which the component says of each case
// what was decided about it. With a sample file the selected cases go there, once for each selection: the
// copied variables, then those of the plan. Without one the plan's variables are added to the active file,
// where a case that wasn't selected holds missing values. Either way the dictionary tells the design in a
// document, and an older variable gives way to a new one of its name. The pass also feeds the selection rule
// file.
//
// Use:        construct; unless that failed, Write() once.
// Ownership:  owns the sample file; borrows everything else.
// Failures:   a file that can't be opened or written has been told by a message. A record that the component
//             reports an error for isn't in the sample, and nothing is said about it.
// Cost:       a case costs what the component's answer costs, a selected one also its copies; nothing is
//             allocated for a case.
class SVSSampleFile {
public:
  enum State : std::int32_t { kCreated = 0, kDefined = 1, kWritten = 2, kClosed = 3, kFailed = 4 };

  SVSSampleFile(const SVSValidSpecs* validSpecs, ProcedureDataSource* dataSource,
                SVSInputAdapter* inputAdapter);
  // Closes a file that was neither closed nor failed.
  ~SVSSampleFile();
  SVSSampleFile(const SVSSampleFile&) = delete;
  SVSSampleFile& operator=(const SVSSampleFile&) = delete;

  // Defines the variables and makes the pass; gives the final state.
  std::int32_t Write(SVSComponent& component, SVProcDSMultiIter& multiPassIter);

  // The new variables that took the name of an older one, each with the index of that, in the file that
  // `target` becomes.
  const std::map<std::int32_t, std::int32_t>& RenamedVariables(const KORV_DataSource** target) const;

  std::int32_t fState = kCreated;

private:
  class CaseWriter;
  class RuleWriter;

  KORV_DataSource& Target() const;
  void DefineVariables();
  void CopyVariables();
  bool IsLeftOut(const DesignStage& stage) const;
  void AddStageVariables(const DesignStage& stage);
  void AddFinalWeight();
  void MakeVariable(const std::string& name, int decimals, const char* label);
  void SaveDocument();
  void MakePass(SVSComponent& component, SVProcDSMultiIter& multiPassIter);
  int FindRepeatPosition() const;
  void FillNewValues(double finalWeight, std::vector<double>* values) const;

  const SVSValidSpecs* fpValidSpecs;
  ProcedureDataSource* fpDataSource;  // the active file
  UserOutputCaseFile fOutFile;
  IndependentDataStore* fpOutStore = nullptr;  // into fOutFile; null without a sample file
  SVSInputAdapter* fpInputAdapter;
  std::vector<std::int32_t> fKeepColumns;  // dictionary indices of the copied variables, in output order
  // What the new variables hold, in their order.
  std::vector<std::int32_t> fNewKinds;            // OutputKind
  std::vector<std::int32_t> fNewStages;           // kFinalWeightStage for the final weight
  std::vector<std::int32_t> fNewMethods;          // MethodType of the stage
  std::map<std::int32_t, std::int32_t> fRenamed;  // index of a new variable to that of the older one
  std::vector<std::vector<double>> fStageValues;  // scratch: the component's answer for one case
};
