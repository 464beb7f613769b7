#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "host/command/KORV_TokenSequence.h"
#include "host/text/VariableNames.h"

inline constexpr int kOperatorNone = 0;
inline constexpr int kOperatorAll = 35;

// One token of a parameter's value.
class TokenInfoObj {
public:
  TokenInfoObj(const CommandToken& token);

  // kOperatorAll for the word ALL in any case, kOperatorNone for every other token, a quoted 'ALL' among
  // them.
  int getOperatorCode() const { return fOperator; }

private:
  int fOperator = kOperatorNone;
};

// ParamObj is one parameter of a subcommand: a bare keyword, or a name with = and a value or list of values.
//
// Each reader answers whether the whole value has its form, and leaves `out` alone when it hasn't:
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
//   none
//
// A number is a decimal number with an optional sign and exponent, within the range of a double; whatever
// other word is a word. getVarList() hands over words, legal names or not.
class ParamObj {
public:
  explicit ParamObj(std::string name) : fName(std::move(name)) {}

  // The keyword in upper case. A string where a keyword is due stands here in its quotes.
  const std::string& getParamName() const { return fName; }

  // The keyword stands alone, without = and value.
  bool isLeadingToken() const { return fbLeading; }

  bool getLiteral(std::string& out) const;
  bool getStringGeneric(std::string& out) const;
  bool getUpStringGeneric(std::string& out) const;
  bool getNumberValue(double& out) const;
  bool getNumberList(std::vector<double>& out) const;
  bool getVarList(std::vector<KorvVarName>& out) const;
  bool getTokenList(std::vector<TokenInfoObj>& out) const;

  void SetHasValue() { fbLeading = false; }
  void AddValue(CommandToken token) { fvValues.push_back(std::move(token)); }

private:
  bool IsOne(CommandTokenKind kind) const { return fvValues.size() == 1 && fvValues.front().kind == kind; }

  std::string fName;
  bool fbLeading = true;
  std::vector<CommandToken> fvValues;  // words and strings
};

// SubComObj is one subcommand with its parameters in order.
class SubComObj {
public:
  explicit SubComObj(std::string name) : fName(std::move(name)) {}

  // In upper case. Empty for what stands before the first slash, and where no word follows a slash.
  const std::string& getSubComName() const { return fName; }

  std::size_t getParamListSize() const { return fvParameters.size(); }
  // Null past the end.
  const ParamObj* getParamObj(std::size_t i) const {
    return i < fvParameters.size() ? &fvParameters[i] : nullptr;
  }

  // The parameters were written in parentheses.
  bool areParenUsed() const { return fbParentheses; }
  // An = stood between the subcommand's name and its parameters.
  bool isEqualUsed() const { return fbEqual; }

  void SetParenUsed() { fbParentheses = true; }
  void SetEqualUsed() { fbEqual = true; }
  // Valid until the next call.
  ParamObj& AddParameter(ParamObj parameter) { return fvParameters.emplace_back(std::move(parameter)); }

private:
  std::string fName;
  std::vector<ParamObj> fvParameters;
  bool fbParentheses = false;
  bool fbEqual = false;
};

// CommandSpec is a command cut into its subcommands, in the order of the command.
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
