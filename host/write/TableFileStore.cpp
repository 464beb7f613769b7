#include "host/write/TableFileStore.h"

#include <fmt/format.h>

#include <charconv>

#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/files/SessionFiles.h"
#include "host/model/TableSchema.h"
#include "host/write/CaseBlock.h"
#include "host/write/MemoryTables.h"
#include "host/write/NativeFile.h"

namespace {

// Up to this many digits DuckDB's cast of a double to a DECIMAL gives the decimal that was read. The cast of
// longer ones can be off in the last digits, so they take the way through the double's shortest text.
constexpr int kDecimalDigits = 15;

bool IsLongDecimal(const std::string& type) {
  constexpr std::string_view kDecimal = "DECIMAL(";
  if (!type.starts_with(kDecimal)) return false;
  int digits = 0;
  std::from_chars(type.data() + kDecimal.size(), type.data() + type.size(), digits);
  return digits > kDecimalDigits;
}

// DuckDB writes 128-bit integers to Parquet as doubles, which would change them. Those that are strings here,
// since a double can't hold them, stay strings in the file.
bool LosesDigits(const KORV_Variable& variable, FileKind kind) {
  const bool isHuge = variable.ColumnType() == "HUGEINT" || variable.ColumnType() == "UHUGEINT";
  return kind == FileKind::kParquet && variable.GetType() > 0 && isHuge;
}

// --- the statement that reads the work table -------------------------------------------------------------
//
// The work table has doubles and texts only. Its columns are cast to the types that the variables remember
// from the file that they came from, so that a copied column has the same type in the copy; new variables are
// DOUBLE.

// In memory a column has the type that a Parquet file of it would have: 128-bit integers are doubles, or
// texts of their digits, and words of an enumeration are texts.
bool StaysCarrier(const KORV_Variable& variable, FileKind kind) {
  const std::string& type = variable.ColumnType();
  return kind == FileKind::kMemory && (type == "HUGEINT" || type == "UHUGEINT" || type.starts_with("ENUM"));
}

// The SQL that casts a column of the work table to the type that it has in the file.
std::string ColumnSql(const KORV_Variable& variable, std::size_t index, FileKind kind) {
  const std::string& type = variable.ColumnType();
  const std::string carrier = variable.GetType() > 0 ? "VARCHAR" : "DOUBLE";
  std::string value = fmt::format("c{}", index);
  if (type != carrier && !LosesDigits(variable, kind) && !StaysCarrier(variable, kind)) {
    if (variable.GetType() == 0 && IsLongDecimal(type)) value += "::VARCHAR";
    value = fmt::format("CAST({} AS {})", value, type);
  }
  return fmt::format("{} AS {}", value, QuoteIdentifier(variable.GetName()));
}

// All columns by their names in the file. The work table is in the database "memory".
std::string SelectSql(const Dictionary& dictionary, const std::string& table, FileKind kind) {
  std::string columns;
  for (std::size_t i = 0; i < dictionary.variables.size(); ++i) {
    if (i > 0) columns += ", ";
    columns += ColumnSql(dictionary.variables[i], i, kind);
  }
  return fmt::format("SELECT {} FROM memory.{}", columns, table);
}

// A column of a table must have a name. One without gets its place: "column3", with as many underscores as it
// takes to differ from the others.
void NameTheNameless(Dictionary* dictionary) {
  for (std::size_t i = 0; i < dictionary->variables.size(); ++i) {
    if (!dictionary->variables[i].GetName().empty()) continue;
    std::string name = fmt::format("column{}", i + 1);
    while (dictionary->Find(name) >= 0) name += '_';
    dictionary->variables[i].SetName(name);
  }
}

// The dictionary goes into the file's metadata under the key "dictionary". DuckDB's own temporary file is
// turned off: the path is one already.
void WriteParquet(DuckConnection& connection, const Dictionary& dictionary, const std::string& select,
                  const std::string& path) {
  connection.Run(
      fmt::format("COPY ({}) TO {} (FORMAT parquet, USE_TMP_FILE false, KV_METADATA {{dictionary: {}}})",
                  select, QuoteLiteral(path), QuoteLiteral(WriteTableSchema(dictionary))));
}

// An attached database. It is detached with the object, so that its file is closed before it is renamed or
// removed.
class Attached {
public:
  Attached(WorkDatabase& work, DuckConnection& connection, const std::string& path)
      : fConnection(connection), fName(work.UniqueName("native")) {
    fConnection.Run(fmt::format("ATTACH {} AS {}", QuoteLiteral(path), fName));
  }
  ~Attached() {
    try {
      fConnection.Run(fmt::format("DETACH {}", fName));
    } catch (const DataError&) {
      // The run has failed, and the file will be removed.
    }
  }
  Attached(const Attached&) = delete;
  Attached& operator=(const Attached&) = delete;

  const std::string& Name() const { return fName; }

private:
  DuckConnection& fConnection;
  std::string fName;
};

// Cases and dictionary in one transaction: the file has both or neither.
void WriteNative(WorkDatabase& work, DuckConnection& connection, const Dictionary& dictionary,
                 const std::string& select, const std::string& path) {
  const Attached file(work, connection, path);
  connection.Run("BEGIN");
  try {
    connection.Run(fmt::format("CREATE TABLE {}.cases AS {}", file.Name(), select));
    connection.Run(NativeDictionarySql(dictionary, file.Name()));
    connection.Run("COMMIT");
  } catch (const DataError&) {
    // After a failed statement the connection takes nothing but a rollback. After a failed commit there is no
    // transaction any more, and the rollback fails; that changes nothing.
    try {
      connection.Run("ROLLBACK");
    } catch (const DataError&) {
    }
    throw;
  }
  connection.Run(fmt::format("CHECKPOINT {}", file.Name()));  // moves everything from the log into the file
}

}  // namespace

TableFileStore::TableFileStore(HostSession& session, OutputFile* file, FileKind kind)
    : IndependentDataStore(session, file),
      fWork(session.Layer<WorkDatabase>()),
      fTables(session.Layer<MemoryTables>()),
      fKind(kind) {}

TableFileStore::~TableFileStore() = default;

void TableFileStore::Begin() {
  NameTheNameless(&GetDictionary());  // before the names get into the table, the schema and the dictionary
  fpBlock = std::make_unique<CaseBlock>(fWork, GetDictionary());
}

void TableFileStore::Append(const KORV_Case& values) {
  fpBlock->Append(values);
}

// The ways to write a file, or a table in memory, are one statement each, over everything that the work table
// has.
void TableFileStore::End() {
  const std::unique_ptr<CaseBlock> block =
      std::move(fpBlock);  // the work table is dropped at the end of this call
  block->Finish();
  const std::string select = SelectSql(GetDictionary(), block->Table(), fKind);
  if (fKind == FileKind::kMemory) {
    fTables.Keep(File().role, MakeArrowTable(block->Connection(), select));
    return;
  }
  const std::string& path = File().parts.back()->TemporaryPath();
  try {
    if (fKind == FileKind::kParquet) {
      WriteParquet(block->Connection(), GetDictionary(), select, path);
    } else {
      WriteNative(fWork, block->Connection(), GetDictionary(), select, path);
    }
  } catch (const DataError& error) {
    std::string reason = error.what();  // DuckDB's may have the temporary path, which means nothing to a user
    const std::size_t at = reason.find(path);
    throw DataError(at == std::string::npos ? reason : reason.replace(at, path.size(), File().target));
  }
}
