#include "host/engine/DuckCaseEngine.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include "host/engine/DuckCaseCursor.h"
#include "host/engine/WorkDatabase.h"

namespace {

FileState StateOf(const std::string& path) {
  FileState state;
  struct stat found {};
  if (path.empty() || stat(path.c_str(), &found) != 0) return state;
  state.device = found.st_dev;
  state.inode = found.st_ino;
  state.bytes = found.st_size;
  state.changedSeconds = found.st_mtim.tv_sec;
  state.changedNanoseconds = found.st_mtim.tv_nsec;
  return state;
}

// Types that the cursor turns into doubles itself; DuckDB casts the others.
bool IsConvertedHere(const std::string& type) {
  return type == "DOUBLE" || type == "FLOAT" || type == "BOOLEAN" || type == "TINYINT" ||
         type == "SMALLINT" || type == "INTEGER" || type == "BIGINT" || type == "UTINYINT" ||
         type == "USMALLINT" || type == "UINTEGER" || type == "UBIGINT";
}

}  // namespace

DuckCaseEngine::DuckCaseEngine(const DataFrame& frame)
    : fRelation(frame.relation), fState(StateOf(frame.relation.watched)) {
  for (const KORV_Variable& variable : frame.dictionary.variables) {
    fvShapes.push_back({variable.GetName(), variable.GetType()});
  }
}

void DuckCaseEngine::CheckUnchanged() const {
  if (StateOf(fRelation.watched) == fState) return;
  throw DataError(fmt::format("{}: the file was changed while it was being read", fRelation.name));
}

std::string DuckCaseEngine::Projection(int column) const {
  const RelationColumn& source = fRelation.columns[static_cast<std::size_t>(column)];
  const bool isNumeric = fvShapes[static_cast<std::size_t>(column)].width == 0;
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
  CheckUnchanged();
  try {
    return std::make_unique<DuckCaseCursor>(*this, fmt::format("SELECT {} FROM {}", list, fRelation.from),
                                            std::move(shapes), firstRow);
  } catch (const DataError& error) {
    CheckUnchanged();
    throw DataError(fmt::format("{}: {}", fRelation.name, error.what()));
  }
}

std::int64_t DuckCaseEngine::CountCases() {
  CheckUnchanged();
  try {
    DuckResult result =
        WorkDatabase::Current().Connect().Query(fmt::format("SELECT count(*) FROM {}", fRelation.from));
    return result.Fetch().Values<std::int64_t>(0)[0];
  } catch (const DataError& error) {
    throw DataError(fmt::format("{}: {}", fRelation.name, error.what()));
  }
}
