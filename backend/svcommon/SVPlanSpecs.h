#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "backend/svcommon/design/Enumerations.h"
#include "host/command/VarCatList.h"
#include "host/text/VariableNames.h"

// A plan as it is written in its file: names that haven't been looked up in any data, and numbers. These are
// plain records without rules of their own. PlanXmlReader fills and checks them, SVSParser translates them
// into a design on the active file's dictionary, PlanInWords() describes them.
//
// Fields hold enumerations as integers, since a plan can hold a code that has no name.

// A variable that the units of each stratum are ordered by before the draw.
struct SVPlanOrderKey {
  KorvVarName variable;
  bool isDescending = false;

  bool operator==(const SVPlanOrderKey&) const = default;
};

// One stage of a plan.
struct SVPlanStageSpecs {
  SVPlanStageSpecs();

  std::int32_t stageNumber = 0;  // as written; carried and never used: the position in `stages` is the number
  std::string label;
  std::vector<KorvVarName> strataVariables;
  std::vector<KorvVarName> clusterVariables;
  std::int32_t type = kSamplingNoValue;  // SamplingType

  // The quantity that the stage gives. Two methods always draw two units and need none.
  std::int32_t paramKind = kParamNone;        // ParamKind: size, rate, population size or probability
  std::int32_t paramSource = kParamNotGiven;  // ParamSource: which of the next three fields holds it
  double paramValue = 0.0;
  KorvVarName paramVariable;
  VarCatList paramMatrix;
  double minSize = 0.0;  // bounds of a stratum's sample size if a rate is given; not positive means none
  double maxSize = 0.0;

  std::vector<SVPlanOrderKey> order;  // empty for the order of the cases
  bool isSerpentine = false;          // every second run is reversed

  // Units with n x >= c X are taken for certain, c being this share; 0 where none are.
  double certainty = 0.0;

  // Output variables; an empty name means that the variable isn't wanted.
  KorvVarName inclProbName;
  KorvVarName cumWeightName;
  KorvVarName indexName;
  KorvVarName popSizeName;
  KorvVarName sampSizeName;
  KorvVarName rateName;
  KorvVarName weightName;
  KorvVarName certainName;

  std::set<KorvVarName> designVariableNames;  // upper-case names of this stage's cluster variables
};

// A plan: what concerns the design as a whole, and its stages, numbered from 1.
//
// Use:        fill by PlanXmlReader, then read. It lives only until the command parser has translated it.
// Ownership:  owns everything. Pointers from getStage() are valid until `stages` changes.
class SVPlanSpecs {
public:
  SVPlanSpecs();

  // Stage n; null if the plan has no such stage.
  SVPlanStageSpecs* getStage(int n);
  const SVPlanStageSpecs* getStage(int n) const;
  int numStages() const { return static_cast<int>(stages.size()); }
  bool isSampleMode() const { return mode == kSampleMode; }

  // The sets of names, which are compared without regard to case. add...() returns whether the name was new.
  // For a stage that doesn't exist, both return false and nothing is kept.
  bool addVariableName(const KorvVarName& name);
  bool addDesignVariableName(const KorvVarName& name);
  bool hasDesignVariableName(const KorvVarName& name) const;
  bool addStageVariableName(int stage, const KorvVarName& name);
  bool hasStageVariableName(int stage, const KorvVarName& name) const;

  std::int32_t mode = kNoMode;  // PlanMode
  bool isJson = false;  // the form of the file: a JSON plan is drawn strictly, and messages use its words
  std::string file;
  std::string title;                         // carried; in a plan in XML, the first Annotation of its Header
  std::vector<std::string> tableFiles;       // the tables that were read from files of their own
  KorvVarName weight;                        // the final sampling weight
  KorvVarName previousWeight;                // the weight of an earlier sampling
  std::int32_t srsEstimator = kSamplingWor;  // of an analysis plan
  std::int32_t printOption = kPrintPlan;     // carried and never read
  KorvVarName mosVariable;                   // the measure of size; only the first stage can draw by size
  bool mosFromData = false;                  // the measure of size is a unit's number of cases
  double mosMin = 0.0;                       // bounds of the measure of size; not positive means none
  double mosMax = 0.0;
  std::int32_t estimation = kSamplingDefault;
  std::set<KorvVarName> allVariableNames;     // upper-case; all names that the plan has used so far
  std::set<KorvVarName> designVariableNames;  // upper-case; all strata and cluster variables so far
  std::vector<SVPlanStageSpecs> stages;
};
