#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "host/command/KORV_TokenSequence.h"
#include "host/text/VariableNames.h"

// A parsed command: CommandSpec has subcommands (SubComObj), these have parameters (ParamObj), and these have
// a value of any number of tokens (TokenInfoObj). UniversalParser fills it; the procedure's own parser reads
// it and decides what is allowed. Nothing here issues a message.
//
// Methods in lower case are the interface of the procedure; those in upper case are for UniversalParser.
// Pointers and references to parts are valid as long as the CommandSpec isn't changed.

// Codes of words that can replace a list of variables. The interface fixes the numbers.
inline constexpr int kOperatorNone = 0;
inline constexpr int kOperatorAll = 35;

// A token of a value, reduced to the one question that can be asked of it.
class TokenInfoObj {
public:
  TokenInfoObj(const CommandToken& token);

  // kOperatorAll for the word ALL in any case, otherwise kOperatorNone. A quoted 'ALL' is a text.
  int getOperatorCode() const { return fOperator; }

private:
  int fOperator = kOperatorNone;
};

// ParamObj is a parameter: a bare keyword ("CPS"), or a name with = and a value of zero or more tokens.
//
// The type of a value isn't known here, so the procedure asks for the one that it expects. Each get method
// returns true if the whole value has that form, and otherwise leaves `out` unchanged. The forms overlap:
//
//   value             getLiteral  getString-  getNumber-  getNumber-  getVarList  getToken-
//                                 Generic     Value       List                    List
//   'text'            yes                                                         yes
//   word                          yes                                 yes         yes
//   ALL                           yes                                             yes
//   5                                         yes         yes         yes         yes
//   5 6                                                   yes         yes         yes
//   a b, 5 a                                                          yes         yes
//   a ALL, a 'text'                                                               yes
//   no token
//
// getUpStringGeneric() is getStringGeneric() in upper case. A number is a decimal number with optional sign
// and exponent that a double can hold; any other word, such as 1e999, is just a word. getVarList() doesn't
// check that the words are legal variable names: the procedure has its own message for that.
class ParamObj {
public:
  explicit ParamObj(std::string name) : fName(std::move(name)) {}

  // The keyword in upper case. For a string in place of a keyword, the string as it is, in single quotes: so
  // it can be shown in a message, and never equals a keyword.
  const std::string& getParamName() const { return fName; }

  // True for a bare keyword, without =.
  bool isLeadingToken() const { return fbLeading; }

  bool getLiteral(std::string& out) const;
  bool getStringGeneric(std::string& out) const;
  bool getUpStringGeneric(std::string& out) const;
  bool getNumberValue(double& out) const;
  bool getNumberList(std::vector<double>& out) const;
  bool getVarList(std::vector<KorvVarName>& out) const;
  // A list that getVarList() refuses because it has strings: 'text', a 'text'. A string can be a name that no
  // word can.
  bool getQuotedVarList(std::vector<KorvVarName>& out) const;
  bool getTokenList(std::vector<TokenInfoObj>& out) const;

  void SetHasValue() { fbLeading = false; }
  void AddValue(CommandToken token) { fvValues.push_back(std::move(token)); }

private:
  bool AnyString() const;
  bool TakeNames(std::vector<KorvVarName>& out) const;
  bool IsOne(CommandTokenKind kind) const { return fvValues.size() == 1 && fvValues.front().kind == kind; }

  std::string fName;
  bool fbLeading = true;
  std::vector<CommandToken> fvValues;  // words and strings
};

// SubComObj is a subcommand: a name and its parameters in the order written.
class SubComObj {
public:
  explicit SubComObj(std::string name) : fName(std::move(name)) {}

  // In upper case. Empty for text before the first slash, and for a slash without a name after it.
  const std::string& getSubComName() const { return fName; }

  std::size_t getParamListSize() const { return fvParameters.size(); }
  // Null past the end.
  const ParamObj* getParamObj(std::size_t i) const {
    return i < fvParameters.size() ? &fvParameters[i] : nullptr;
  }

  // How the subcommand was written: "/NAME (parameters)", "/NAME = parameters". The procedure objects to
  // some.
  bool areParenUsed() const { return fbParentheses; }
  bool isEqualUsed() const { return fbEqual; }

  void SetParenUsed() { fbParentheses = true; }
  void SetEqualUsed() { fbEqual = true; }
  // The result is valid until the next call.
  ParamObj& AddParameter(ParamObj parameter) { return fvParameters.emplace_back(std::move(parameter)); }

private:
  std::string fName;
  std::vector<ParamObj> fvParameters;
  bool fbParentheses = false;
  bool fbEqual = false;
};

// CommandSpec is a whole command: its subcommands in the order written, repeated ones included.
class CommandSpec {
public:
  std::size_t getSubComListSize() const { return fvSubcommands.size(); }
  // Null past the end.
  const SubComObj* getSubComObj(std::size_t i) const {
    return i < fvSubcommands.size() ? &fvSubcommands[i] : nullptr;
  }

  void Add(SubComObj subcommand) { fvSubcommands.push_back(std::move(subcommand)); }

private:
  std::vector<SubComObj> fvSubcommands;
};
