#pragma once

#include <string>
#include <vector>

#include "host/command/ParserMessage.h"

// SVParserMessage holds every message of the command parser, one function per text, so that the parser itself
// contains no wording and all wordings can be read in one place.
//
// Use:        SetCommandName() and SetProcedureTitle() once, SetGroup() whenever the parser turns to another
//             part of the plan, then one call per message. Each message is shown at once; all but the
//             warnings named below raise the host's error flag, which ends the run.
// Group:      the part of the plan that a message is about. Most messages start with it ("[Plan
// stage 1...]").
//             Those about a single file and about the command as a whole never do, nor does any message while
//             the command is read, when no group is set.
// Arguments:  a name that may be unknown is null or empty. Some texts have several forms, and the function
//             chooses by which names are known, or by whether a group is set.
// Warnings:   SubcommandIgnored(), OutputVariablesRenamed(), NoSplitFile(), NoWeight().
//
// The wordings are fixed, including "occured", the three dots, and the numbers of the placeholders, which are
// not always in the order of the text.
class SVParserMessage : public ParserMessage {
public:
  // Sets the group for the messages from now on: negative for none, 0 for the plan as a whole, else a stage.
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

  // Settings of the active file that a run ignores.
  void NoSplitFile();
  void NoWeight();
};
