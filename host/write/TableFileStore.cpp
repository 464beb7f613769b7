#include "host/write/TableFileStore.h"

#include <fmt/format.h>

#include <charconv>

#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/files/SessionFiles.h"
#include "host/model/TableSchema.h"
#include "host/write/CaseBlock.h"
#include "host/write/NativeFile.h"

namespace {

// Decimals of so many digits come out of a double right by one multiplication; longer ones go by their text.
constexpr int kDecimalDigits = 15;

bool IsLongDecimal(const std::string& type) {
  constexpr std::string_view kDecimal = "DECIMAL(";
  if (!type.starts_with(kDecimal)) return false;
  int digits = 0;
  std::from_chars(type.data() + kDecimal.size(), type.data() + type.size(), digits);
  return digits > kDecimalDigits;
}

// Parquet has no whole numbers of 128 bits: they would be written as doubles.
bool LosesDigits(const KORV_Variable& variable, FileKind kind) {
  const bool isHuge = variable.ColumnType() == "HUGEINT" || variable.ColumnType() == "UHUGEINT";
  return kind == FileKind::kParquet && variable.GetType() > 0 && isHuge;
}

// The column of the work table in the type that it has in the file.
std::string ColumnSql(const KORV_Variable& variable, std::size_t index, FileKind kind) {
  const std::string& type = variable.ColumnType();
  const std::string carrier = variable.GetType() > 0 ? "VARCHAR" : "DOUBLE";
  std::string value = fmt::format("c{}", index);
  if (type != carrier && !LosesDigits(variable, kind)) {
    if (variable.GetType() == 0 && IsLongDecimal(type)) value += "::VARCHAR";
    value = fmt::format("CAST({} AS {})", value, type);
  }
  return fmt::format("{} AS {}", value, QuoteIdentifier(variable.GetName()));
}

std::string SelectSql(const Dictionary& dictionary, const std::string& table, FileKind kind) {
  std::string columns;
  for (std::size_t i = 0; i < dictionary.variables.size(); ++i) {
    if (i > 0) columns += ", ";
    columns += ColumnSql(dictionary.variables[i], i, kind);
  }
  return fmt::format("SELECT {} FROM memory.{}", columns, table);
}

// A column of a database must have a name; one that came without gets its place as its name.
void NameTheNameless(Dictionary* dictionary) {
  for (std::size_t i = 0; i < dictionary->variables.size(); ++i) {
    if (!dictionary->variables[i].GetName().empty()) continue;
    std::string name = fmt::format("column{}", i + 1);
    while (dictionary->Find(name) >= 0) name += '_';
    dictionary->variables[i].SetName(name);
  }
}

void WriteParquet(DuckConnection& connection, const Dictionary& dictionary, const std::string& select,
                  const std::string& path) {
  connection.Run(
      fmt::format("COPY ({}) TO {} (FORMAT parquet, USE_TMP_FILE false, KV_METADATA {{dictionary: {}}})",
                  select, QuoteLiteral(path), QuoteLiteral(WriteTableSchema(dictionary))));
}

// Detaches a database when it goes, so that its file is closed whatever happens.
class Attached {
public:
  Attached(DuckConnection& connection, const std::string& path)
      : fConnection(connection), fName(WorkDatabase::Current().UniqueName("native")) {
    fConnection.Run(fmt::format("ATTACH {} AS {}", QuoteLiteral(path), fName));
  }
  ~Attached() {
    try {
      fConnection.Run(fmt::format("DETACH {}", fName));
    } catch (const DataError&) {  // the file is given up anyway
    }
  }
  Attached(const Attached&) = delete;
  Attached& operator=(const Attached&) = delete;

  const std::string& Name() const { return fName; }

private:
  DuckConnection& fConnection;
  std::string fName;
};

void WriteNative(DuckConnection& connection, const Dictionary& dictionary, const std::string& select,
                 const std::string& path) {
  const Attached file(connection, path);
  connection.Run("BEGIN");
  try {
    connection.Run(fmt::format("CREATE TABLE {}.cases AS {}", file.Name(), select));
    connection.Run(NativeDictionarySql(dictionary, file.Name()));
    connection.Run("COMMIT");
  } catch (const DataError&) {
    // A commit that failed has ended the transaction, and only a rollback clears a failed statement.
    try {
      connection.Run("ROLLBACK");
    } catch (const DataError&) {
    }
    throw;
  }
  connection.Run(fmt::format("CHECKPOINT {}", file.Name()));
}

}  // namespace

TableFileStore::TableFileStore(OutputFile* file, FileKind kind) : IndependentDataStore(file), fKind(kind) {}

TableFileStore::~TableFileStore() = default;

void TableFileStore::Begin() {
  NameTheNameless(&GetDictionary());
  fpBlock = std::make_unique<CaseBlock>(GetDictionary());
}

void TableFileStore::Append(const KORV_Case& values) {
  fpBlock->Append(values);
}

void TableFileStore::End() {
  const std::unique_ptr<CaseBlock> block = std::move(fpBlock);  // the work table goes with this call
  block->Finish();
  const std::string select = SelectSql(GetDictionary(), block->Table(), fKind);
  const auto write = fKind == FileKind::kParquet ? WriteParquet : WriteNative;
  write(block->Connection(), GetDictionary(), select, File().parts.back()->TemporaryPath());
}
