#include "planning/StratumTable.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "host/environment/HostErrors.h"
#include "host/files/ReadableFile.h"
#include "host/model/Values.h"
#include "host/read/CsvReader.h"
#include "host/text/NearestWord.h"
#include "host/text/VariableNames.h"

namespace {

// More strata than any design has; a file of data that was named by mistake ends here.
constexpr std::size_t kMaxRows = 1'000'000;

[[noreturn]] void Fail(const std::string& path, std::int64_t line, const std::string& what) {
  throw DataError(fmt::format("{}, line {}: {}", path, line, what));
}

void CheckHeader(const CsvReader& reader, const std::string& path, const std::vector<std::string>& by) {
  bool isFit = reader.Fields() == by.size() + 1;
  for (std::size_t i = 0; isFit && i < by.size(); ++i)
    isFit = GetUpperVarName(std::string(reader.Field(i))) == GetUpperVarName(by[i]);
  if (isFit) return;
  Fail(path, 1, fmt::format("the first line needs {} and a name for the numbers", fmt::join(by, ", ")));
}

}  // namespace

bool IsTableFile(std::string_view text) {
  return GetUpperString(std::string(text)).ends_with(".CSV");
}

StratumTable ReadStratumTable(const std::string& path, const std::vector<std::string>& by) {
  CheckReadableFile(path);
  CsvReader header(path);
  const bool isSplitAtCommas = header.NextRecord() && header.Fields() > 1;
  CsvReader reader(path);
  reader.SetDelimiter(isSplitAtCommas ? ',' : ';');
  if (!reader.NextRecord()) Fail(path, 1, "the file is empty");
  CheckHeader(reader, path, by);
  StratumTable table{.path = path, .rows = {}};
  while (reader.NextRecord()) {
    if (reader.IsBlank()) continue;
    if (table.rows.size() == kMaxRows) Fail(path, reader.Line(), fmt::format("more than {} rows", kMaxRows));
    if (reader.Fields() != by.size() + 1)
      Fail(path, reader.Line(), fmt::format("{} fields, expected {}", reader.Fields(), by.size() + 1));
    StratumTable::Row& row = table.rows.emplace_back();
    row.line = reader.Line();
    for (std::size_t i = 0; i < by.size(); ++i) row.categories.emplace_back(reader.Field(i));
    const std::string text(reader.Field(by.size()));
    if (!ParseNumber(text, &row.number))
      Fail(path, row.line, QuotedWord(text) + " is no number with a full stop as its decimal character");
  }
  return table;
}
