#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "backend/svcommon/SVPlanStageSpecs.h"
#include "backend/svcommon/design/Enumerations.h"
#include "host/text/KorvVarName.h"

// A plan as it is written: its own fields and its stages, in the terms of the plan file. The reader fills it,
// the command parser translates it; it lives no longer than that. Stages are numbered from 1.
class SVPlanSpecs {
public:
  SVPlanSpecs();

  // Stage n, null when there is none. Valid until `stages` is changed.
  SVPlanStageSpecs* getStage(int n);
  const SVPlanStageSpecs* getStage(int n) const;
  int numStages() const { return static_cast<int>(stages.size()); }
  bool isSampleMode() const { return mode == kSampleMode; }

  // Each takes a name in any case and keeps its upper-case form. add... says whether the name was new; for a
  // stage that doesn't exist both answer false and keep nothing.
  bool addVariableName(const KorvVarName& name);
  bool addDesignVariableName(const KorvVarName& name);
  bool hasDesignVariableName(const KorvVarName& name) const;
  bool addStageVariableName(int stage, const KorvVarName& name);
  bool hasStageVariableName(int stage, const KorvVarName& name) const;

  std::int32_t mode = kNoMode;  // PlanMode
  std::string file;
  KorvVarName weight;          // the final sampling weight
  KorvVarName previousWeight;  // the weight of an earlier sampling
  std::int32_t srsEstimator = kSamplingWor;
  std::int32_t printOption = kPrintPlan;
  KorvVarName mosVariable;   // the measure of size, which only the first stage can have
  bool mosFromData = false;  // it is the number of cases
  double mosMin = 0.0;       // bounds of it; not positive means none
  double mosMax = 0.0;
  std::int32_t estimation = kSamplingDefault;
  std::set<KorvVarName> allVariableNames;     // upper-case names of all that the plan names so far
  std::set<KorvVarName> designVariableNames;  // upper-case names of all strata and cluster variables
  std::vector<SVPlanStageSpecs> stages;
};
