// A native file as another program might have left it: its tables changed by statements, or bytes of the file
// changed with its checksums made to fit. It is refused with a reason, or opened and read as far as it goes.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstring>
#include <map>
#include <sstream>

#include "FrameFuzz.h"
#include "host/engine/DuckDb.h"
#include "host/engine/WorkDatabase.h"
#include "host/write/NativeFile.h"

namespace {

using Words = std::vector<const char*>;

const Words kTables = {"variables", "cases", "missing_values", "value_labels", "documents", "file_info"};
const Words kColumns = {"position",       "name",  "type",  "print_type", "print_width", "write_type",
                        "write_decimals", "level", "label", "ordinal",    "number",      "text",
                        "document",       "line",  "key",   "value",      "n",           "s"};
const Words kValues = {
    "NULL",       "0",     "1",           "-1",         "2",       "8",           "255",   "256",
    "'n'",        "''",    "'a b'",       "2147483647", "1000000", "-2147483648", "1e300", "'nan'::DOUBLE",
    "'\xC3\xA9'", "rowid", "position + 1"};
const Words kTypes = {"VARCHAR", "INTEGER",   "DOUBLE", "BLOB",     "HUGEINT", "DECIMAL(38,9)", "INTEGER[]",
                      "UUID",    "TIMESTAMP", "DATE",   "INTERVAL", "BIT",     "STRUCT(a INT)", "BOOLEAN"};
// In a statement, "$t" is one of the tables, and so on.
const std::map<char, const Words*> kPlaces = {
    {'t', &kTables}, {'c', &kColumns}, {'v', &kValues}, {'y', &kTypes}};
const Words kStatements = {"UPDATE f.$t SET \"$c\" = $v",
                           "UPDATE f.$t SET \"$c\" = $v WHERE \"$c\" = $v",
                           "UPDATE f.$t SET \"$c\" = $v WHERE rowid = 0",
                           "UPDATE f.$t SET \"$c\" = repeat('x', 70000)",
                           "INSERT INTO f.$t SELECT * FROM f.$t",
                           "DELETE FROM f.$t WHERE \"$c\" = $v",
                           "DELETE FROM f.$t",
                           "DROP TABLE f.$t",
                           "ALTER TABLE f.$t DROP COLUMN \"$c\"",
                           "ALTER TABLE f.$t RENAME COLUMN \"$c\" TO \"$c\"",
                           "ALTER TABLE f.$t ADD COLUMN \"$c\" $y DEFAULT $v",
                           "ALTER TABLE f.$t ALTER COLUMN \"$c\" TYPE $y"};

std::string Pick(const Words& words, FuzzedDataProvider& choose) {
  return words[choose.ConsumeIntegralInRange<std::size_t>(0, words.size() - 1)];
}
std::string AnyStatement(FuzzedDataProvider& choose) {
  std::string statement = Pick(kStatements, choose);
  for (std::size_t at = statement.find('$'); at != std::string::npos; at = statement.find('$')) {
    statement.replace(at, 2, Pick(*kPlaces.at(statement[at + 1]), choose));
  }
  return statement;
}

// The file that inputs change: numbers and texts with labels, missing values and a document.
std::string MakeFile(const std::string& path) {
  remove(path.c_str());
  DuckConnection connection = HostSession::Current().Layer<WorkDatabase>().Connect();
  connection.Run("ATTACH '" + path + "' AS f (BLOCK_SIZE 16384)");
  connection.Run(NativeDictionarySql(*ActiveFile::Current().SharedDictionary(), "f"));
  connection.Run("CREATE TABLE f.cases AS SELECT i % 4 AS n, 't' || i % 10 AS s FROM range(300) r(i)");
  return path;
}

void ChangeTables(FuzzedDataProvider& choose) {
  DuckConnection connection = HostSession::Current().Layer<WorkDatabase>().Connect();
  for (int count = choose.ConsumeIntegralInRange(1, 6); count > 0; --count) {
    try {
      connection.Run(AnyStatement(choose));
    } catch (const DataError&) {
      // no such column in this table, or a value that doesn't fit it
    }
  }
}

// DuckDB's files: three headers of 4096 bytes, then blocks; each begins with the checksum of what comes after
// it.
void FitChecksums(std::string& file) {
  constexpr std::size_t kHeader = 4096;
  constexpr std::size_t kHeaders = 3 * kHeader;
  constexpr std::size_t kBlock = 16384;
  for (std::size_t at = 0; at < file.size();) {
    const std::size_t bytes = std::min(at < kHeaders ? kHeader : kBlock, file.size() - at);
    std::uint64_t sum = 5381;
    for (std::size_t i = sizeof sum; i + sizeof sum <= bytes; i += sizeof sum) {
      std::uint64_t word = 0;
      std::memcpy(&word, &file[at + i], sizeof word);
      sum ^= word * 0xbf58476d1ce4e5b9U;
    }
    std::memcpy(&file[at], &sum, sizeof sum);
    at += bytes;
  }
}

void ChangeBytes(const std::string& path, FuzzedDataProvider& choose) {
  std::ostringstream whole;
  whole << std::ifstream(path, std::ios::binary).rdbuf();
  std::string bytes = whole.str();
  for (int count = choose.ConsumeIntegralInRange(1, 8); count > 0; --count) {
    bytes[choose.ConsumeIntegralInRange<std::size_t>(0, bytes.size() - 1)] = choose.ConsumeIntegral<char>();
  }
  if (choose.ConsumeIntegralInRange(0, 9) == 9)
    bytes.resize(choose.ConsumeIntegralInRange<std::size_t>(0, bytes.size()));
  FitChecksums(bytes);
  std::ofstream(path, std::ios::binary) << bytes;
}

constexpr const char* kFrame = "n,s\n1,t1\n2,t2\n";
constexpr const char* kSchema =
    R"({"fields": [{"name": "n", "type": "number", "title": "a number", "missingValues": ["9"],
                    "categories": [{"value": 1, "label": "one"}, {"value": 2, "label": "two"}]},
                   {"name": "s", "type": "string", "missingValues": ["zz"]}]})";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static FuzzSession session;
  session.Next();
  FuzzedDataProvider choose(data, size);
  Require(Opens(session.Write("frame.csv", kFrame), session.Write("schema.json", kSchema)));
  const std::string path = MakeFile(session.Path("native.sav"));
  const bool changesBytes = choose.ConsumeBool();
  if (!changesBytes) ChangeTables(choose);
  HostSession::Current().Layer<WorkDatabase>().Connect().Run("DETACH f");
  if (changesBytes) ChangeBytes(path, choose);
  if (Opens(path)) Require(ReadAllCases() || changesBytes);
  return 0;
}
