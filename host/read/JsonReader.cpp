#include "host/read/JsonReader.h"

#include <fmt/format.h>

#include <cstdint>
#include <ios>
#include <istream>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/environment/HostErrors.h"
#include "host/read/TextSource.h"
#include "host/read/TextTable.h"

namespace {

// The parser refuses a number that its floating type can't hold, though only the number's text is used here.
// So it gets a wider type than double. Numbers beyond that one are refused after all.
using Json =
    nlohmann::basic_json<std::map, std::vector, std::string, bool, std::int64_t, std::uint64_t, long double>;

// Receives the parser's events and fills the table. fDepth counts the open lists and objects. Rows are
// objects at depth fRowDepth: 0 for objects one after the other, 1 inside one list. So a value at depth
// fRowDepth + 1 is a row's own, and what is deeper belongs to a nested value.
class RowBuilder : public nlohmann::json_sax<Json> {
public:
  RowBuilder(std::string path, TextSource* text, TextTable* table)
      : fPath(std::move(path)), fpText(text), fpTable(table) {}

  bool null() override { return Take("", false); }
  bool boolean(bool value) override { return Take(value ? "true" : "false", false); }
  bool number_integer(number_integer_t value) override { return Take(fmt::to_string(value), false); }
  bool number_unsigned(number_unsigned_t value) override { return Take(fmt::to_string(value), false); }
  bool number_float(number_float_t, const string_t& text) override { return Take(text, false); }
  bool string(string_t& value) override { return Take(value, true); }
  bool binary(binary_t&) override { return false; }  // never in JSON text

  bool start_object(std::size_t) override {
    if (fDepth < fRowDepth) Refuse("an object");
    if (fDepth == fRowDepth) {
      ++fObject;
      fNextColumn = 0;
    } else if (fDepth > fRowDepth) {
      MarkNested();
    }
    ++fDepth;
    return true;
  }
  bool end_object() override {
    if (--fDepth == fRowDepth) fpTable->EndRow(fObject);
    return true;
  }
  bool start_array(std::size_t) override {
    if (fDepth > fRowDepth) {
      MarkNested();
    } else if (fDepth == 0 && fRowDepth == 0 && fObject == 0) {
      fRowDepth = 1;  // the file begins with a list: its elements are the rows
    } else {
      Refuse("a list");
    }
    ++fDepth;
    return true;
  }
  bool end_array() override {
    --fDepth;
    return true;
  }

  bool key(string_t& name) override {
    fpText->EndPiece();
    if (fDepth != fRowDepth + 1) return true;
    fColumn = ColumnOf(name);
    if (fvSeenIn[fColumn] == fObject) {
      throw DataError(fmt::format("{}, object {}: \"{}\" stands twice", fPath, fObject, name));
    }
    fvSeenIn[fColumn] = fObject;
    return true;
  }

  bool parse_error(std::size_t position, const std::string&, const Json::exception& error) override {
    fErrorAt = position;
    fbOverflow = dynamic_cast<const Json::out_of_range*>(&error) != nullptr;
    return false;
  }
  // What the parser refused: its place in bytes from where it began, and why.
  std::size_t ErrorAt() const { return fErrorAt; }
  std::string Reason() const {
    constexpr int kMostDigits = std::numeric_limits<Json::number_float_t>::max_exponent10;
    return fbOverflow ? fmt::format("a number is beyond 1e{}", kMostDigits) : "the text is no JSON";
  }

private:
  // Throws for a structure other than rows of objects. Nothing may follow the end of the one list.
  [[noreturn]] void Refuse(const char* what) const {
    throw DataError(fmt::format("{}, object {}: {} where {} is expected", fPath, fObject + 1, what,
                                fDepth < fRowDepth ? "the end of the file" : "an object"));
  }

  // A single value: of the row, of something nested (ignored), or where an object should be.
  bool Take(const std::string& text, bool isString) {
    fpText->EndPiece();
    if (fDepth <= fRowDepth) Refuse("a single value");
    if (fDepth == fRowDepth + 1) fpTable->Set(fColumn, text, isString);
    return true;
  }

  // What is deeper than the row's own values is ignored, and the column left out.
  void MarkNested() {
    if (fDepth == fRowDepth + 1) fpTable->SetNested(fColumn);
  }

  // Looks at the column after the last one first: objects of a file mostly have the same keys in the same
  // order.
  std::size_t ColumnOf(const std::string& name) {
    if (fNextColumn < fvNames.size() && fvNames[fNextColumn] == name) return fNextColumn++;
    const auto [found, isNew] = fColumns.try_emplace(name, fvNames.size());
    if (isNew) {
      fpTable->AddColumn(name, fObject);
      fvNames.push_back(name);
      fvSeenIn.push_back(0);
    }
    fNextColumn = found->second + 1;
    return found->second;
  }

  std::string fPath;
  TextSource* fpText;  // borrowed
  TextTable* fpTable;  // borrowed
  int fDepth = 0;
  int fRowDepth = 0;
  std::int64_t fObject = 0;  // number of the current row's object, from 1
  std::size_t fColumn = 0;
  std::size_t fNextColumn = 0;
  std::vector<std::string> fvNames;
  std::vector<std::int64_t> fvSeenIn;  // by column: the last object that had it, to find repeated keys
  std::unordered_map<std::string, std::size_t> fColumns;
  std::size_t fErrorAt = 0;
  bool fbOverflow = false;
};

// The line of a byte of a text, both from 1. Reads the file again: only for a message.
std::int64_t LineOfByte(const std::string& path, const TextForm& form, std::int64_t position) {
  TextSource text(path, form);
  std::int64_t line = 1;
  for (; position > 1; --position) {
    const auto c = text.sbumpc();
    if (c == TextSource::traits_type::eof()) break;
    line += c == '\n';
  }
  return line;
}

// Loads what follows, value by value, up to the end.
void LoadValues(const std::string& path, const TextForm& form, TextTable* table) {
  TextSource text(path, form);
  std::istream stream(&text);
  stream.exceptions(std::ios::badbit);  // what the source throws goes through the stream
  RowBuilder rows(path, &text, table);
  while (stream.peek() != std::istream::traits_type::eof()) {
    const std::int64_t start = text.Position();
    if (!Json::sax_parse(stream, &rows, Json::input_format_t::json, false)) {
      const std::int64_t line = LineOfByte(path, form, start + static_cast<std::int64_t>(rows.ErrorAt()));
      throw EncodingError(fmt::format("{}, line {}: {}", path, line, rows.Reason()));
    }
    stream >> std::ws;  // blanks after the value, up to the next one
  }
}

}  // namespace

void LoadJson(const std::string& path, const TextForm& form, TextTable* table) {
  try {
    LoadValues(path, form, table);
  } catch (const std::ios_base::failure&) {
    throw DataError(fmt::format("{}: can't be read", path));
  }
}
