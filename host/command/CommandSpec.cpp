#include "host/command/CommandSpec.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "host/text/VariableNames.h"

namespace {

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

// The number that the whole word represents; nothing for strings and for words that aren't numbers. Not
// ParseNumber() of host/model: that is for data, and takes outer blanks and "1e3.".
std::optional<double> NumberOf(const CommandToken& token) {
  if (token.kind != CommandTokenKind::Word) return std::nullopt;
  const char* first = token.text.data();
  const char* const last = first + token.text.size();
  const bool isSigned = first != last && (*first == '+' || *first == '-');
  const char* digits = isSigned ? first + 1 : first;
  // from_chars would also take "inf", "nan" and, after the plus that is skipped here, a minus.
  if (digits == last || !(IsDigit(*digits) || *digits == '.')) return std::nullopt;
  if (*first == '+') ++first;
  double number = 0.0;
  const auto [end, error] = std::from_chars(first, last, number);
  if (error != std::errc() || end != last) return std::nullopt;
  return number;
}

}  // namespace

TokenInfoObj::TokenInfoObj(const CommandToken& token) {
  if (token.kind == CommandTokenKind::Word && token.text.size() == 3 && GetUpperString(token.text) == "ALL") {
    fOperator = kOperatorAll;
  }
}

bool ParamObj::getLiteral(std::string& out) const {
  if (!IsOne(CommandTokenKind::String)) return false;
  out = fvValues.front().text;
  return true;
}

bool ParamObj::getStringGeneric(std::string& out) const {
  if (!IsOne(CommandTokenKind::Word) || NumberOf(fvValues.front())) return false;
  out = fvValues.front().text;
  return true;
}

bool ParamObj::getUpStringGeneric(std::string& out) const {
  std::string word;
  if (!getStringGeneric(word)) return false;
  out = GetUpperString(word);
  return true;
}

bool ParamObj::getNumberValue(double& out) const {
  if (fvValues.size() != 1) return false;
  const std::optional<double> number = NumberOf(fvValues.front());
  if (number) out = *number;
  return number.has_value();
}

bool ParamObj::getNumberList(std::vector<double>& out) const {
  if (fvValues.empty()) return false;
  std::vector<double> numbers;
  for (const CommandToken& value : fvValues) {
    const std::optional<double> number = NumberOf(value);
    if (!number) return false;
    numbers.push_back(*number);
  }
  out = std::move(numbers);
  return true;
}

bool ParamObj::getVarList(std::vector<KorvVarName>& out) const {
  return !AnyString() && TakeNames(out);
}

bool ParamObj::getQuotedVarList(std::vector<KorvVarName>& out) const {
  return AnyString() && TakeNames(out);
}

bool ParamObj::AnyString() const {
  return std::any_of(fvValues.begin(), fvValues.end(),
                     [](const CommandToken& value) { return value.kind == CommandTokenKind::String; });
}

bool ParamObj::TakeNames(std::vector<KorvVarName>& out) const {
  if (fvValues.empty()) return false;
  std::vector<KorvVarName> names;
  for (const CommandToken& value : fvValues) {
    if (TokenInfoObj(value).getOperatorCode() == kOperatorAll) return false;
    names.emplace_back(value.text);
  }
  out = std::move(names);
  return true;
}

bool ParamObj::getTokenList(std::vector<TokenInfoObj>& out) const {
  if (fvValues.empty()) return false;
  out.assign(fvValues.begin(), fvValues.end());
  return true;
}
