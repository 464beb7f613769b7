#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "backend/svcommon/SVParserMessage.h"
#include "backend/svcommon/design/DesignStage.h"
#include "host/model/Dictionary.h"
#include "host/model/ObsVecMap.h"
#include "host/numeric/Obs.h"
#include "host/text/VariableNames.h"

class CommandSpec;
class KORV_DataSource;
class KORV_TokenSequence;
class ParamObj;
class SubComObj;
class SVPlanSpecs;
struct SVPlanStageSpecs;
class SVSValidSpecs;
class UserCaseFileSpec;

// SVSParser turns the tokens of one SVSELECT command into filled specifications: it holds the grammar of the
// command, reads the plan that the command names, and ties the plan's names to the active file's dictionary.
//
// Use:        construct, call Parse() once, keep until the run has ended.
// Ownership:  owns the design stages and tables, to which the specifications keep pointers; borrows the rest.
// Errors:     told at once through `messages`. What Parse() answers is for the caller's sake; the host's
//             error flag is what stops a run, since some checks go on after a failure.
class SVSParser {
public:
  SVSParser(const KORV_TokenSequence& tokens, SVSValidSpecs* specs, KORV_DataSource* dataSource);
  ~SVSParser();

  // Reads command and plan. True when the specifications are complete.
  bool Parse();

private:
  // The tables of a stage; the specifications and the adapters read them to the end of the run.
  struct MatrixTable {
    std::vector<std::int32_t> indices;  // dictionary indices of the table's variables
    std::vector<KORV_Format> formats;   // one a variable
    std::unique_ptr<ObsVecMap> map;     // key to number
  };

  // The subcommands.
  bool ReadCommand();
  bool WalkSubcommands(const CommandSpec& command);
  bool ReadSubcommand(const SubComObj& subcommand);
  bool RunHandler(const std::string& name);
  bool ReadPlan();
  bool ReadCriteria();
  bool ReadClassMissing();
  bool ReadData();
  bool ReadSampleFile();
  bool ReadJointProb();
  bool ReadSelectRule();
  bool ReadPrint();

  // Their parameters.
  bool ReadStages(const ParamObj& parameter);
  bool ReadSeed(const ParamObj& parameter);
  bool ReadFlags(const char* subcommand, const char* first, std::int64_t& seenFirst, const char* second,
                 std::int64_t& seenSecond);
  bool ReadOnlyFile(const char* keyword, const char* subcommand, std::string& value, bool& isLiteral);
  bool ReadResolvedFile(const char* keyword, const char* subcommand, bool (*canUse)(const std::string&),
                        std::string& file);
  bool ReadFileValue(const ParamObj& parameter, const char* subcommand, std::string& value, bool& isLiteral);
  enum class Step { kGood, kFailedGoOn, kFailedStop };
  Step ReadSampleFileParameter(const ParamObj& parameter);
  Step ReadOutFile(const ParamObj& parameter);
  Step ReadKeep(const ParamObj& parameter);
  Step ReadDrop(const ParamObj& parameter);
  template <class IsRefused>
  bool CheckNames(const std::vector<KorvVarName>& names, std::set<std::string>& accepted,
                  std::vector<std::int32_t>& indices, const IsRefused& isRefused);
  bool CheckKeep(const std::vector<KorvVarName>& names);
  bool CheckDrop(const std::vector<KorvVarName>& names);
  bool IsBareKeyword(const ParamObj& parameter);
  bool TestCaseFile(const UserCaseFileSpec& file, const std::string& value);
  bool CheckOutputFiles();
  void LeaveSplitAndWeight();

  // The plan.
  bool CheckPlan();
  bool CheckGlobalPlan();
  bool CheckSelectStages();
  bool CheckJointProbFile(const SVPlanStageSpecs& stage);
  bool CheckExistingOutputs();
  bool AddStage(const SVPlanStageSpecs& stageSpecs);
  bool TranslateStage(const SVPlanStageSpecs& stageSpecs, DesignStage& stage, MatrixTable& table);
  bool TranslateParameter(const SVPlanStageSpecs& stageSpecs, DesignStage& stage);
  bool StandInForPreviousWeight(const SVPlanStageSpecs& stageSpecs);
  bool RequestOutputs(const SVPlanStageSpecs& stageSpecs, DesignStage& stage);
  bool CheckDesignVariables(const std::vector<KorvVarName>& names, std::vector<std::int32_t>& indices);
  bool CheckVariable(const KorvVarName& name, std::int32_t& index, bool isOutput);
  bool ReadMatrix(const SVPlanStageSpecs& stageSpecs, MatrixTable& table);
  bool ConvertMatrixRow(const std::vector<std::int32_t>& indices, const std::vector<std::string>& cells,
                        int row, std::vector<OBS>& key, std::vector<KORV_Format>& formats);
  bool MakeDefaultJointProbFile();
  bool InSelectedRange() const;

  // The dictionary index of `name`, -1 when there is none; an error is told unless the variable is optional.
  std::int32_t FindVariable(const std::string& name, bool isOptional);
  // The name of the current subcommand for a message, null while the plan is checked.
  const char* SubcommandForMessage() const;

  const KORV_TokenSequence& tokens;
  SVPlanSpecs* plan = nullptr;  // set from the plan's reading to the end of Parse()
  SVSValidSpecs* specs;         // borrowed, never null
  KORV_DataSource* dataSource;  // borrowed, never null: the active file's dictionary
  SVParserMessage messages;
  std::string planFile;           // after CheckFileRef
  std::string sampleFile;         // as written
  std::string jointProbFile;      // as written, or the default name
  std::string selectRuleFile;     // after CheckFileRef
  std::int64_t currentStage = 0;  // 0 for the plan as a whole
  std::int64_t stageCount = 0;
  const SubComObj* currentSubcommand = nullptr;
  std::string currentParameter;  // what messages name as the parameter

  std::int64_t seenPlan = 0, seenCriteria = 0, seenClassMissing = 0, seenData = 0, seenSampleFile = 0,
               seenJointProb = 0, seenSelectRule = 0, seenPrint = 0;
  std::int64_t seenStages = 0, seenSeed = 0, seenExclude = 0, seenInclude = 0, seenRenameVars = 0,
               seenPresorted = 0, seenOutFile = 0, seenKeep = 0, seenDrop = 0, seenSelection = 0, seenCps = 0;

  std::vector<std::int32_t> keepIndices;
  std::vector<std::int32_t> dropIndices;
  std::vector<std::int32_t> selectStages;  // ascending without gaps
  std::vector<std::unique_ptr<DesignStage>> designStages;
  std::vector<std::unique_ptr<MatrixTable>>
      matrixTables;                     // one a stage; without a map where there is no table
  std::set<std::string> variableNames;  // upper-case names of all strata and cluster variables of all stages
  std::set<std::string> keepNames;      // upper-case names in KEEP
  std::set<std::string> dropNames;      // upper-case names in DROP
  bool dropAll = false;
  std::vector<std::string> existingOutputs;  // plan output variables that the dictionary holds already
};
