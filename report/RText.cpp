#include "report/RText.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

#include "host/text/DisplayText.h"

namespace {

constexpr std::array<std::string_view, 19> kReserved = {
    "if",    "else",          "repeat",   "while",       "function",   "for", "next",
    "break", "TRUE",          "FALSE",    "NULL",        "Inf",        "NaN", "NA",
    "in",    "NA_character_", "NA_real_", "NA_integer_", "NA_complex_"};

// Letters of ASCII alone: what else is a letter depends on R's locale.
bool IsSyntactic(const std::string& name) {
  const auto isLetter = [](char c) { return (c | 0x20) >= 'a' && (c | 0x20) <= 'z'; };
  const auto isPart = [&](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == '.' || c == '_'; };
  return !name.empty() && isLetter(name.front()) && std::all_of(name.begin(), name.end(), isPart) &&
         std::find(kReserved.begin(), kReserved.end(), name) == kReserved.end();
}

std::string Quoted(const std::string& text, char quote) {
  std::string quoted(1, quote);
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (c == quote || c == '\\') quoted += '\\';
    if (code < ' ' || code == 0x7F) {
      quoted += fmt::format("\\x{:02x}", code);
    } else {
      quoted += c;
    }
  }
  return quoted + quote;
}

}  // namespace

std::string RString(const std::string& text) {
  return Quoted(text, '"');
}

std::string RName(const std::string& name) {
  return IsSyntactic(name) ? name : Quoted(name, '`');
}

std::string RComment(const std::string& text) {
  std::string comment;
  constexpr int kWidth = 100;  // columns
  for (const std::string& line : WrapText(PrintableText(text), kWidth)) comment += "# " + line + "\n";
  return comment;
}
