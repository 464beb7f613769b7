#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/engine/DuckCaseEngine.h"
#include "host/engine/DuckDb.h"
#include "host/read/SchemaRules.h"
#include "host/read/TextProfile.h"

// TextTable takes in the rows of a text file once: as text at first, then, its columns' types settled over
// all rows, as a typed table of the session's work database.
//
// Use:      AddColumn() as columns become known; for each row Set() and EndRow(); Finish() once.
// Errors:   DataError.
class TextTable {
public:
  // `name` names the file in errors; `unit` is what their places count: "line" or "object".
  TextTable(std::string name, std::string unit, const SchemaRules& rules);
  ~TextTable();

  // A further column; the rows so far have no value in it.
  // Errors: DataError at `place` when a column has that name already, without regard to case.
  std::size_t AddColumn(const std::string& columnName, std::int64_t place);
  std::size_t Columns() const { return fvColumns.size(); }

  // The value of a column in the current row; without one, and for the empty text, there is none.
  // `isString`: the file marks it as a text.
  void Set(std::size_t column, std::string_view text, bool isString);
  // The column holds a nested value somewhere, so that it is left out.
  void SetNested(std::size_t column) { fvColumns[column].isNested = true; }
  void EndRow(std::int64_t place);

  // The typed table and its dictionary; a warning names the columns that are left out.
  DataFrame Finish();

private:
  struct Column {
    std::string name;
    std::string upperName;
    std::string sqlName;
    std::vector<std::string> missingTexts;
    TextProfile profile;
    bool isNested = false;
    std::string text;  // of the current row, kept until its place is known
    bool isSet = false;
    bool isString = false;
  };
  // What becomes of a column of texts.
  struct Typed {
    KORV_Variable variable;
    std::string sql;
  };

  void Run(const std::string& sql);
  void MakeColumns();
  void Check(duckdb_state state) const;
  void OpenAppender();
  void CloseAppender();
  void FlushChunk();
  Typed Settle(const Column& column) const;
  ColumnFacts FactsOf(const Column& column) const;
  void CheckWish(const Column& column, SchemaRules::Wish wish) const;

  std::string fName;
  std::string fUnit;
  const SchemaRules& fRules;  // borrowed
  DuckConnection fConnection;
  std::string fTable;  // the texts
  std::vector<Column> fvColumns;
  std::size_t fMade = 0;                 // columns that the table of texts has already
  duckdb_appender fpAppender = nullptr;  // owned; null until a row comes and while columns are added
  DuckChunk fChunk;
  std::size_t fChunkRows = 0;
};
