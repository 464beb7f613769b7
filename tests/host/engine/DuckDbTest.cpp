#include <functional>

#include "FrameFixture.h"
#include "host/engine/DuckAppender.h"
#include "host/environment/MCStopProcessor.h"

namespace {

TEST(DuckDb, CleansReasons) {
  struct Case {
    const char* message;
    const char* reason;
  };
  const Case kCases[] = {
      {nullptr, "DuckDB failed without a reason"},
      {"", "DuckDB failed without a reason"},
      {"IO Error: ", "DuckDB failed without a reason"},
      {"no class at all", "no class at all"},
      {"Catalog Error: no table x!\nDid you mean y?\n\nLINE 1: FROM x", "no table x!"},
      {"Invalid Input Error: a value: is bad. . ", "a value: is bad"},
      {"Invalid Error: IO Error: no space.", "no space"},
      {"copying failed: IO Error: no space", "copying failed: IO Error: no space"},
      {"IO Error: copying failed: IO Error: no space", "copying failed: IO Error: no space"},
  };
  for (const Case& c : kCases) EXPECT_EQ(CleanReason(c.message), c.reason);
}

TEST(DuckDb, Quotes) {
  EXPECT_EQ(QuoteIdentifier("a \"b\" 'c'"), "\"a \"\"b\"\" 'c'\"");
  EXPECT_EQ(QuoteLiteral("a \"b\" 'c'"), "'a \"b\" ''c'''");
}

// Fetches all rows of a stream.
void Drain(DuckResult result) {
  while (result.Fetch()) {
  }
}

// Goal: DuckDB keeps the reason of a failure in another place for each step; it must reach the message from
// all of them, as one line.
TEST_F(FrameFixture, ReasonsOfDuckDb) {
  DuckConnection connection = fSession.Layer<WorkDatabase>().Connect();
  connection.Run("CREATE TABLE small (n DOUBLE CHECK (n < 5), s VARCHAR)");
  const std::vector<duckdb_type> types = {DUCKDB_TYPE_DOUBLE, DUCKDB_TYPE_VARCHAR};
  struct Case {
    const char* aim;
    std::function<void()> step;
    const char* reason;
  };
  const Case kCases[] = {
      {"a statement", [&] { connection.Run("SELECT error('boom')"); }, "boom"},
      {"a query", [&] { connection.Query("SELECT 'x'::DOUBLE"); }, "Could not convert string 'x' to DOUBLE"},
      {"a stream that can't be prepared", [&] { connection.Stream("FROM none"); },
       "Table with name none does not exist!"},
      {"a stream that can't start",
       [&] { connection.Stream("SELECT error('start') FROM range(3) t(i) ORDER BY i"); }, "start"},
      {"a stream that breaks off",
       [&] { Drain(connection.Stream("SELECT if(i = 900000, error('late'), i) FROM range(1000000) t(i)")); },
       "late"},
      {"columns of nothing", [&] { connection.QueryColumns("FROM none"); },
       "Table with name none does not exist!"},
      {"columns of no query", [&] { connection.QueryColumns("DELETE FROM small"); },
       "a statement that isn't a query"},
      {"an appender without a table", [&] { DuckAppender(connection, "none", types); },
       "Table \".main.none\" could not be found"},
      {"an appender whose rows are refused",
       [&] {
         DuckAppender appender(connection, "small", types);
         appender.SetNumber(0, 7.0);
         appender.SetNull(1);
         appender.EndRow();
         appender.Close();
       },
       "Failed to append: CHECK constraint failed on table small with expression CHECK((n < 5))"},
      {"a stream after a stop request",
       [&] {
         DuckResult result = connection.Stream("FROM range(10)");
         RequestStop();
         Drain(std::move(result));
       },
       "stopped"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    try {
      c.step();
      ADD_FAILURE() << "no failure";
    } catch (const DataError& error) {
      EXPECT_STREQ(error.what(), c.reason);
    }
    ClearStopRequest();
  }
}

// Goal: rows of several blocks arrive, each with its own values and nulls; nulls of a block don't stay in the
// next.
TEST_F(FrameFixture, AppendsBlocks) {
  DuckConnection connection = fSession.Layer<WorkDatabase>().Connect();
  connection.Run("CREATE TABLE t (n DOUBLE, s VARCHAR)");
  DuckAppender appender(connection, "t", {DUCKDB_TYPE_DOUBLE, DUCKDB_TYPE_VARCHAR});
  int blocks = 0;
  for (int i = 0; i < 5000; ++i) {
    appender.SetNumber(0, i);
    i < 2048 ? appender.SetNull(1) : appender.SetText(1, "a text longer than a cell " + std::to_string(i));
    if (appender.EndRow()) ++blocks;
  }
  appender.Close();
  EXPECT_EQ(blocks, 2);
  DuckResult result = connection.Query(
      "SELECT count(*), sum(n)::BIGINT, count(s), count(*) FILTER (s = 'a text longer than a cell ' || "
      "n::BIGINT) FROM "
      "t");
  const DuckChunk row = result.Fetch();
  EXPECT_EQ(row.Values<std::int64_t>(0)[0], 5000);
  EXPECT_EQ(row.Values<std::int64_t>(1)[0], 4999 * 2500);
  EXPECT_EQ(row.Values<std::int64_t>(2)[0], 5000 - 2048);
  EXPECT_EQ(row.Values<std::int64_t>(3)[0], 5000 - 2048);
}

}  // namespace
