#include "backend/svselect/command/SVSValidSpecs.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <new>

#include "host/environment/Clocks.h"
#include "host/environment/MCStopProcessor.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/MCMathFun.h"

namespace {

// Spreads the clock's fraction of a second over the whole range of seeds, so that two runs a microsecond
// apart have seeds that are far apart. The number itself is arbitrary.
constexpr double kSeedsPerSecond = 397204094000.0;

// At least 1: 0 would mean "not given".
std::int32_t SeedFromClock() {
  const double seed = std::fmod(SCLOCK() * kSeedsPerSecond, MCCommonMath::MCPower::gMachineMaxInt);
  return TruncateToInt32(std::max(seed, 1.0));
}

// No list and an empty list count the same.
int CountOf(const std::vector<std::int32_t>* list) {
  return list == nullptr ? 0 : static_cast<int>(list->size());
}

}  // namespace

SVSValidSpecs::SVSValidSpecs() = default;

SVSValidSpecs::~SVSValidSpecs() = default;

// --- setters and counts ----------------------------------------------------------------------------------

void SVSValidSpecs::SetFinalWeight(const KorvVarName& name, std::int32_t wgtVar) {
  assert(wgtVar >= -1);
  fWgtFinalName = name;
  fWgtFinalVar = wgtVar;
}

void SVSValidSpecs::SetPreviousWeight(std::int32_t wgtVar) {
  assert(wgtVar >= 0);
  fPrevWeightVar = wgtVar;
}

void SVSValidSpecs::SetMosVariable(std::int32_t mosVar) {
  assert(mosVar >= 0);
  fMOSVar = mosVar;
}

void SVSValidSpecs::SetMosMin(double mosMin) {
  assert(mosMin >= 0.0);
  if (mosMin >= 0.0) fMOSMin = mosMin;
}

void SVSValidSpecs::SetMosMax(double mosMax) {
  assert(mosMax >= 0.0);
  if (mosMax >= 0.0) fMOSMax = mosMax;
}

void SVSValidSpecs::SetKeepList(const std::vector<std::int32_t>* keepList) {
  assert(keepList != nullptr);
  fpKeepList = keepList;
}

void SVSValidSpecs::SetDropList(const std::vector<std::int32_t>* dropList) {
  assert(dropList != nullptr);
  fpDropList = dropList;
}

void SVSValidSpecs::SetSelectStages(const std::vector<std::int32_t>* selectStages) {
  assert(selectStages != nullptr);
  fpSelectStages = selectStages;
}

// Both numbers are kept: the notes show the seed in force, so that a run with a seed from the clock can be
// repeated.
void SVSValidSpecs::SetSeed(std::int32_t value) {
  fSeedRequested = value;
  fSeed = value > 0 ? value : SeedFromClock();
}

void SVSValidSpecs::SetDataOptions(bool renameVars, bool preSorted) {
  fbRenameVars = renameVars;
  fbPreSorted = preSorted;
}

void SVSValidSpecs::SetPrintOptions(bool selection, bool cps) {
  fbPrintSelection = selection;
  fbPrintCPS = cps;
}

int SVSValidSpecs::KeepCount() const {
  return CountOf(fpKeepList);
}

int SVSValidSpecs::DropCount() const {
  return CountOf(fpDropList);
}

int SVSValidSpecs::SelectStageCount() const {
  return CountOf(fpSelectStages);
}

// Counts the outputs of all stages. Those of stages that aren't drawn were never requested.
unsigned SVSValidSpecs::MaxObsAdded() const {
  unsigned count = fWgtFinalName.IsEmpty() ? 0 : 1;
  for (const DesignStage* stage : fDesignStages) count += static_cast<unsigned>(stage->requestedCount());
  return count;
}

// --- the layout of the record ----------------------------------------------------------------------------

// Setters of the settings return false when they refuse something; those results are thrown away, because
// SVSComponent validates the settings as a whole. A stage exists in the settings from the first setter that
// names it, so SetMethod(), which is called for every stage, also makes the stages that have nothing else.
void SVSValidSpecs::Validate() {
  fpCompSettings.reset();
  if (fDesignStages.empty()) return;
  fpCompSettings = std::make_unique<SVSCompSettings>();
  fDictionaryVars.clear();
  std::int32_t next = 0;
  for (std::int32_t position = 0; position < StageCount(); ++position) {
    const DesignStage& stage = *fDesignStages[static_cast<std::size_t>(position)];
    const std::int32_t number = stage.stageNumber();
    AddDesignVars(stage, position == 0, kRoleStrata, &next);
    AddDesignVars(stage, position == 0, kRoleCluster, &next);
    AddParameter(stage, position, &next);
    if (stage.rateMinSize() > 0.0) fpCompSettings->SetMinSize(stage.rateMinSize(), number);
    if (stage.rateMaxSize() > 0.0) fpCompSettings->SetMaxSize(stage.rateMaxSize(), number);
    if (!stage.order().empty()) AddOrder(stage, &next);
    if (stage.certaintyShare() > 0.0) fpCompSettings->SetCertaintyShare(stage.certaintyShare(), number);
    for (const std::int32_t kind : stage.requestedOutputs()) {
      fpCompSettings->AddRequestedOutput(kind, number, stage.outputName(kind));
    }
    if (number == 1) fpCompSettings->SetEstimator(stage.estimatorType(), number);
    fpCompSettings->SetMethod(stage.methodType(), number);
  }
  AddRun(&next);
}

// The slot of a variable. A new one is `*next`, which is then counted up.
std::int32_t SVSValidSpecs::SlotOf(std::int32_t variable, bool categorical, std::int32_t* next) {
  const std::int32_t slot = RecordIndex(variable, *next, categorical);
  if (slot == *next) {
    ++*next;
    fDictionaryVars.push_back(variable);
  }
  return slot;
}

// Strata and cluster variables of one stage. Those of the first stage are kept separately, by their
// dictionary indices: they are the leading columns of the joint probability file.
void SVSValidSpecs::AddDesignVars(const DesignStage& stage, bool isFirst, VariableRole role,
                                  std::int32_t* next) {
  const bool isStrata = role == kRoleStrata;
  for (const std::int32_t variable : isStrata ? stage.strataVariables() : stage.clusterVariables()) {
    const std::int32_t slot = SlotOf(variable, true, next);
    if (isFirst) (isStrata ? fFirstStageStrata : fFirstStageClusters).push_back(variable);
    fDesignVars.push_back(variable);
    // A variable of an earlier stage is refused, on purpose: its code is in the key of this stage already.
    fpCompSettings->AddDesignVar(slot, role, stage.stageNumber());
  }
}

// The stage's rate or size. The record layer fills a table's slot for each case, so for the computation a
// table is a variable.
void SVSValidSpecs::AddParameter(const DesignStage& stage, std::int32_t position, std::int32_t* next) {
  const std::int32_t number = stage.stageNumber();
  const std::int32_t type = stage.inclusionType();
  std::int32_t slot = -1;
  switch (type) {
    case kRateValue:
      fpCompSettings->SetSpecValue(stage.rateValue(), type, number);
      return;
    case kSizeValue:
      fpCompSettings->SetSpecValue(stage.sizeValue(), type, number);
      return;
    case kRateVariable:
    case kSizeVariable:
      slot = SlotOf(type == kRateVariable ? stage.rateVariable() : stage.sizeVariable(), false, next);
      break;
    case kRateMatrix:
    case kSizeMatrix:
      slot = SVPlanValidSpecs::MatrixRecordIndex(position, *next);
      fMatrixStages.push_back(number);
      if (slot == *next) {
        ++*next;
        fDictionaryVars.push_back(-1);
      }
      break;
    default:
      return;
  }
  const bool isRate = type == kRateVariable || type == kRateMatrix;
  (isRate ? fRateRecordIndices : fSizeRecordIndices).push_back(slot);
  fpCompSettings->AddSpecVar(slot, isRate ? kRateVariable : kSizeVariable, number);
}

// A number that has another use as well shares its slot.
void SVSValidSpecs::AddOrder(const DesignStage& stage, std::int32_t* next) {
  std::vector<DesignStage::OrderKey> keys = stage.order();
  for (DesignStage::OrderKey& key : keys) {
    const std::int32_t variable = key.variable;
    if (!key.isText) {
      key.variable = SlotOf(variable, false, next);
      continue;
    }
    const auto [found, isNew] = fTextSlots.try_emplace(variable, *next);
    key.variable = found->second;
    if (!isNew) continue;
    ++*next;
    fDictionaryVars.push_back(variable);
  }
  fpCompSettings->SetOrder(keys, stage.isSerpentine(), stage.stageNumber());
}

// What concerns the run as a whole. A previous weight or measure of size that is also a rate or size shares
// the slot. Without memory for a stop processor the run can't be cancelled, which is no reason to stop it.
void SVSValidSpecs::AddRun(std::int32_t* next) {
  fpCompSettings->SetFinalWeightName(fWgtFinalName.Text());
  if (fPrevWeightVar >= 0) fpCompSettings->SetWeightVar(SlotOf(fPrevWeightVar, false, next));
  if (fMOSVar >= 0) fpCompSettings->SetMOSVar(SlotOf(fMOSVar, false, next));
  if (fbMOSFromData) fpCompSettings->SetMOSFromData(true);
  if (fMOSMin > 0.0) fpCompSettings->SetMOSMin(fMOSMin);
  if (fMOSMax > 0.0) fpCompSettings->SetMOSMax(fMOSMax);
  if (fpSelectStages != nullptr) {
    for (const std::int32_t stage : *fpSelectStages) fpCompSettings->AddSelectStage(stage);
  }
  fpCompSettings->SetSeed(fSeed);
  fpCompSettings->SetPreSorted(fbPreSorted);
  fpCompSettings->SetCaseIdVar(SVPlanValidSpecs::CaseIdRecordIndex(next));
  fpCompSettings->SetNumThreads(fMaxThreads);
  fpStopProcessor.reset(new (std::nothrow) MCStopProcessor(0.0));
  fpCompSettings->SetStopProcessor(fpStopProcessor.get());
  fpCompSettings->SetExactDesign(fbExactDesign);
  const Strictness ofPlan = fbJsonPlan ? Strictness::kPlan : Strictness::kLenient;
  fpCompSettings->SetStrictness(fbStrict ? Strictness::kAll : ofPlan);
  fpCompSettings->SetCheckOnly(fbCheckOnly);
}
