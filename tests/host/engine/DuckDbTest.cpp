#include <functional>

#include "FrameFixture.h"
#include "host/engine/DuckAppender.h"
#include "host/environment/MCStopProcessor.h"

namespace {

TEST(DuckDb, CleansReasons) {
  const std::pair<const char*, const char*> kCases[] = {
      {nullptr, "DuckDB failed without a reason"},
      {"IO Error: ", "DuckDB failed without a reason"},
      {"no class at all", "no class at all"},
      {"Catalog Error: no table x!\nDid you mean y?\n\nLINE 1: FROM x", "no table x!"},
      {"Invalid Input Error: a value: is bad. . ", "a value: is bad"},
      {"Invalid Error: IO Error: no space.", "no space"},
      {"IO Error: copying failed: IO Error: no space", "copying failed: IO Error: no space"},
  };
  for (const auto& [message, reason] : kCases) EXPECT_EQ(CleanReason(message), reason);
}

// Goal: DuckDB keeps the reason of a failure in another place for each step; it must reach the message from
// all of them, as one line.
TEST_F(FrameFixture, ReasonsOfDuckDb) {
  DuckConnection connection = fSession.Layer<WorkDatabase>().Connect();
  connection.Run("CREATE TABLE small (n DOUBLE CHECK (n < 5))");
  const auto stream = [&](const char* sql) {
    DuckResult result = connection.Stream(sql);
    while (result.Fetch()) {
    }
  };
  const auto append = [&](const char* table) {
    DuckAppender appender(connection, table, {DUCKDB_TYPE_DOUBLE});
    appender.SetNumber(0, 7.0);
    appender.EndRow();
    appender.Close();
  };
  struct Case {
    const char* aim;
    std::function<void()> step;
    const char* reason;
  };
  const Case kCases[] = {
      {"a statement", [&] { connection.Run("SELECT error('boom')"); }, "boom"},
      {"a query", [&] { connection.Query("SELECT 'x'::INT"); }, "Could not convert string 'x' to INT32"},
      {"no stream", [&] { stream("FROM none"); }, "Table with name none does not exist!"},
      {"its start", [&] { stream("SELECT error('start') FROM range(3) t(i) ORDER BY i"); }, "start"},
      {"its end", [&] { stream("SELECT if(i > 900000, error('late'), i) FROM range(1000000) t(i)"); },
       "late"},
      {"no columns", [&] { connection.QueryColumns("DELETE FROM small"); }, "a statement that isn't a query"},
      {"no table", [&] { append("none"); }, "Table \".main.none\" could not be found"},
      {"a row", [&] { append("small"); },
       "Failed to append: CHECK constraint failed on table small with expression CHECK((n < 5))"},
      {"a stop request", [&] { RequestStop(), stream("FROM range(10)"); }, "stopped"},
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
      "SELECT count(*), sum(n)::BIGINT, count(s), count_if(s = 'a text longer than a cell ' || n::BIGINT) "
      "FROM t");
  const DuckChunk row = result.Fetch();
  const std::int64_t kExpected[] = {5000, 4999 * 2500, 5000 - 2048, 5000 - 2048};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(row.Values<std::int64_t>(i)[0], kExpected[i]) << i;
}

}  // namespace
