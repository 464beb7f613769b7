#include "backend/svcommon/JsonTree.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "host/text/NearestWord.h"
#include "host/text/TextConversion.h"

namespace {

using Json = nlohmann::json;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kBetween = " \t\r\n,:";  // what can be between two values
constexpr std::string_view kOfNumbers = "+-.0123456789Ee";

// The first text or number that is too long, found before the parse: the library holds one several times.
std::optional<std::size_t> FindLongToken(std::string_view json) {
  for (std::size_t at = 0; at < json.size();) {
    const std::size_t begin = at++;
    if (json[begin] == '"') {
      while (at < json.size() && json[at] != '"') at += json[at] == '\\' ? 2 : 1;
      ++at;
    } else if (kOfNumbers.find(json[begin]) != std::string_view::npos) {
      at = std::min(json.find_first_not_of(kOfNumbers, at), json.size());
    }
    if (at - begin > JsonTree::kMaxTextBytes) return begin;
  }
  return std::nullopt;
}

// REQUIRES: valid UTF-8.
std::string_view CharacterAt(std::string_view text, std::size_t offset) {
  std::size_t end = offset + 1;
  while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) ++end;
  return text.substr(offset, end - offset);
}

// What is wrong where the parser stopped, in the token that begins at `token`. The library's own words are
// about tokens.
std::string SyntaxText(std::string_view json, std::size_t token, std::size_t offset) {
  if (offset >= json.size()) return "the JSON ends too early: a bracket or quote isn't closed";
  const char found = json[offset];
  const std::size_t before = json.substr(0, offset).find_last_not_of(" \t\r\n");
  const bool isAfterComma = before != std::string_view::npos && json[before] == ',';
  if (json[token] == '"' && token < offset) {
    const bool isControl = static_cast<unsigned char>(found) < 0x20;
    return isControl ? "no valid JSON: a text has the end of a line, or another control character"
                     : "no valid JSON: a text has a backslash that begins nothing, or half a pair of them";
  }
  if ((found == '}' || found == ']') && isAfterComma) return "no valid JSON: there is a comma too many";
  if (found == '/' || found == '#') return "no valid JSON, which has no comments";
  if (found == '\'') return "no valid JSON, in which texts are in double quotes";
  const std::string_view character = CharacterAt(json, offset);
  // U+2018 to U+201F: what word processors make of quotes.
  if (character >= "\u2018" && character <= "\u201F")
    return "no valid JSON, in which quotes are straight: \"";
  return fmt::format("no valid JSON: {} can't be here", QuotedWord(character));
}

}  // namespace

// Receives the parser's events and adds a node for each value. The events have no places; but the parser has
// found each token valid when it reports it, so that the place of the next one can be found from the end of
// the last one.
class JsonTreeBuilder : public nlohmann::json_sax<Json> {
public:
  explicit JsonTreeBuilder(JsonTree* tree) : fTree(*tree) {
    if (fTree.fText.starts_with(kByteOrderMark)) fAt = kByteOrderMark.size();
  }

  bool null() override { return AddSimple(JsonKind::kNull, 0.0, 4); }
  bool boolean(bool value) override {
    return AddSimple(JsonKind::kBoolean, value ? 1.0 : 0.0, value ? 4 : 5);
  }
  bool number_integer(number_integer_t value) override { return AddNumber(static_cast<double>(value)); }
  bool number_unsigned(number_unsigned_t value) override { return AddNumber(static_cast<double>(value)); }
  bool number_float(number_float_t value, const string_t&) override { return AddNumber(value); }
  bool string(string_t& value) override { return AddText(value); }
  bool key(string_t& name) override { return AddText(name); }
  bool binary(binary_t&) override { return false; }  // never in JSON text
  bool start_object(std::size_t) override { return Open(JsonKind::kObject); }
  bool start_array(std::size_t) override { return Open(JsonKind::kList); }
  bool end_object() override { return Close(); }
  bool end_array() override { return Close(); }

  // The parser counts the bytes that it has read, the one at fault included.
  bool parse_error(std::size_t position, const std::string&, const Json::exception& error) override {
    MoveToToken();
    if (dynamic_cast<const Json::out_of_range*>(&error) != nullptr) {
      return Refuse(fAt, "the number is beyond what can be computed with, 1.8e308");
    }
    const std::size_t offset = std::min(position - std::min<std::size_t>(position, 1), fTree.fText.size());
    return Refuse(offset, SyntaxText(fTree.fText, fAt, offset));
  }

  std::optional<JsonTree::Problem> Outcome() { return std::move(fProblem); }

private:
  bool Refuse(std::size_t offset, std::string what) {
    fProblem = {.offset = offset, .what = std::move(what)};
    return false;
  }

  void MoveToToken() { fAt = std::min(fTree.fText.find_first_not_of(kBetween, fAt), fTree.fText.size()); }

  // Adds a node for the token at fAt.
  bool Add(JsonKind kind, double number = 0.0) {
    MoveToToken();
    if (fTree.fvNodes.size() == JsonTree::kMaxValues) {
      return Refuse(fAt,
                    fmt::format("a plan has at most {} values, and this is one more", JsonTree::kMaxValues));
    }
    const auto next = static_cast<JsonTree::Index>(fTree.fvNodes.size() + 1);
    fTree.fvNodes.push_back(
        {.kind = kind, .offset = static_cast<std::uint32_t>(fAt), .end = next, .number = number});
    return true;
  }

  bool AddSimple(JsonKind kind, double number, std::size_t length) {
    if (!Add(kind, number)) return false;
    fAt += length;
    return true;
  }

  bool AddNumber(double number) {
    if (!Add(JsonKind::kNumber, number)) return false;
    fAt = std::min(fTree.fText.find_first_not_of(kOfNumbers, fAt), fTree.fText.size());
    return true;
  }

  // A text without escapes is as long as it is written.
  bool AddText(const std::string& text) {
    if (!Add(JsonKind::kText)) return false;
    const std::size_t begin = ++fAt;
    while (fTree.fText[fAt] != '"') fAt += fTree.fText[fAt] == '\\' ? 2 : 1;
    JsonTree::Node& node = fTree.fvNodes.back();
    node.isDecoded = fAt - begin != text.size();
    node.textBegin = static_cast<std::uint32_t>(node.isDecoded ? fTree.fDecoded.size() : begin);
    node.textLength = static_cast<std::uint32_t>(text.size());
    if (node.isDecoded) fTree.fDecoded += text;
    ++fAt;
    return true;
  }

  bool Open(JsonKind kind) {
    if (!AddSimple(kind, 0.0, 1)) return false;
    if (fvOpen.size() == JsonTree::kMaxDepth) {
      return Refuse(fAt - 1, fmt::format("nested more than {} deep", JsonTree::kMaxDepth));
    }
    fvOpen.push_back(fTree.fvNodes.size() - 1);
    return true;
  }

  bool Close() {
    MoveToToken();
    ++fAt;
    fTree.fvNodes[fvOpen.back()].end = static_cast<JsonTree::Index>(fTree.fvNodes.size());
    fvOpen.pop_back();
    return true;
  }

  JsonTree& fTree;
  std::size_t fAt = 0;              // behind the last token
  std::vector<std::size_t> fvOpen;  // lists and objects that aren't closed
  std::optional<JsonTree::Problem> fProblem;
};

std::optional<JsonTree::Problem> JsonTree::Parse(std::string text) {
  fText = std::move(text);
  if (fText.size() > kMaxBytes) {
    return Problem{.offset = kMaxBytes, .what = fmt::format("a plan has at most {} MB", kMaxBytes >> 20)};
  }
  if (const std::size_t bad = FindInvalidUtf8(fText); bad != std::string::npos) {
    return Problem{.offset = bad, .what = "invalid UTF-8"};
  }
  if (const std::optional<std::size_t> at = FindLongToken(fText)) {
    return Problem{.offset = *at, .what = fmt::format("this has more than {} MB", kMaxTextBytes >> 20)};
  }
  JsonTreeBuilder builder(this);
  Json::sax_parse(fText.data(), fText.data() + fText.size(), &builder);
  return builder.Outcome();
}

std::vector<JsonTree::Index> JsonTree::Entries(Index value) const {
  std::vector<Index> entries;
  for (Index entry = value + 1; entry < End(value); entry = End(entry)) entries.push_back(entry);
  return entries;
}

std::string_view JsonTree::Text(Index value) const {
  const Node& node = fvNodes[value];
  return std::string_view(node.isDecoded ? fDecoded : fText).substr(node.textBegin, node.textLength);
}

std::string_view JsonTree::Written(Index value) const {
  const std::string_view text = std::string_view(fText).substr(fvNodes[value].offset);
  return text.substr(0, text.find_first_not_of(kOfNumbers));
}

SV_XML::PlanPosition JsonTree::PlaceOfByte(std::size_t offset) const {
  const std::string_view before = std::string_view(fText).substr(0, offset);
  const std::size_t lineEnd = before.find_last_of('\n');
  std::string_view line = before.substr(lineEnd == std::string_view::npos ? 0 : lineEnd + 1);
  if (lineEnd == std::string_view::npos && line.starts_with(kByteOrderMark)) line.remove_prefix(3);
  const auto isCharacter = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; };
  return {.line = static_cast<std::uint64_t>(std::count(before.begin(), before.end(), '\n')) + 1,
          .column = static_cast<std::uint64_t>(std::count_if(line.begin(), line.end(), isCharacter)) + 1};
}
