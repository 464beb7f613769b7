#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "host/command/ParamObj.h"

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
