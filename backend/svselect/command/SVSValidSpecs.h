#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "backend/svcommon/adapters/SVPlanValidSpecs.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "host/files/UserCaseFileSpec.h"
#include "host/text/VariableNames.h"

// SVSValidSpecs is what the command and the plan have settled, in terms of the active file's dictionary. The
// parser fills it, and everything that runs afterwards reads it.
//
// Two languages meet here. The parser speaks in dictionary indices: stratum = variable 3. The computation
// speaks in slots of a record: stratum = slot 0. Validate() assigns the slots, once, and builds the settings
// of the computation in terms of them; the record layer uses the same assignment to fill the records.
//
// The slots are assigned in the order of first use, stage by stage: strata, clusters, then the variable or
// table of the rate or size; after the stages the previous weight, the measure of size and the case id. A
// variable that is used again in the same role keeps its slot. A plan with stratum `region`, cluster `school`
// and measure of size `pupils` that draws four schools in each region makes records of
//
//   slot 0  code of region     slot 1  code of school     slot 2  pupils     slot 3  case id
//
// Use:        the parser calls the setters; then Validate() once; read-only from then on.
// Ownership:  owns the settings of the computation; borrows the lists, which live as long as the parser.
// Threads:    const methods may run in parallel.
// Failures:   none. The parser has checked everything that a user may write; a precondition that is broken is
//             a fault of the program, and asserted.
//
// Invariants after Validate():
//   (1) CompSettings() is null exactly if there is no stage.
//   (2) an index of CompSettings() is a slot, an index read from this object a dictionary index.
class SVSValidSpecs : public SVPlanValidSpecs {
public:
  SVSValidSpecs();
  ~SVSValidSpecs() override;

  // Lays out the record and builds the settings of the computation.
  void Validate() override;

  // --- set by the parser
  void SetFinalWeight(const KorvVarName& name, std::int32_t wgtVar);  // REQUIRES: wgtVar >= -1
  void SetPreviousWeight(std::int32_t wgtVar);                        // REQUIRES: wgtVar >= 0
  void SetMosVariable(std::int32_t mosVar);                           // REQUIRES: mosVar >= 0
  void SetMosFromData(bool fromData) { fbMOSFromData = fromData; }
  // REQUIRES: not negative. Without assertions, a negative value is ignored.
  void SetMosMin(double mosMin);
  void SetMosMax(double mosMax);
  // REQUIRES: the lists aren't null.
  void SetKeepList(const std::vector<std::int32_t>* keepList);
  void SetDropList(const std::vector<std::int32_t>* dropList);
  void SetSelectStages(const std::vector<std::int32_t>* selectStages);
  void SetDropAll(bool dropAll) { fbDropAll = dropAll; }
  // A value of 0 or below asks for a seed from the clock, which is read at each call.
  void SetSeed(std::int32_t value);
  void SetDataOptions(bool renameVars, bool preSorted);
  void SetPrintOptions(bool selection, bool cps);
  void SetClassMissingExclude(bool exclude) { fbClassMissingExclude = exclude; }
  void SetSampleFile(const std::string& name, bool isLiteral) { fSampleFile.Init(name, isLiteral, true); }
  void SetJointProbFile(const std::string& name, bool isLiteral) {
    fJointProbFile.Init(name, isLiteral, true);
  }
  void SetSelectRuleFile(const std::string& name) { fSelectRuleFile = name; }
  void SetExactDesign(bool exact) { fbExactDesign = exact; }
  void SetStrict(bool strict) { fbStrict = strict; }
  // A JSON plan is drawn strictly whatever the session says, see Strictness; texts about it have its words.
  void SetJsonPlan() { fbJsonPlan = true; }
  void SetCheckOnly(bool checkOnly) { fbCheckOnly = checkOnly; }

  // --- reads
  const KorvVarName& FinalWeightName() const { return fWgtFinalName; }
  std::int32_t PreviousWeightVar() const { return fPrevWeightVar; }
  std::int32_t MosVar() const { return fMOSVar; }
  bool MosFromData() const { return fbMOSFromData; }
  double MosMin() const { return fMOSMin; }
  double MosMax() const { return fMOSMax; }
  // Null when there is no list; the counts are then 0.
  const std::vector<std::int32_t>* KeepList() const { return fpKeepList; }
  const std::vector<std::int32_t>* DropList() const { return fpDropList; }
  const std::vector<std::int32_t>* SelectStages() const { return fpSelectStages; }
  int KeepCount() const;
  int DropCount() const;
  int SelectStageCount() const;
  bool DropAll() const { return fbDropAll; }
  std::int32_t Seed() const { return fSeed; }  // in force
  bool SeedNotGiven() const { return fSeedRequested < 1; }
  bool RenameVars() const { return fbRenameVars; }
  bool PreSorted() const { return fbPreSorted; }
  bool PrintSelection() const { return fbPrintSelection; }
  bool PrintCPS() const { return fbPrintCPS; }
  bool ClassMissingExclude() const { return fbClassMissingExclude; }
  UserCaseFileSpec& SampleFile() { return fSampleFile; }
  const UserCaseFileSpec& SampleFile() const { return fSampleFile; }
  UserCaseFileSpec& JointProbFile() { return fJointProbFile; }
  const UserCaseFileSpec& JointProbFile() const { return fJointProbFile; }
  const std::string& SelectRuleFile() const { return fSelectRuleFile; }
  // Null before Validate(), and after it without a stage.
  SVSCompSettings* CompSettings() { return fpCompSettings.get(); }
  const SVSCompSettings* CompSettings() const { return fpCompSettings.get(); }
  const std::vector<std::int32_t>& DesignVars() const { return fDesignVars; }
  bool ExactDesign() const { return fbExactDesign; }
  bool Strict() const { return fbStrict || fbJsonPlan; }
  bool IsJsonPlan() const { return fbJsonPlan; }
  bool CheckOnly() const { return fbCheckOnly; }
  // Slots of the text variables that units are ordered by, by dictionary index.
  const SlotMap& TextSlots() const { return fTextSlots; }
  // The largest number of variables that the run can add to the active file.
  unsigned MaxObsAdded() const;

private:
  // Parts of Validate(). `*next` is the first free slot; each part counts it up for the slots that it
  // assigns.
  void AddDesignVars(const DesignStage& stage, bool isFirst, VariableRole role, std::int32_t* next);
  void AddParameter(const DesignStage& stage, std::int32_t position, std::int32_t* next);
  void AddOrder(const DesignStage& stage, std::int32_t* next);
  void AddRun(std::int32_t* next);
  std::int32_t SlotOf(std::int32_t variable, bool categorical, std::int32_t* next);

  KorvVarName fWgtFinalName;
  std::int32_t fWgtFinalVar = -1;  // dictionary index, -1 if it doesn't exist; carried and never read
  std::int32_t fPrevWeightVar = -1;
  std::int32_t fMOSVar = -1;  // measure of size
  bool fbMOSFromData = false;
  double fMOSMin = -1.0;  // bounds of the measure of size; only a positive one bounds
  double fMOSMax = -1.0;
  const std::vector<std::int32_t>* fpKeepList = nullptr;  // dictionary indices
  const std::vector<std::int32_t>* fpDropList = nullptr;
  bool fbDropAll = false;
  const std::vector<std::int32_t>* fpSelectStages = nullptr;  // stages to draw, ascending without gaps
  std::int32_t fSeedRequested = -1;                           // as the command gave it
  std::int32_t fSeed = -1;
  bool fbRenameVars = false;
  bool fbPreSorted = false;  // carried; no computation depends on it
  bool fbPrintSelection = true;
  bool fbPrintCPS = false;
  bool fbClassMissingExclude = true;
  UserCaseFileSpec fSampleFile;
  UserCaseFileSpec fJointProbFile{FileRole::kJoint};
  std::string fSelectRuleFile;
  std::unique_ptr<SVSCompSettings> fpCompSettings;
  SlotMap fTextSlots;
  std::vector<std::int32_t> fDesignVars;  // all strata and cluster variables, stage by stage, with repeats
  bool fbExactDesign = false;
  bool fbStrict = false;
  bool fbJsonPlan = false;
  bool fbCheckOnly = false;
};
