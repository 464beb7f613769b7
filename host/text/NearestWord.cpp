#include "host/text/NearestWord.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

#include "host/text/DisplayText.h"
#include "host/text/VariableNames.h"

namespace {

constexpr std::size_t kLongestQuote = 60;  // bytes; longer words are cut
constexpr std::size_t kLettersASlip = 3;   // one typo is allowed for every so many letters
constexpr std::size_t kShortestBegin = 2;  // fewer letters don't count as an abbreviation

// Edit distance with swaps of neighbouring letters (optimal string alignment): the least number of letters to
// insert, delete, replace or swap. Three rows of the table are kept: the current one, `above` it, and
// `before` that.
std::size_t EditDistance(const std::string& from, const std::string& to) {
  std::vector<std::size_t> before;
  std::vector<std::size_t> above(to.size() + 1);
  std::iota(above.begin(), above.end(), 0U);
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::vector<std::size_t> row(to.size() + 1, i + 1);
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t replaced = above[j] + (from[i] == to[j] ? 0 : 1);
      row[j + 1] = std::min({row[j] + 1, above[j + 1] + 1, replaced});
      const bool isSwapped = i > 0 && j > 0 && from[i] == to[j - 1] && from[i - 1] == to[j];
      if (isSwapped) row[j + 1] = std::min(row[j + 1], before[j - 1] + 1);
    }
    before = std::exchange(above, std::move(row));
  }
  return above.back();
}

}  // namespace

std::string QuotedWord(std::string_view word) {
  const bool isLong = word.size() > kLongestQuote;
  return "'" + PrintableText(word.substr(0, kLongestQuote)) + (isLong ? "...'" : "'");
}

std::string NearestWord(const std::string& word, const std::vector<std::string>& candidates) {
  // Dashes in front don't count: "--a" is too short to guess what it abbreviates.
  const std::size_t letters = word.size() - std::min(word.size(), word.find_first_not_of('-'));
  std::string nearest;
  std::size_t least = letters / kLettersASlip + 1;  // typos of the best candidate; now, one more than allowed
  for (const std::string& candidate : candidates) {
    // Skips words too long to be a typo: edit distance is quadratic.
    if (word.size() > 2 * candidate.size()) continue;
    const bool isBegin = letters >= kShortestBegin && candidate.starts_with(word);
    const std::size_t slips = isBegin ? 0 : EditDistance(word, candidate);
    if (slips >= least) continue;
    least = slips;
    nearest = candidate;
  }
  return nearest;
}

std::string NearestNameHint(const std::string& name, const std::vector<std::string>& variables) {
  std::vector<std::string> upper;
  upper.reserve(variables.size());
  for (const std::string& variable : variables) upper.push_back(GetUpperVarName(variable));
  const std::string nearest = NearestWord(GetUpperVarName(name), upper);
  if (nearest.empty()) return "";
  const auto at = std::find(upper.begin(), upper.end(), nearest) - upper.begin();
  return "; did you mean " + variables[static_cast<std::size_t>(at)] + "?";
}
