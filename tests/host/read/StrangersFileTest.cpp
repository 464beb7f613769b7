#include "FrameFixture.h"
#include "host/read/NativeCatalogue.h"
#include "host/write/NativeFile.h"

namespace {

// Files that somebody else may have made, in order to be opened here.
class StrangersFile : public FrameFixture {
protected:
  StrangersFile() {
    Write("secret.txt", "the secret");
    ::OpenFrame(fSession, {.path = Write("frame.csv", "n,s\n1,x\n")});
    fDictionary = NativeDictionarySql(*ActiveFile::Current().SharedDictionary(), "f");
    ActiveFile::Current().Close();
  }
  // A native file whose cases are made by the statements.
  std::string Native(const std::string& statements) {
    const std::string path = Path("f.sav");
    std::filesystem::remove(path);
    Sql("ATTACH '" + path + "' AS f; " + fDictionary + "USE f; " + statements + "; USE memory; DETACH f");
    return path;
  }
  // The text with the folder for each $.
  std::string InFolder(const std::string& text) const { return Replace(text, "$", fFolder.path); }

  std::string fDictionary;
};

constexpr const char* kCases = "CREATE TABLE cases AS SELECT 1.5 AS n, 'x' AS s";

// Goal: nothing that is a statement or an expression in a native file is run. What isn't asked for may be
// there, but never takes the place of a function that the reader calls.
TEST_F(StrangersFile, GivesDataOnly) {
  struct Case {
    const char* statements;
    const char* refusal;  // empty if the file gives its cases
  };
  const char* const noTable = "it has no table \"cases\", or a view in its place";
  const Case kFiles[] = {
      {kCases, ""},
      {"CREATE TABLE cases(n DOUBLE NOT NULL, s VARCHAR); INSERT INTO cases VALUES (1.5, 'x')", ""},
      {"CREATE TABLE cases AS SELECT 1.5 AS n, 'x' AS s; CREATE VIEW other AS FROM read_text('$/secret.txt');"
       "CREATE MACRO strlen(x) AS 70000; CREATE MACRO count() AS 7; CREATE MACRO rtrim(x, y) AS 'macro'",
       ""},
      {"CREATE VIEW cases AS SELECT 1.5 AS n, content AS s FROM read_text('$/secret.txt')", noTable},
      {"CREATE MACRO cases() AS TABLE SELECT 1.5 AS n, content AS s FROM read_text('$/secret.txt')", noTable},
      {"CREATE SCHEMA s; CREATE TABLE s.cases AS SELECT 1.5 AS n; CREATE VIEW cases AS FROM s.cases",
       noTable},
      {"CREATE TABLE cases AS SELECT 1.5 AS n, 'x' AS s; DROP TABLE documents; CREATE VIEW documents AS "
       "SELECT "
       "0 AS document, content AS text, 0 AS line FROM read_text('$/secret.txt')",
       "it has no table \"documents\", or a view in its place"},
      {"CREATE TABLE cases(n DOUBLE, s VARCHAR AS (getvariable('x')::VARCHAR)); INSERT INTO cases VALUES (1)",
       "column \"cases.s\" has a default or is computed"},
      {"CREATE TABLE cases(n DOUBLE, s VARCHAR DEFAULT (current_setting('TimeZone')))",
       "column \"cases.s\" has a default or is computed"},
      {"CREATE TABLE cases(n DOUBLE CHECK (n < 3), s VARCHAR)",
       "table \"cases\" has an index or a constraint"},
      {"CREATE TABLE cases(n DOUBLE PRIMARY KEY, s VARCHAR)", "table \"cases\" has an index or a constraint"},
      {"CREATE TABLE cases(n DOUBLE, s VARCHAR UNIQUE)", "table \"cases\" has an index or a constraint"},
      {"CREATE TABLE cases(n DOUBLE, s VARCHAR); CREATE INDEX i ON cases(n)",
       "table \"cases\" has an index or a constraint"},
  };
  for (const Case& c : kFiles) {
    SCOPED_TRACE(c.statements);
    const std::string error = ErrorOf({.path = Native(c.statements)});
    const std::string refusal = fmt::format("f.sav: no native data file ({}; a data file gives ", c.refusal);
    EXPECT_EQ(error.substr(0, refusal.size()), *c.refusal == '\0' ? "opened" : refusal);
    if (error != "opened") continue;
    EXPECT_EQ(ShowCases(), "1.5|x");
    EXPECT_EQ(ActiveFile::Current().Engine().CountCases(), 1);
  }
}

TEST(NativeCatalogue, NamesOfTypes) {
  for (const char* const type : {"DOUBLE", "DECIMAL(18,3)", "TIMESTAMP WITH TIME ZONE", "INTEGER[3][]",
                                 "STRUCT(a INTEGER, \"b)\" DATE)", "ENUM('a', 'it''s )', '\"')",
                                 "MAP(VARCHAR, UNION(n INTEGER))", "TIMESTAMP_NS"}) {
    EXPECT_TRUE(IsTypeName(type)) << type;
  }
  for (const char* const text : {"INTEGER), (SELECT 1", "INTEGER) FROM t --", "A, B", "A; B", "ENUM('a", "A(",
                                 "\"A", "A /* ", "A -- ", "A + 1", "ENUM('a''), (SELECT 1"}) {
    EXPECT_FALSE(IsTypeName(text)) << text;
  }
  EXPECT_FALSE(IsTypeName(std::string_view("INT'\0'", 6)));
}

// DuckDB runs the statements of a log when it attaches the file.
TEST_F(StrangersFile, LogBesideANativeFile) {
  for (const auto& [name, log] : {std::pair("f.sav", "f.sav.wal"), std::pair("a?b.sav", "a.wal?b.sav")}) {
    std::filesystem::rename(Native(kCases), Path(name));
    std::filesystem::create_symlink("nowhere", Path(log));
    const std::string refusal = fmt::format("{}: no native data file (its log {} is there, so", name, log);
    EXPECT_EQ(ErrorOf({.path = Path(name)}).substr(0, refusal.size()), refusal);
    std::filesystem::create_symlink(name, Path(std::string("to-") + name));
    const std::string ofLink = ErrorOf({.path = Path(std::string("to-") + name)});
    EXPECT_NE(ofLink.find(std::string(log) + " is there"), std::string::npos) << ofLink;
  }
}

// Goal: of another program's database nothing is asked that could load an extension.
TEST_F(StrangersFile, DatabasesOfOtherKinds) {
  const std::string error = ErrorOf({.path = Write("s.sav", "SQLite format 3" + std::string(5000, '\0'))});
  EXPECT_NE(error.find("s.sav: no native data file"), std::string::npos) << error;
  EXPECT_EQ(error.find("xtension"), std::string::npos) << error;
}

TEST_F(StrangersFile, DatabaseThatIsShutOff) {
  Sql("COPY (SELECT 1 AS a) TO '$/a.parquet'; COPY (SELECT 2 AS a) TO '$/b.parquet'");
  WorkDatabase work(fSession);
  work.AllowOnly({Path("a.parquet")});
  DuckConnection connection = work.Connect();
  EXPECT_NO_THROW(connection.Run("FROM '" + Path("a.parquet") + "'"));
  EXPECT_NO_THROW(connection.Run("CREATE TABLE t AS SELECT 1 AS a"));
  for (const char* const sql :
       {"FROM read_parquet('$/b.parquet')", "FROM read_parquet('$/[a].parquet')",
        "FROM read_text('$/secret.txt')", "FROM glob('$/*')", "COPY t TO '$/c.csv'",
        "COPY t TO '$/c.parquet'", "ATTACH '$/c.sav' AS c", "EXPORT DATABASE '$/c'",
        "LOAD '$/c.duckdb_extension'", "INSTALL httpfs", "SET enable_external_access = true",
        "SET allowed_directories = ['/']", "RESET allowed_paths"}) {
    EXPECT_THROW(connection.Run(InFolder(sql)), DataError) << sql;
  }
  EXPECT_FALSE(std::filesystem::exists(Path("c.csv")) || std::filesystem::exists(Path("c.sav")));
}

// Goal: the name of a data file is a name. It isn't a pattern for others, an address, or a piece of SQL.
TEST_F(StrangersFile, NamesOfFiles) {
  Write("a1.csv", "n\n1\n");
  Sql("COPY (SELECT 1 AS n) TO '$/a1.parquet'");
  for (const std::string name :
       {"a*.csv", "a?.csv", "a[1].csv", "http://localhost/a1.csv", "s3://a/a1.parquet", "a*.parquet",
        "a[1].parquet", "file:a1.parquet", "md:a1.sav"}) {
    EXPECT_EQ(ErrorOf({.path = Path(name)}), name + ": there is no such file");
    EXPECT_EQ(ErrorOf({.path = name}), name + ": there is no such file");
  }
  int number = 1;
  for (const std::string name : {"a[1]", "a*", "a?", "it's", "a\"b", "a'); DROP TABLE t; --", "h=1", "{n}"}) {
    SCOPED_TRACE(name);
    Sql(fmt::format("COPY (SELECT {} AS n) TO '$/new.parquet'", ++number));
    std::filesystem::rename(Path("new.parquet"), Path(name + ".parquet"));
    ASSERT_EQ(ErrorOf({.path = Path(name + ".parquet")}), "opened");
    EXPECT_EQ(ShowCases(), std::to_string(number));
    std::filesystem::rename(Native(kCases), Path(name + ".sav"));
    ASSERT_EQ(ErrorOf({.path = Path(name + ".sav")}), "opened");
    EXPECT_EQ(ShowCases(), "1.5|x");
  }
}

// Goal: a query is a single SELECT, and whatever it calls, no file appears.
TEST_F(StrangersFile, QueriesWriteNothing) {
  const auto names = [&] { return std::distance(std::filesystem::directory_iterator(fFolder.path), {}); };
  const auto before = names();
  for (const char* const sql : {
           "COPY (SELECT 1 AS a) TO '$/w.csv'",
           "ATTACH '$/w.sav' AS w",
           "EXPORT DATABASE '$/w'",
           "CREATE TABLE t AS SELECT 1 AS a",
           "SELECT 1 AS a; COPY (SELECT 1 AS a) TO '$/w.csv'",
           "PREPARE p AS SELECT 1",
           "CALL enable_logging(storage_path = '$/log')",
           "FROM enable_logging(storage_path = '$/log')",
           "FROM system.main.\"Enable_Logging\"(storage_path = '$/log')",
           "SELECT 1 AS a WHERE EXISTS (FROM enable_logging(storage_path = '$/log'))",
           "FROM query('FROM enable' || '_logging(storage_path=''$/log'')')",
           "FROM json_execute_serialized_sql(json_serialize_sql('SELECT 1 AS a'))",
       }) {
    EXPECT_NE(ErrorOf({.sql = InFolder(sql)}), "opened") << sql;
    EXPECT_EQ(names(), before) << sql;
  }
  EXPECT_EQ(ErrorOf({.sql = "FROM enable_logging()"}),
            "query: enable_logging() could write files, which a query mustn't; leave it out");
  EXPECT_EQ(ErrorOf({.sql = InFolder("SELECT content AS query FROM read_text('$/secret.txt')")}), "opened");
  EXPECT_EQ(ShowCases(), "the secret");
}

}  // namespace
