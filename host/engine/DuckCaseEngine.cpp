#include "host/engine/DuckCaseEngine.h"

#include <fmt/format.h>

#include <utility>

#include "host/engine/DuckCaseCursor.h"
#include "host/engine/WorkDatabase.h"
#include "host/model/Values.h"

namespace {

// Types that the cursor turns into doubles itself; DuckDB casts the others.
bool IsConvertedHere(const std::string& type) {
  return type == "DOUBLE" || type == "FLOAT" || type == "BOOLEAN" || type == "TINYINT" ||
         type == "SMALLINT" || type == "INTEGER" || type == "BIGINT" || type == "UTINYINT" ||
         type == "USMALLINT" || type == "UINTEGER" || type == "UBIGINT";
}

// The user-missing values of a variable as a list in SQL; empty if it has none.
std::string MissingList(const KORV_Variable& variable) {
  std::string list;
  for (const DictionaryValue& value : variable.MissingValues()) {
    if (!list.empty()) list += ", ";
    list += variable.GetType() == 0 ? NumberText(value.number) + "::DOUBLE" : QuoteLiteral(value.text);
  }
  return list;
}

// The first value of a result's row, as the dictionary has it.
DictionaryValue ValueAt(const DuckChunk& chunk, std::size_t row, bool isNumeric) {
  if (isNumeric) return {.number = chunk.Values<double>(0)[row], .text = {}};
  return {.number = 0.0, .text = std::string(TextOf(chunk.Values<duckdb_string_t>(0)[row]))};
}

// `from` gives the valid values as v.
std::vector<ColumnContents::Frequency> MostFrequent(DuckConnection& connection, const std::string& from,
                                                    bool isNumeric, std::int64_t* different) {
  DuckResult result = connection.Query(
      fmt::format("SELECT v, count(*), count(*) OVER () FROM {} WHERE v IS NOT NULL GROUP BY v "
                  "ORDER BY count(*) DESC, v LIMIT {}",
                  from, ColumnContents::kMostFrequent));
  std::vector<ColumnContents::Frequency> frequent;
  while (const DuckChunk chunk = result.Fetch()) {
    for (std::size_t row = 0; row < chunk.Rows(); ++row) {
      frequent.push_back({ValueAt(chunk, row, isNumeric), chunk.Values<std::int64_t>(1)[row]});
      *different = chunk.Values<std::int64_t>(2)[row];
    }
  }
  return frequent;
}

}  // namespace

// The dictionary is copied: the engine reads widths from its own copy before it drops it.
DataFrame MakeFrame(std::shared_ptr<WorkDatabase> work, CaseRelation relation) {
  DataFrame frame;
  frame.name = relation.name;
  frame.dictionary = relation.dictionary;
  frame.remark = relation.remark;
  frame.engine = std::make_unique<DuckCaseEngine>(std::move(work), std::move(relation));
  return frame;
}

DuckCaseEngine::DuckCaseEngine(std::shared_ptr<WorkDatabase> work, CaseRelation relation)
    : fpWork(std::move(work)), fRelation(std::move(relation)) {
  for (const KORV_Variable& variable : fRelation.dictionary.variables) {
    fvShapes.push_back({variable.GetName(), variable.GetType()});
  }
  fRelation.dictionary = {};  // the frame has it, and labels can be many
}

void DuckCaseEngine::CheckUnchanged() const {
  if (fRelation.watched != nullptr) fRelation.watched->Check();
}

// The expression that a cursor selects for a column. The variable decides between number and text, whatever
// the column is in the file: a schema can make a text of a number.
std::string DuckCaseEngine::Projection(int column) const {
  const auto at = static_cast<std::size_t>(column);
  const RelationColumn& source = fRelation.columns[at];
  const bool isNumeric = fvShapes[at].width == 0;
  if (isNumeric ? IsConvertedHere(source.type) : source.type == "VARCHAR") return source.sql;
  return fmt::format("CAST({} AS {})", source.sql, isNumeric ? "DOUBLE" : "VARCHAR");
}

std::unique_ptr<CaseCursor> DuckCaseEngine::Open(const std::vector<int>& columns, std::int64_t firstRow) {
  std::string list;
  std::vector<DuckCaseCursor::Column> shapes;
  for (const int column : columns) {
    if (!list.empty()) list += ", ";
    list += Projection(column);
    const Shape& shape = fvShapes[static_cast<std::size_t>(column)];
    shapes.push_back({shape.name, shape.width});
  }
  if (list.empty()) list = "true";  // rows without a column
  return Guard([&] {
    CheckUnchanged();
    return std::make_unique<DuckCaseCursor>(*this, fpWork->Connect(),
                                            fmt::format("SELECT {} FROM {}", list, fRelation.from),
                                            std::move(shapes), firstRow);
  });
}

std::int64_t DuckCaseEngine::CountCases() {
  return Guard([&] {
    CheckUnchanged();
    DuckResult result = fpWork->Connect().Query(fmt::format("SELECT count(*) FROM {}", fRelation.from));
    return result.Fetch().Values<std::int64_t>(0)[0];
  });
}

// Values compare as the cells show them: texts without trailing blanks, numbers that aren't finite as
// missing.
ColumnContents DuckCaseEngine::Summarize(int column, const KORV_Variable& variable) {
  const bool isNumeric = variable.GetType() == 0;
  const std::string sql = Projection(column);
  const std::string x =
      isNumeric ? fmt::format("CAST({} AS DOUBLE)", sql) : fmt::format("rtrim(coalesce({}, ''), ' ')", sql);
  const std::string present = isNumeric ? "CASE WHEN isfinite(x) THEN x END" : "x";
  const std::string missing = MissingList(variable);
  const std::string isMissing =
      missing.empty() ? "false" : fmt::format("coalesce(x IN ({}), false)", missing);
  // m: user-missing; v: null unless valid.
  const std::string from = fmt::format(
      "(SELECT m, p, CASE WHEN NOT m THEN p END AS v FROM (SELECT {} AS p, {} AS m FROM (SELECT {} AS x FROM "
      "{})))",
      present, isMissing, x, fRelation.from);
  return Guard([&] {
    CheckUnchanged();
    DuckConnection connection = fpWork->Connect();
    DuckResult result = connection.Query(fmt::format(
        "SELECT count(*), count(p), count(*) FILTER (WHERE m), count(v), approx_count_distinct(v){} "
        "FROM {}",
        isNumeric ? ", coalesce(min(v), 0), coalesce(max(v), 0)" : ", count(*) FILTER (WHERE v = '')", from));
    const DuckChunk row = result.Fetch();
    ColumnContents contents;
    contents.systemMissing = row.Values<std::int64_t>(0)[0] - row.Values<std::int64_t>(1)[0];
    contents.userMissing = row.Values<std::int64_t>(2)[0];
    contents.valid = row.Values<std::int64_t>(3)[0];
    contents.different = row.Values<std::int64_t>(4)[0];
    if (isNumeric) {
      contents.smallest = row.Values<double>(5)[0];
      contents.largest = row.Values<double>(6)[0];
    } else {
      contents.blank = row.Values<std::int64_t>(5)[0];
    }
    if (contents.different <= kMostDifferent)
      contents.frequent = MostFrequent(connection, from, isNumeric, &contents.different);
    return contents;
  });
}
