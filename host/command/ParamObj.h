#pragma once

#include <string>
#include <utility>
#include <vector>

#include "host/command/CommandToken.h"
#include "host/command/TokenInfoObj.h"
#include "host/text/KorvVarName.h"

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
