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
class VarCatList;
class PlanSource;
class SVPlanSpecs;
struct SVPlanStageSpecs;
class SVSValidSpecs;
class UserCaseFileSpec;

// The command parser. It works in three steps:
//
//   1. UniversalParser (the host's) cuts the tokens into subcommands and parameters. It knows no keywords.
//   2. ReadCommand() takes the subcommands in the order of the command and reads each one's parameters. The
//      grammar is:
//
//        SVSELECT
//          /PLAN FILE=file                                                     required
//          [/CRITERIA [STAGES=n [n ...]] [SEED={n | RANDOM}]]
//          [/CLASSMISSING EXCLUDE | INCLUDE]
//          [/DATA [RENAMEVARS] [PRESORTED]]
//          [/SAMPLEFILE OUTFILE=file [KEEP=names] [DROP={names | ALL}]]
//          [/JOINTPROB OUTFILE=file]
//          [/SELECTRULE OUTFILE=file]
//          [/PRINT [SELECTION] [CPS]]
//
//      For example:
//
//        SVSELECT /PLAN FILE='schools.xml' /CRITERIA STAGES=1 SEED=20
//          /SAMPLEFILE OUTFILE='sample.csv' KEEP=region school
//
//      Subcommands may come in any order, each once. A subcommand that is present must not be empty. A
//      keyword that isn't given is off, so /CLASSMISSING and /PRINT replace the defaults by exactly what they
//      name.
//   3. The plan that the command names is read, and CheckPlan() translates it: names become indices of the
//      active file's dictionary, each stage of the plan becomes a DesignStage, category texts of a table
//      become values of its variables.
//
// Groups of messages. While the command is read, messages have no group. Step 3 sets group 0 for the plan as
// a whole and then the number of the stage. The group moves on before the result of a stage is tested, and
// isn't reset: whatever is checked after the last stage is reported under a stage that doesn't exist. Users
// know the messages that way.
//
// When a fault stops the parser. Most faults end it at once. In SAMPLEFILE, a bad file or a bad name lets the
// remaining parameters be read, so that several mistakes are reported together, and the result is that of the
// last parameter. Parse() can therefore return true after an error; the host's error flag is what stops a
// run.
//
// The seen... counters count what was read successfully (subcommands: what was read at all) and serve to find
// repeats. They are also how later checks ask whether a subcommand or parameter was given.
//
// The source is in four parts: SVSParser.cpp has the order of things, SVSParserSubcommands.cpp the
// parameters, SVSParserPlan.cpp the plan, SVSParserMatrix.cpp the tables.

// SVSParser turns the tokens of one SVSELECT command into filled specifications.
//
// Use:        construct, call Parse() once, keep until the run has ended.
// Ownership:  owns the design stages, tables and lists, to which the specifications keep pointers; borrows
//             tokens, specifications and data source.
// Threads:    the thread of the run only.
// Failures:   each fault is shown at once through `messages`, which raises the host's error flag.
class SVSParser {
public:
  SVSParser(const KORV_TokenSequence& tokens, SVSValidSpecs* specs, KORV_DataSource* dataSource);
  ~SVSParser();

  // Reads command and plan. False if the specifications are incomplete. The caller has to test the host's
  // error flag as well.
  bool Parse();

private:
  // The table of a stage that gives its rate or size by category. The record layer reads it during the run.
  struct MatrixTable {
    std::vector<std::int32_t> indices;  // dictionary indices of the table's variables
    std::vector<KORV_Format> formats;   // one for each variable
    std::unique_ptr<ObsVecMap> map;     // key to number; null for a stage without a table
  };

  // The subcommands. A function that returns bool has shown an error when it returns false, unless its
  // comment says otherwise.
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

  // Their parameters. ReadFlags() and ReadOnlyFile() serve several subcommands of the same form.
  bool ReadStages(const ParamObj& parameter);
  bool ReadSeed(const ParamObj& parameter);
  bool ReadFlags(const char* subcommand, const char* first, std::int64_t& seenFirst, const char* second,
                 std::int64_t& seenSecond);
  bool ReadOnlyFile(const char* keyword, const char* subcommand, std::string& value, bool& isLiteral);
  bool ReadResolvedFile(const char* keyword, const char* subcommand, bool (*canUse)(const std::string&),
                        std::string& file);
  bool ReadFileValue(const ParamObj& parameter, const char* subcommand, std::string& value, bool& isLiteral);
  // What a parameter of SAMPLEFILE came to: in kFailedGoOn the next parameter is read nevertheless.
  enum class Step { kGood, kFailedGoOn, kFailedStop };
  Step ReadSampleFileParameter(const ParamObj& parameter);
  Step ReadOutFile(const ParamObj& parameter);
  bool ReadNames(const ParamObj& parameter, std::vector<KorvVarName>& names);
  Step ReadKeep(const ParamObj& parameter);
  Step ReadDrop(const ParamObj& parameter);
  template <class IsRefused>
  bool CheckNames(const std::vector<KorvVarName>& names, std::set<std::string>& accepted,
                  std::vector<std::int32_t>& indices, const IsRefused& isRefused);
  bool CheckKeep(const std::vector<KorvVarName>& names);
  bool CheckDrop(const std::vector<KorvVarName>& names);
  bool IsBareKeyword(const ParamObj& parameter);
  bool TestCaseFile(const UserCaseFileSpec& file, const std::string& value);

  // After the plan: no file may have two purposes, and the active file's own settings are switched off.
  bool CheckOutputFiles();
  void LeaveSplitAndWeight();

  // Remarks on the plan, beside the messages.
  static void Remark(const std::vector<std::string>& lines);
  void RemarkOnName(const KorvVarName& name, const std::string& what);
  void RemarkOnMissing(const KorvVarName& name);
  void RemarkOnOutputs();
  bool RefusesPlan();

  // A table that the plan has in a file of its own can't be an output of this run.
  bool ClaimTables();

  // The plan, in the order of the checks: the plan as a whole, the joint probability file, each stage, and
  // last the output variables that exist already.
  bool CheckPlan();
  bool CheckGlobalPlan();
  bool CheckSelectStages();
  bool CheckJointProbFile(const SVPlanStageSpecs& stage);
  bool CheckExistingOutputs();
  // AddStage() keeps what TranslateStage() fills. The functions between here and ReadMatrix() each translate
  // one part of a stage.
  bool AddStage(const SVPlanStageSpecs& stageSpecs);
  bool TranslateStage(const SVPlanStageSpecs& stageSpecs, DesignStage& stage, MatrixTable& table);
  bool TranslateOrder(const SVPlanStageSpecs& stageSpecs, DesignStage& stage);
  bool TranslateParameter(const SVPlanStageSpecs& stageSpecs, DesignStage& stage);
  bool StandInForPreviousWeight(const SVPlanStageSpecs& stageSpecs);
  bool RequestOutputs(const SVPlanStageSpecs& stageSpecs, DesignStage& stage);
  bool CheckDesignVariables(const std::vector<KorvVarName>& names, std::vector<std::int32_t>& indices);
  bool CheckVariable(const KorvVarName& name, std::int32_t& index, bool isOutput);
  // The table, in SVSParserMatrix.cpp. `row` counts from 1, as in the message.
  bool ReadMatrix(const SVPlanStageSpecs& stageSpecs, MatrixTable& table);
  bool FillMatrix(const VarCatList& matrix, MatrixTable& table);
  std::string LineAboutRow(int row, const std::string& what) const;
  bool ConvertMatrixRow(const std::vector<std::int32_t>& indices, const std::vector<std::string>& cells,
                        int row, std::vector<OBS>& key, std::vector<KORV_Format>& formats);
  bool MakeDefaultJointProbFile();
  bool InSelectedRange() const;

  // The dictionary index of `name`, -1 if there is no such variable, which is an error unless `isOptional`.
  // An impossible name is always an error.
  std::int32_t FindVariable(const std::string& name, bool isOptional);
  // The name of the current subcommand for a message; null while the plan is checked.
  const char* SubcommandForMessage() const;

  // Given at construction, and the state of the parse.
  const KORV_TokenSequence& tokens;
  SVPlanSpecs* plan = nullptr;  // borrowed, as is its reader; set while Parse() has a plan
  PlanSource* planReader = nullptr;
  SVSValidSpecs* specs;         // borrowed, never null
  KORV_DataSource* dataSource;  // borrowed, never null: the active file's dictionary
  SVParserMessage messages;
  std::string planFile;           // resolved by CheckFileRef()
  std::string sampleFile;         // as the user wrote it
  std::string jointProbFile;      // as the user wrote it, or the default name
  std::string selectRuleFile;     // resolved by CheckFileRef()
  std::int64_t currentStage = 0;  // of the plan, from 1; 0 for the plan as a whole
  std::int64_t stageCount = 0;
  const SubComObj* currentSubcommand = nullptr;  // null unless the command is being read
  std::string currentParameter;                  // the parameter that messages name

  // How often each subcommand and each parameter was read: 0 or 1 until a repeat is refused.
  std::int64_t seenPlan = 0, seenCriteria = 0, seenClassMissing = 0, seenData = 0, seenSampleFile = 0,
               seenJointProb = 0, seenSelectRule = 0, seenPrint = 0;
  std::int64_t seenStages = 0, seenSeed = 0, seenExclude = 0, seenInclude = 0, seenRenameVars = 0,
               seenPresorted = 0, seenOutFile = 0, seenKeep = 0, seenDrop = 0, seenSelection = 0, seenCps = 0;
  bool areNamesQuoted = false;  // some of the list of KEEP or DROP that is being read

  // Results that the specifications point to: they must not move or change after Parse().
  std::vector<std::int32_t> keepIndices;  // dictionary indices, in the order of the command
  std::vector<std::int32_t> dropIndices;
  std::vector<std::int32_t> selectStages;  // ascending without gaps
  std::vector<std::unique_ptr<DesignStage>> designStages;
  std::vector<std::unique_ptr<MatrixTable>> matrixTables;  // parallel to designStages
  // Names for the checks against each other.
  std::set<std::string> variableNames;  // upper case; strata and cluster variables of all stages so far
  std::set<std::string> keepNames;      // upper case; names in KEEP
  std::set<std::string> dropNames;      // upper case; names in DROP
  bool dropAll = false;
  std::vector<std::string> existingOutputs;  // output variables of the plan that the active file already has
};
