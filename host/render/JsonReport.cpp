#include "host/render/JsonReport.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/environment/HostErrors.h"
#include "host/output/OutputDocument.h"
#include "host/output/OutputTable.h"
#include "host/output/RunOutcome.h"

namespace {

using Json = nlohmann::ordered_json;  // keeps members in the order in which they are written below

// On one line. The error handler replaces invalid UTF-8; the default one throws.
std::string Dump(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// Writes `"name": [...]` with one element per line. `toJson` makes an element; only one exists at a time.
template <class List, class ToJson>
void WriteArray(const char* name, const List& list, ToJson toJson, std::ostream& out) {
  out << '"' << name << "\": [";
  const char* separator = "\n";
  for (const auto& element : list) {
    out << separator << Dump(toJson(element));
    separator = ",\n";
  }
  out << ']';
}

Json MessageJson(const OutputMessage& message) {
  return {{"level", message.level >= kErrorLevel ? "error" : "warning"},
          {"text", message.text},
          {"group", message.group},
          {"repeats", message.repeats}};
}

Json NoteJson(const OutputNote& note) {
  return {{"group", note.group}, {"label", note.label}, {"text", note.text}};
}

Json FileJson(const ReportFile& file) {
  return {{"role", file.role}, {"path", file.path}, {"cases", file.cases}};
}

Json FactJson(const RunFact& fact) {
  return {{"label", fact.label}, {"lines", fact.lines}};
}

// A whole number becomes a JSON integer, "12" and not "12.0", so that counts stay integers in languages that
// make a difference. Only up to 2^53, where doubles are exact.
Json NumberJson(double number) {
  constexpr double kLargestExact = 9007199254740992.0;  // 2^53
  if (std::abs(number) <= kLargestExact && std::trunc(number) == number) {
    return static_cast<std::int64_t>(number);
  }
  return number;
}

// The names of a table's dimensions: their labels, and behind one of the same label a number, since the
// members of `at` need different names.
std::vector<std::string> NamesOf(const OutputTable& table) {
  std::vector<std::string> names;
  std::set<std::string> taken;
  for (const OutputTable::Dimension& dimension : table.Dimensions()) {
    std::string name = dimension.label;
    for (int number = 2; !taken.insert(name).second; ++number)
      name = dimension.label + " (" + std::to_string(number) + ")";
    names.push_back(std::move(name));
  }
  return names;
}

Json CellJson(const OutputTable& table, const std::vector<std::string>& names,
              const OutputTable::Cell& cell) {
  Json at = Json::object();
  for (std::size_t d = 0; d < names.size(); ++d) {
    Json path = Json::array();
    for (const int node : table.Path(cell.at[d])) path.push_back(table.NodeAt(node).text);
    at[names[d]] = std::move(path);
  }
  Json json = {{"at", std::move(at)}};
  if (cell.number) json["value"] = NumberJson(*cell.number);
  json["text"] = cell.text;
  return json;
}

Json DimensionJson(const OutputTable::Dimension& dimension, const std::string& name) {
  return {{"label", name},
          {"place", dimension.place == kPlaceColumn ? "column" : "row"},
          {"index", dimension.index}};
}

void WriteTable(const OutputTable& table, std::ostream& out) {
  out << "{\"title\": " << Dump(table.Title()) << ", \"kind\": " << Dump(table.Kind())
      << ", \"caption\": " << Dump(table.Caption()) << ", \"notes\": " << Dump(table.Notes()) << ",\n";
  const std::vector<std::string> names = NamesOf(table);
  auto name = names.begin();
  WriteArray(
      "dimensions", table.Dimensions(),
      [&](const OutputTable::Dimension& dimension) { return DimensionJson(dimension, *name++); }, out);
  out << ",\n";
  WriteArray(
      "cells", table.Cells(), [&](const OutputTable::Cell& cell) { return CellJson(table, names, cell); },
      out);
  out << '}';
}

}  // namespace

void WriteJsonReport(const RunOutcome& outcome, std::ostream& out) {
  const OutputDocument& document = *outcome.document;
  out << "{\"procedure\": " << Dump(document.Procedure())
      << ", \"status\": " << Dump(StatusWord(outcome.status)) << ",\n";
  WriteArray("messages", document.AllMessages(), MessageJson, out);
  out << ",\n";
  WriteArray("notes", document.Notes(), NoteJson, out);
  out << ",\n\"tables\": [";
  const char* separator = "\n";
  for (const auto& table : document.Tables()) {
    out << separator;
    WriteTable(*table, out);
    separator = ",\n";
  }
  out << "],\n";
  WriteArray("files", outcome.files, FileJson, out);
  out << ",\n";
  WriteArray(
      "remarks", outcome.remarks, [](const std::string& remark) { return Json(remark); }, out);
  out << ",\n";
  std::vector<RunFact> facts = outcome.facts;
  std::erase_if(facts, [](const RunFact& fact) { return fact.kind == RunFact::Kind::kVarying; });
  WriteArray("facts", facts, FactJson, out);
  out << "}\n";
}
