#include "planning/OptionWords.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "host/text/NearestWord.h"

namespace {

constexpr char kQuote = '\'';

// The problem that a key is given twice; empty if none is.
std::string RepeatedKey(const std::vector<OptionWord>& words) {
  for (std::size_t i = 0; i < words.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (words[i].key == words[j].key) return QuotedWord(words[i].key) + " is given twice";
    }
  }
  return "";
}

}  // namespace

std::vector<std::string> SplitOutsideQuotes(std::string_view text, char separator) {
  std::vector<std::string> pieces(1);
  bool isQuoted = false;
  for (const char c : text) {
    if (c == kQuote) isQuoted = !isQuoted;  // a doubled quote closes and opens again
    if (c == separator && !isQuoted) {
      pieces.emplace_back();
    } else {
      pieces.back() += c;
    }
  }
  return pieces;
}

std::string Unquoted(std::string_view piece) {
  std::string text;
  bool isQuoted = false;
  for (std::size_t i = 0; i < piece.size(); ++i) {
    if (piece[i] != kQuote) {
      text += piece[i];
      continue;
    }
    const bool isDoubled = isQuoted && i + 1 < piece.size() && piece[i + 1] == kQuote;
    if (isDoubled) {
      text += piece[++i];
    } else {
      isQuoted = !isQuoted;
    }
  }
  return text;
}

std::vector<std::string> UnquotedList(std::string_view value) {
  std::vector<std::string> entries;
  for (const std::string& piece : SplitOutsideQuotes(value, ',')) entries.push_back(Unquoted(piece));
  return entries;
}

std::vector<OptionWord> SplitOptionWords(std::string_view text, std::string* problem) {
  std::vector<OptionWord> words;
  std::string blanked(text);
  std::replace_if(
      blanked.begin(), blanked.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
  if (std::count(text.begin(), text.end(), kQuote) % 2 != 0) *problem = "a quote isn't closed";
  for (const std::string& piece : SplitOutsideQuotes(blanked, ' ')) {
    if (piece.empty() || !problem->empty()) continue;
    const std::size_t equals = piece.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == piece.size()) {
      *problem = QuotedWord(piece) + " isn't of the form KEY=VALUE";
    } else {
      words.push_back({piece.substr(0, equals), piece.substr(equals + 1)});
    }
  }
  if (problem->empty()) *problem = RepeatedKey(words);
  return words;
}

std::string UnknownWord(const std::string& word, const char* what, const std::vector<std::string>& known) {
  const std::string nearest = NearestWord(word, known);
  return fmt::format("{} is no {}; {}", QuotedWord(word), what,
                     nearest.empty() ? fmt::format("choose from {}", fmt::join(known, ", "))
                                     : fmt::format("did you mean {}?", nearest));
}
