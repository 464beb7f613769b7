#include "host/data/JsonReader.h"

#include <fmt/format.h>

#include <cstdint>
#include <fstream>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <vector>

#include "host/data/DataError.h"
#include "host/data/TextTable.h"

namespace {

// Takes the events of the parser in, one object a row.
class RowBuilder : public nlohmann::json_sax<nlohmann::json> {
public:
  RowBuilder(std::string path, TextTable* table) : fPath(std::move(path)), fpTable(table) {}

  bool null() override { return Take("", false); }
  bool boolean(bool value) override { return Take(value ? "true" : "false", false); }
  bool number_integer(number_integer_t value) override { return Take(fmt::to_string(value), false); }
  bool number_unsigned(number_unsigned_t value) override { return Take(fmt::to_string(value), false); }
  bool number_float(number_float_t, const string_t& text) override { return Take(text, false); }
  bool string(string_t& value) override { return Take(value, true); }
  bool binary(binary_t&) override { return false; }  // no part of JSON text

  bool start_object(std::size_t) override {
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
    } else if (fDepth == 0 && fObject == 0) {
      fRowDepth = 1;
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
    if (fDepth != fRowDepth + 1) return true;
    fColumn = ColumnOf(name);
    if (fvSeenIn[fColumn] == fObject) {
      throw DataError(fmt::format("{}, object {}: \"{}\" stands twice", fPath, fObject, name));
    }
    fvSeenIn[fColumn] = fObject;
    return true;
  }

  bool parse_error(std::size_t position, const std::string&, const nlohmann::json::exception&) override {
    fErrorAt = position;
    return false;
  }
  // Bytes from where the parser began to where the text is no JSON.
  std::size_t ErrorAt() const { return fErrorAt; }

private:
  [[noreturn]] void Refuse(const char* what) const {
    throw DataError(fmt::format("{}, object {}: {} where an object is expected", fPath, fObject + 1, what));
  }

  bool Take(const std::string& text, bool isString) {
    if (fDepth <= fRowDepth) Refuse("a single value");
    if (fDepth == fRowDepth + 1) fpTable->Set(fColumn, text, isString);
    return true;
  }

  // The rest of a nested value is passed over, and its column left out.
  void MarkNested() {
    if (fDepth == fRowDepth + 1) fpTable->SetNested(fColumn);
  }

  // Objects of one file mostly have the same keys in the same order.
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
  TextTable* fpTable;  // borrowed
  int fDepth = 0;
  int fRowDepth = 0;  // depth at which the objects of the rows stand: 1 in a list
  std::int64_t fObject = 0;
  std::size_t fColumn = 0;
  std::size_t fNextColumn = 0;
  std::vector<std::string> fvNames;
  std::vector<std::int64_t> fvSeenIn;  // the last object that had the column
  std::unordered_map<std::string, std::size_t> fColumns;
  std::size_t fErrorAt = 0;
};

// The line of a byte of a file.
std::int64_t LineOfByte(const std::string& path, std::size_t position) {
  std::ifstream file(path, std::ios::binary);
  std::int64_t line = 1;
  for (char c = 0; position > 1 && file.get(c); --position) line += c == '\n';
  return line;
}

}  // namespace

void LoadJson(const std::string& path, TextTable* table) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw DataError(fmt::format("{}: can't be opened", path));
  RowBuilder rows(path, table);
  while (file.peek() != std::ifstream::traits_type::eof()) {
    const auto start = static_cast<std::size_t>(file.tellg());
    if (!nlohmann::json::sax_parse(file, &rows, nlohmann::json::input_format_t::json, false)) {
      throw DataError(
          fmt::format("{}, line {}: the text is no JSON", path, LineOfByte(path, start + rows.ErrorAt())));
    }
    file >> std::ws;
  }
  if (file.bad()) throw DataError(fmt::format("{}: can't be read", path));
}
