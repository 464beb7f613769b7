#include "backend/svcommon/SVParserMessage.h"

#include "host/command/ParserMessage.h"
#include "host/output/BpComposite.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"

namespace {

// Messages that never show a group bypass the base class, which would add it.
void IssueDirect(const char* text, int level) {
  BpError(BpString(text, true), kShowInMessage, level);
}

void IssueDirect(const char* text, const char* item, int level) {
  BpComposite composite(text, true);
  composite.Add(BpString(item, false));
  composite.Finish();
  BpError(composite, kShowInMessage, level);
}

// The forms of a message about a variable. Which one is used depends on whether the parameter and the
// subcommand are known: both while a command is read, only the parameter while a plan is checked.
struct VariableTexts {
  const char* withBoth;
  const char* withSubcommand;
  const char* withParameter;
  const char* withNeither;  // the command's name takes the second place
};

constexpr VariableTexts kNotFound = {
    "Variable ^1 for parameter ^2 of subcommand ^3 is not found in the dictionary...",
    "Variable ^1 for subcommand ^2 is not found in the dictionary...",
    "Variable ^1 for parameter ^2 is not found in the dictionary...",
    "Variable ^1 for variable list ^2 is not found in the dictionary...",
};
constexpr VariableTexts kNotNumeric = {
    "Variable ^1 for parameter ^2 of subcommand ^3 is not numeric...",
    "Variable ^1 for subcommand ^2 is not numeric...",
    "Variable ^1 for parameter ^2 is not numeric...",
    "Variable ^1 for variable list ^2 is not numeric...",
};

void IssueAboutVariable(SVParserMessage& messages, const VariableTexts& texts, const char* name,
                        const char* parameter, const char* subcommand) {
  if (messages.IsName(parameter) && messages.IsName(subcommand)) {
    messages.GenericError(texts.withBoth, name, parameter, subcommand);
  } else if (messages.IsName(subcommand)) {
    messages.GenericError(texts.withSubcommand, name, subcommand);
  } else if (messages.IsName(parameter)) {
    messages.GenericError(texts.withParameter, name, parameter);
  } else {
    messages.GenericError(texts.withNeither, name, messages.GetCommandName().c_str());
  }
}

}  // namespace

// ^1 in the text of a group is its index, which the base class fills in. The separator is the word between
// the groups of a command in other hosts; this one never shows it.
void SVParserMessage::SetGroup(int group) {
  SetGroupIndex(group);
  if (group < 0) {
    SetGroupMsgText("");
  } else if (group == 0) {
    SetGroupMsgText("Global plan stage...");
  } else {
    SetGroupMsgText("Plan stage ^1...");
  }
  SetGroupSepName(group > 0 ? "DESIGN" : "");
}

void SVParserMessage::DefaultJointProbFileAccess(const char* file) {
  IssueDirect("Default joint probability file ^1 cannot be accessed...", file, kErrorLevel);
}

void SVParserMessage::InvalidFileName(const char* file) {
  IssueDirect("^1 is not a valid file name...", file, kErrorLevel);
}

void SVParserMessage::FileAccess(const char* file) {
  IssueDirect("File ^1 cannot be accessed...", file, kErrorLevel);
}

void SVParserMessage::FileUsedTwice(const char* file, const char* subcommand, const char* other) {
  GenericError("File ^1 cannot be used for both ^2 and ^3...", file, subcommand, other);
}

void SVParserMessage::NoSubcommands() {
  IssueDirect("The command doesn't have any subcommand...", kErrorLevel);
}

void SVParserMessage::NoSubcommandInformation() {
  GenericError("The parser cannot get information for the current subcommand...");
}

void SVParserMessage::SubcommandEmpty(const char* subcommand) {
  GenericError("Subcommand ^1 is empty...", subcommand);
}

void SVParserMessage::SubcommandRepeated(const char* subcommand) {
  GenericError("Subcommand ^1 already called...", subcommand);
}

void SVParserMessage::SubcommandRequired(const char* subcommand) {
  GenericError("Subcommand ^1 is required...", subcommand);
}

void SVParserMessage::SubcommandUnknown(const char* subcommand) {
  GenericError("Subcommand ^1 is not recognized...", subcommand);
}

void SVParserMessage::SubcommandIgnored(const char* subcommand, const char* parameter, const char* value) {
  GenericWarning("Subcommand ^1 is ignored when parameter ^2 has value ^3...", subcommand, parameter, value);
}

void SVParserMessage::SubcommandRequiredBy(const char* subcommand, const char* parameter, const char* value) {
  GenericError("Subcommand ^1 is required when parameter ^2 has value ^3...", subcommand, parameter, value);
}

void SVParserMessage::TooManyParameters(const char* subcommand, int limit) {
  GenericError("Subcommand ^1 cannot have more than ^2 parameters...", subcommand,
               IntegerToString(limit).c_str());
}

// The text has the subcommand first; the arguments come in the order of all other messages.
void SVParserMessage::OnlyParameter(const char* parameter, const char* subcommand) {
  GenericError("Subcommand ^2 can have only parameter ^1...", parameter, subcommand);
}

void SVParserMessage::ParenthesisNotAllowed(const char* subcommand) {
  if (IsName(subcommand)) {
    GenericError("Parenthesis not allowed in subcommand ^1...", subcommand);
  } else {
    GenericError("Parenthesis not allowed in global subcommand...");
  }
}

void SVParserMessage::ParameterInvalid(const char* parameter, const char* subcommand) {
  GenericError("^1 is not a valid parameter for subcommand ^2...", parameter, subcommand);
}

void SVParserMessage::ParameterRepeated(const char* parameter, const char* subcommand) {
  GenericError("Parameter ^1 already occurred in subcommand ^2...", parameter, subcommand);
}

void SVParserMessage::ParameterRequired(const char* parameter, const char* subcommand) {
  GenericError("Parameter ^1 is required in subcommand ^2...", parameter, subcommand);
}

void SVParserMessage::ParameterExcluded(const char* parameter, const char* other, const char* subcommand) {
  GenericError("Parameter ^1 of subcommand ^3 cannot be given with parameter ^2...", parameter, other,
               subcommand);
}

void SVParserMessage::ParameterValue(const char* parameter, const char* subcommand, const char* value) {
  GenericError("Parameter ^1 of subcommand ^2 cannot take value ^3...", parameter, subcommand, value);
}

void SVParserMessage::ParameterValueType(const char* parameter, const char* subcommand) {
  GenericError("Parameter ^1 of subcommand ^2 has incorrect value type...", parameter, subcommand);
}

void SVParserMessage::InvalidIntegerList(const char* parameter, const char* subcommand) {
  GenericError("Parameter ^1 of subcommand ^2 does not have a valid integer list...", parameter, subcommand);
}

void SVParserMessage::InvalidVariableList(const char* parameter, const char* subcommand) {
  GenericError("Parameter ^1 of subcommand ^2 does not have a valid variable list...", parameter, subcommand);
}

void SVParserMessage::KeywordHasValue(const char* keyword) {
  GenericError("Keyword ^1 cannot have a value...", keyword);
}

void SVParserMessage::VariableNameInvalid(const char* name, const char* parameter, const char* subcommand) {
  if (IsName(subcommand)) {
    GenericError("Variable name ^1 for parameter ^2 of subcommand ^3 is not valid...", name, parameter,
                 subcommand);
  } else {
    GenericError("Variable name ^1 for parameter ^2 is not valid...", name, parameter);
  }
}

void SVParserMessage::VariableNotFound(const char* name, const char* parameter, const char* subcommand) {
  IssueAboutVariable(*this, kNotFound, name, parameter, subcommand);
}

void SVParserMessage::VariableNotNumeric(const char* name, const char* parameter, const char* subcommand) {
  IssueAboutVariable(*this, kNotNumeric, name, parameter, subcommand);
}

void SVParserMessage::VariableRepeated(const char* name, const char* parameter, const char* subcommand) {
  if (IsName(subcommand)) {
    GenericError("Variable ^1 for parameter ^2 of subcommand ^3 already occured...", name, parameter,
                 subcommand);
  } else {
    GenericError("Variable ^1 for parameter ^2 already occured...", name, parameter);
  }
}

// While a plan is checked (a group is set) the name is the plan's, and the text says so.
void SVParserMessage::VariableNotFor(const char* name, const char* parameter, const char* other) {
  GenericError(GetGroupIndex() < 0
                   ? "Variable name ^1 for parameter ^2 cannot be used for parameter ^3..."
                   : "Plan variable name ^1 for parameter ^2 cannot be used for parameter ^3...",
               name, parameter, other);
}

void SVParserMessage::VariableMustAlsoBe(const char* name, const char* parameter, const char* other) {
  GenericError("Variable name ^1 for parameter ^2 must also be used for parameter ^3...", name, parameter,
               other);
}

void SVParserMessage::NoPlanSpecifications() {
  IssueDirect("The parser cannot get plan file specifications...", kErrorLevel);
}

void SVParserMessage::NoStages() {
  IssueDirect("The plan doesn't have any stage...", kErrorLevel);
}

void SVParserMessage::NoStageInformation() {
  GenericError("Parser cannot get information for the current stage...");
}

void SVParserMessage::MatrixValue(const char* variable, const char* value, int row, int column) {
  GenericError("MATRIX variable ^1 in column ^4 has value ^2 of invalid type or format in row ^3...",
               variable, value, IntegerToString(row).c_str(), IntegerToString(column).c_str());
}

void SVParserMessage::OutputVariablesRenamed() {
  IssueDirect("Some plan output variables are renamed...", kWarningLevel);
}

// In the pattern, [%1:, ^1:]1 is a list: the first item after %1, each further one after a comma.
void SVParserMessage::OutputVariablesExist(const std::vector<std::string>& names) {
  BpComposite composite("Plan output variables already exist [%1:, ^1:]1", true);
  composite.Sublist();
  for (const std::string& name : names) composite.Add(BpString(name, false));
  composite.EndSublist();
  composite.Finish();
  BpError(composite, kShowInMessage, kErrorLevel);
}

void SVParserMessage::NoSplitFile() {
  IssueDirect("No split file ...", kWarningLevel);
}
void SVParserMessage::NoWeight() {
  IssueDirect("No KORV weight ...", kWarningLevel);
}
