#pragma once

#include <string>
#include <vector>

#include "host/command/ParserMessage.h"

// SVParserMessage says everything that the parser has to say to the user, one operation a text.
//
// Most messages go out with the group that is in force (a stage of the plan); those about files and about the
// command as a whole go out without one. Names that can be absent are null. Where a text depends on what is
// known, the operation chooses: by which names there are, or by whether a group is in force (the plan is
// being checked) or not (the command is being read).
class SVParserMessage : public ParserMessage {
public:
  // The group of the messages to come: negative for none, 0 for the plan as a whole, else the number of a
  // stage.
  void SetGroup(int group);

  // Files.
  void DefaultJointProbFileAccess(const char* file);
  void InvalidFileName(const char* file);
  void FileAccess(const char* file);
  void FileUsedTwice(const char* file, const char* subcommand, const char* other);

  // The command and its subcommands.
  void NoSubcommands();
  void NoSubcommandInformation();
  void SubcommandEmpty(const char* subcommand);
  void SubcommandRepeated(const char* subcommand);
  void SubcommandRequired(const char* subcommand);
  void SubcommandUnknown(const char* subcommand);
  void SubcommandIgnored(const char* subcommand, const char* parameter, const char* value);
  void SubcommandRequiredBy(const char* subcommand, const char* parameter, const char* value);
  void TooManyParameters(const char* subcommand, int limit);
  void OnlyParameter(const char* parameter, const char* subcommand);
  void ParenthesisNotAllowed(const char* subcommand);

  // Parameters and their values.
  void ParameterInvalid(const char* parameter, const char* subcommand);
  void ParameterRepeated(const char* parameter, const char* subcommand);
  void ParameterRequired(const char* parameter, const char* subcommand);
  void ParameterExcluded(const char* parameter, const char* other, const char* subcommand);
  void ParameterValue(const char* parameter, const char* subcommand, const char* value);
  void ParameterValueType(const char* parameter, const char* subcommand);
  void InvalidIntegerList(const char* parameter, const char* subcommand);
  void InvalidVariableList(const char* parameter, const char* subcommand);
  void KeywordHasValue(const char* keyword);

  // Variables.
  void VariableNameInvalid(const char* name, const char* parameter, const char* subcommand);
  void VariableNotFound(const char* name, const char* parameter, const char* subcommand);
  void VariableNotNumeric(const char* name, const char* parameter, const char* subcommand);
  void VariableRepeated(const char* name, const char* parameter, const char* subcommand);
  void VariableNotFor(const char* name, const char* parameter, const char* other);
  void VariableMustAlsoBe(const char* name, const char* parameter, const char* other);

  // The plan.
  void NoPlanSpecifications();
  void NoStages();
  void NoStageInformation();
  void MatrixValue(const char* variable, const char* value, int row, int column);
  void OutputVariablesRenamed();
  void OutputVariablesExist(const std::vector<std::string>& names);

  // The active file's own settings, which a run leaves aside.
  void NoSplitFile();
  void NoWeight();
};
