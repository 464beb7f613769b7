#include "backend/svselect/design/SVSCompSettings.h"

#include <algorithm>

#include "backend/svcommon/design/MethodTable.h"
#include "host/numeric/Fuzzy.h"

namespace {

bool IsPositiveWhole(double value) {
  return value > 0.0 && IsValidInteger(value);
}

// The first fault of one stage of the design, 0 for none.
std::int32_t FaultOfStage(const DesignStage& stage, bool first, bool last) {
  if (!last && stage.clusterCount() == 0) return kStatusNoClusters;
  const std::int32_t estimator = stage.estimatorType();
  if (!first && estimator != kEstimatorNone) return kStatusLateEstimator;
  if (first && estimator != kEstimatorNone && estimator != kEstimatorWr) return kStatusEstimator;
  if (MethodOf(stage.methodType()).twoUnits) return 0;
  switch (stage.inclusionType()) {
    case kInclProbTypeNone:
      return kStatusNoSpec;
    case kRateValue:
      return stage.rateValue() > 0.0 ? 0 : kStatusRateValue;
    case kSizeValue:
      return IsPositiveWhole(stage.sizeValue()) ? 0 : kStatusSizeValue;
    default:
      return 0;
  }
}

}  // namespace

bool SVSCompSettings::AddDesignVar(std::int32_t recordIndex, VariableRole role, std::int32_t stage) {
  if (recordIndex < 0 || TypeOf(recordIndex) != kVarUnspecified) return false;
  DesignStage& owner = FindStage(stage);
  if (role == kRoleStrata) {
    owner.addStrataVariable(recordIndex);
  } else {
    owner.addClusterVariable(recordIndex);
  }
  SetType(recordIndex, kVarCategorical);
  fCatDesignVars.clear();
  for (const DesignStage& s : fDesignStages) {
    for (const auto* list : {&s.strataVariables(), &s.clusterVariables()}) {
      fCatDesignVars.insert(fCatDesignVars.end(), list->begin(), list->end());
    }
  }
  return true;
}

bool SVSCompSettings::AddSpecVar(std::int32_t recordIndex, std::int32_t inclusionType, std::int32_t stage) {
  if (recordIndex < 0 || TypeOf(recordIndex) != kVarUnspecified) return false;
  if (inclusionType == kRateVariable) {
    FindStage(stage).setRateVariable(recordIndex);
    SetType(recordIndex, kVarRate);
  } else if (inclusionType == kSizeVariable) {
    FindStage(stage).setSizeVariable(recordIndex);
    SetType(recordIndex, kVarSize);
  } else {
    return false;
  }
  fContDesignVars.clear();
  for (const DesignStage& s : fDesignStages) {
    for (const std::int32_t variable : {s.rateVariable(), s.sizeVariable()}) {
      if (variable >= 0) fContDesignVars.push_back(variable);
    }
  }
  return true;
}

bool SVSCompSettings::SetSpecValue(double value, std::int32_t inclusionType, std::int32_t stage) {
  if (inclusionType == kRateValue && value > 0.0) {
    FindStage(stage).setRateValue(value);
    return true;
  }
  if (inclusionType == kSizeValue && IsPositiveWhole(value)) {
    FindStage(stage).setSizeValue(value);
    return true;
  }
  return false;
}

bool SVSCompSettings::SetEstimator(std::int32_t estimator, std::int32_t stage) {
  if (stage != 1 || (estimator != kEstimatorNone && estimator != kEstimatorWr)) return false;
  FindStage(stage).setEstimatorType(estimator);
  return true;
}

bool SVSCompSettings::SetMethod(std::int32_t method, std::int32_t stage) {
  DesignStage& owner = FindStage(stage);  // made even for a code that it doesn't take
  if (stage != 1 && !MethodOf(method).equalProbability) return false;
  owner.setMethodType(method);
  return true;
}

DesignStage& SVSCompSettings::FindStage(std::int32_t stage) {
  const auto place = std::find_if(fDesignStages.begin(), fDesignStages.end(),
                                  [stage](const DesignStage& s) { return s.stageNumber() >= stage; });
  if (place != fDesignStages.end() && place->stageNumber() == stage) return *place;
  return *fDesignStages.insert(place, DesignStage(stage));
}

const DesignStage* SVSCompSettings::GetStage(std::int32_t stage) const {
  const auto place = std::find_if(fDesignStages.begin(), fDesignStages.end(),
                                  [stage](const DesignStage& s) { return s.stageNumber() == stage; });
  return place == fDesignStages.end() ? nullptr : &*place;
}

void SVSCompSettings::AddSelectStage(std::int32_t stage) {
  if (std::find(fSelectStages.begin(), fSelectStages.end(), stage) != fSelectStages.end()) return;
  fSelectStages.push_back(stage);
}

std::int32_t SVSCompSettings::StageSpecVar(std::int32_t stage) const {
  const DesignStage* owner = GetStage(stage);
  if (owner == nullptr) return -1;
  if (owner->inclusionType() == kRateVariable) return owner->rateVariable();
  if (owner->inclusionType() == kSizeVariable) return owner->sizeVariable();
  return -1;
}

std::int32_t SVSCompSettings::StageSpecType(std::int32_t stage) const {
  const DesignStage* owner = GetStage(stage);
  return owner == nullptr ? kInclProbTypeNone : owner->inclusionType();
}

void SVSCompSettings::KeyVars(std::int32_t stage, std::vector<std::int32_t>* strataKeyVars,
                              std::vector<std::int32_t>* clusterKeyVars) const {
  strataKeyVars->clear();
  clusterKeyVars->clear();
  for (const DesignStage& s : fDesignStages) {
    if (s.stageNumber() > stage) return;
    const std::vector<std::int32_t>& strata = s.strataVariables();
    const std::vector<std::int32_t>& clusters = s.clusterVariables();
    strataKeyVars->insert(strataKeyVars->end(), strata.begin(), strata.end());
    std::vector<std::int32_t>* target = s.stageNumber() < stage ? strataKeyVars : clusterKeyVars;
    target->insert(target->end(), clusters.begin(), clusters.end());
  }
}

bool SVSCompSettings::JointProbNeeded() const {
  if (fDesignStages.empty()) return false;
  const DesignStage& first = fDesignStages.front();
  return MethodOf(first.methodType()).hasJointProbs && first.estimatorType() != kEstimatorWr;
}

SVStatus SVSCompSettings::Validate() const {
  if (fDesignStages.empty()) return ErrorStatus(kStatusNoStages);
  if (fDesignStages.front().stageNumber() != 1) return ErrorStatus(kStatusFirstStageNumber);
  if (fDesignStages.back().stageNumber() != static_cast<std::int32_t>(fDesignStages.size())) {
    return ErrorStatus(kStatusLastStageNumber);
  }
  for (const DesignStage& stage : fDesignStages) {
    const bool first = &stage == &fDesignStages.front();
    const bool last = &stage == &fDesignStages.back();
    const std::int32_t fault = FaultOfStage(stage, first, last);
    if (fault == 0) continue;
    SVStatus status = ErrorStatus(fault);
    status.StageSlot() = stage.stageNumber();
    return status;
  }
  return SVStatus();
}

// An index may have another use as well, which decides which values are fit for it.
bool SVSCompSettings::SetOrder(const std::vector<DesignStage::OrderKey>& keys, bool isSerpentine,
                               std::int32_t stage) {
  for (const DesignStage::OrderKey& key : keys) {
    if (key.variable < 0) return false;
    SetType(key.variable, static_cast<VariableType>(TypeOf(key.variable)));
  }
  FindStage(stage).setOrder(keys, isSerpentine);
  return true;
}

std::int32_t SVSCompSettings::TypeOf(std::int32_t recordIndex) const {
  const auto index = static_cast<std::size_t>(recordIndex);
  return index < fVariableType.size() ? fVariableType[index] : kVarUnspecified;
}

void SVSCompSettings::SetType(std::int32_t recordIndex, VariableType type) {
  const auto index = static_cast<std::size_t>(recordIndex);
  if (index >= fVariableType.size()) fVariableType.resize(index + 1, kVarUnspecified);
  fVariableType[index] = type;
}

bool SVSCompSettings::ClaimIndex(std::int32_t recordIndex, VariableType type, std::int32_t* field) {
  if (recordIndex < 0 || TypeOf(recordIndex) != kVarUnspecified) return false;
  SetType(recordIndex, type);
  *field = recordIndex;
  return true;
}
