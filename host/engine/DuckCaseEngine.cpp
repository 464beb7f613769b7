#include "host/engine/DuckCaseEngine.h"

#include <fmt/format.h>

#include <utility>

#include "host/engine/DuckCaseCursor.h"
#include "host/engine/WorkDatabase.h"

namespace {

// Types that the cursor turns into doubles itself; DuckDB casts the others.
bool IsConvertedHere(const std::string& type) {
  return type == "DOUBLE" || type == "FLOAT" || type == "BOOLEAN" || type == "TINYINT" ||
         type == "SMALLINT" || type == "INTEGER" || type == "BIGINT" || type == "UTINYINT" ||
         type == "USMALLINT" || type == "UINTEGER" || type == "UBIGINT";
}

}  // namespace

// The dictionary is copied: the engine reads widths from its own copy before it drops it.
DataFrame MakeFrame(std::shared_ptr<WorkDatabase> work, CaseRelation relation) {
  DataFrame frame;
  frame.name = relation.name;
  frame.dictionary = relation.dictionary;
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
