#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "backend/svcommon/design/Enumerations.h"
#include "host/command/VarCatList.h"
#include "host/text/VariableNames.h"

// One stage of a plan as it is written: names, not yet looked up in any file. A plain record that the reader
// fills; an output variable with an empty name isn't asked for.
struct SVPlanStageSpecs {
  SVPlanStageSpecs();

  std::int32_t stageNumber = 0;  // as the plan says it; the stage's place in the plan is what counts
  std::string label;
  std::vector<KorvVarName> strataVariables;
  std::vector<KorvVarName> clusterVariables;
  std::int32_t type = kSamplingNoValue;  // SamplingType

  std::int32_t paramKind = kParamNone;        // ParamKind: size, rate, population size or probability
  std::int32_t paramSource = kParamNotGiven;  // ParamSource: which of the next three holds it
  double paramValue = 0.0;
  KorvVarName paramVariable;
  VarCatList paramMatrix;
  double minSize = 0.0;  // bounds of a stratum's sample size when a rate is given; not positive means none
  double maxSize = 0.0;

  KorvVarName inclProbName;
  KorvVarName cumWeightName;
  KorvVarName indexName;
  KorvVarName popSizeName;
  KorvVarName sampSizeName;
  KorvVarName rateName;
  KorvVarName weightName;

  std::set<KorvVarName> designVariableNames;  // upper-case names of this stage's cluster variables
};

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
