#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "backend/svcommon/design/Enumerations.h"
#include "host/command/VarCatList.h"
#include "host/text/KorvVarName.h"

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
