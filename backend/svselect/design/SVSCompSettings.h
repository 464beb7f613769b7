#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "backend/svcommon/design/DesignStage.h"
#include "backend/svselect/design/SVSFindings.h"
#include "model_components/surveyplans/common/SVStatus.h"

class MCStopProcessor;

// SVSCompSettings is a design as a computation needs it: its variables are indices into a record of doubles.
//
// Use:        call the setters, then Validate(), then only read.
// Ownership:  owns its stages; borrows the stop processor.
// Failures:   a setter that takes a stage number creates that stage if it doesn't exist. A setter that can
//             refuse its value returns false and then changes nothing else; Validate() reports the gap that
//             this leaves. Nothing is thrown.
//
// Invariants:
//   (1) DesignStages() ascends by stage number, without repeats.
//   (2) VariableTypes() reaches to every record index set here, so a record of that length can be read at all
//       of them. The case id and the measure of size leave their entry unspecified.
class SVSCompSettings {
public:
  // --- the stages of the design ----------------------------------------------------------------------------
  // A strata or cluster variable. Refused when negative, already one of them, or of another type.
  bool AddDesignVar(std::int32_t recordIndex, VariableRole role, std::int32_t stage);
  // The variable of the stage's rate or size: kRateVariable or kSizeVariable. Refused when negative or taken.
  bool AddSpecVar(std::int32_t recordIndex, std::int32_t inclusionType, std::int32_t stage);
  // A constant: a positive kRateValue or a positive whole kSizeValue.
  bool SetSpecValue(double value, std::int32_t inclusionType, std::int32_t stage);
  // Bounds of the size that a rate asks for, positive.
  void SetMinSize(double value, std::int32_t stage) { FindStage(stage).setRateMinSize(value); }
  void SetMaxSize(double value, std::int32_t stage) { FindStage(stage).setRateMaxSize(value); }
  void SetCertaintyShare(double share, std::int32_t stage) { FindStage(stage).setCertaintyShare(share); }
  // The units' order before the draw; `variable` of a key is a record index. Refused when one is negative.
  bool SetOrder(const std::vector<DesignStage::OrderKey>& keys, bool isSerpentine, std::int32_t stage);
  // Only stage 1 takes an estimator, and only none or with replacement.
  bool SetEstimator(std::int32_t estimator, std::int32_t stage);
  // Stage 1 takes any code, later stages the methods of equal probability.
  bool SetMethod(std::int32_t method, std::int32_t stage);
  void AddRequestedOutput(std::int32_t kind, std::int32_t stage, const std::string& name) {
    FindStage(stage).requestOutput(kind, name);
  }
  // The stage with that number. A missing one is created with initial values, in order. The reference is
  // valid until the next stage is created.
  DesignStage& FindStage(std::int32_t stage);

  // --- the run ---------------------------------------------------------------------------------------------
  void AddSelectStage(std::int32_t stage);  // appends it unless it is there
  bool SetCaseIdVar(std::int32_t recordIndex) {
    return ClaimIndex(recordIndex, kVarUnspecified, &fCaseIdVar);
  }
  bool SetWeightVar(std::int32_t recordIndex) { return ClaimIndex(recordIndex, kVarWeight, &fWeightVar); }
  bool SetMOSVar(std::int32_t recordIndex) { return ClaimIndex(recordIndex, kVarUnspecified, &fMOSVar); }
  void SetMOSFromData(bool fromData) { fbMOSFromData = fromData; }
  void SetMOSMin(double value) { fMOSMin = value; }
  void SetMOSMax(double value) { fMOSMax = value; }
  void SetSeed(std::int32_t seed) { fSeed = seed; }
  void SetPreSorted(bool preSorted) { fbPreSorted = preSorted; }
  void SetNumThreads(std::int32_t threads) { fNumThreads = threads; }
  void SetStopProcessor(MCStopProcessor* stopProcessor) { fpStopProcessor = stopProcessor; }
  void SetFinalWeightName(std::string name) { fWgtFinalName = std::move(name); }
  void SetExactDesign(bool exact) { fbExactDesign = exact; }
  void SetStrictness(Strictness strictness) { fStrictness = strictness; }
  // Ranks of the codes 1, 2, 3, ... of a text variable by its record index, known when a pass is over. Without
  // them codes are their own ranks.
  void SetTextRanks(std::function<std::vector<std::int32_t>(std::int32_t)> ranks) {
    fTextRanks = std::move(ranks);
  }
  void SetCheckOnly(bool checkOnly) { fbCheckOnly = checkOnly; }

  // --- reads -----------------------------------------------------------------------------------------------
  const std::vector<DesignStage>& DesignStages() const { return fDesignStages; }
  // The stage with that number, or null; valid until the next stage is created.
  const DesignStage* GetStage(std::int32_t stage) const;
  const std::vector<std::int32_t>& CatDesignVars() const { return fCatDesignVars; }
  const std::vector<std::int32_t>& ContDesignVars() const { return fContDesignVars; }
  std::int32_t CaseIdVar() const { return fCaseIdVar; }
  const std::string& FinalWeightName() const { return fWgtFinalName; }
  std::int32_t WeightVar() const { return fWeightVar; }
  std::int32_t MOSVar() const { return fMOSVar; }
  bool MOSFromData() const { return fbMOSFromData; }
  double MOSMin() const { return fMOSMin; }
  double MOSMax() const { return fMOSMax; }
  const std::vector<std::int32_t>& SelectStages() const { return fSelectStages; }
  std::int32_t FirstStage() const { return fSelectStages.empty() ? 0 : fSelectStages.front(); }
  std::int32_t LastStage() const { return fSelectStages.empty() ? 0 : fSelectStages.back(); }
  std::int32_t Seed() const { return fSeed; }
  bool PreSorted() const { return fbPreSorted; }
  const std::vector<std::int32_t>& VariableTypes() const { return fVariableType; }
  std::int32_t NumThreads() const { return fNumThreads; }
  MCStopProcessor* StopProcessor() const { return fpStopProcessor; }
  bool ExactDesign() const { return fbExactDesign; }
  Strictness HowStrict() const { return fStrictness; }
  const std::function<std::vector<std::int32_t>(std::int32_t)>& TextRanks() const { return fTextRanks; }
  bool CheckOnly() const { return fbCheckOnly; }

  // The variable that holds the stage's rate or size; -1 if no variable does, or the stage doesn't exist.
  std::int32_t StageSpecVar(std::int32_t stage) const;
  // The tag of the stage; kInclProbTypeNone if the stage doesn't exist.
  std::int32_t StageSpecType(std::int32_t stage) const;

  // The variables that form the keys of `stage`. The key of a stratum has all strata and cluster variables of
  // the earlier stages and the stage's own strata variables, stage by stage. The key of a unit has the
  // stage's cluster variables.
  void KeyVars(std::int32_t stage, std::vector<std::int32_t>* strataKeyVars,
               std::vector<std::int32_t>* clusterKeyVars) const;

  // The first stage's method has joint probabilities, and its estimator doesn't do without them.
  bool JointProbNeeded() const;

  // Whether these settings describe a run. Errors: 92021 to 92023 for the list of stages; 92025 to 92030 for
  // the first faulty stage, whose number is then in the stage slot.
  SVStatus Validate() const;

private:
  std::int32_t TypeOf(std::int32_t recordIndex) const;
  void SetType(std::int32_t recordIndex, VariableType type);
  bool ClaimIndex(std::int32_t recordIndex, VariableType type, std::int32_t* field);

  std::vector<DesignStage> fDesignStages;
  std::vector<std::int32_t> fCatDesignVars;   // stage by stage, strata before clusters
  std::vector<std::int32_t> fContDesignVars;  // rate and size variables in stage order
  std::int32_t fCaseIdVar = -1;
  std::string fWgtFinalName;
  std::int32_t fWeightVar = -1;  // of an earlier sampling; below 0 means none
  std::int32_t fMOSVar = -1;     // measure of size
  bool fbMOSFromData = false;    // a unit's size is its number of records
  double fMOSMin = -1.0;         // bounds of the measures of size; 0 or less: no bound
  double fMOSMax = -1.0;
  std::vector<std::int32_t> fSelectStages;  // in the order given
  std::int32_t fSeed = -1;
  bool fbPreSorted = false;                 // carried, never read: the computation takes records in any order
  std::vector<std::int32_t> fVariableType;  // VariableType by record index
  std::int32_t fNumThreads = 1;             // for the joint probabilities
  MCStopProcessor* fpStopProcessor = nullptr;  // borrowed, may be null
  // The draws of Brewer, Sampford and PPS_WOR have exactly the inclusion probabilities that they state.
  bool fbExactDesign = false;
  Strictness fStrictness = Strictness::kLenient;
  std::function<std::vector<std::int32_t>(std::int32_t)> fTextRanks;
  bool fbCheckOnly = false;  // the first selected stage is tabulated and reviewed, and nothing is drawn
};
