#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/engine/DuckCaseEngine.h"
#include "host/engine/DuckDb.h"
#include "host/read/PlainText.h"
#include "host/read/SchemaRules.h"
#include "host/read/TextProfile.h"

class DuckAppender;

// TextTable loads the rows of a text file (CSV, TSV, JSON) into the work database.
//
// The type of a column is known only after its last row (see TextProfile), but the rows must not be kept in
// memory, nor the file be read twice: it may be large, or change in between. So there are two tables:
//
//   texts_N    filled row by row as the file is read. All columns are VARCHAR and hold the values as written;
//              an empty value is null. Meanwhile each column's TextProfile sees each value.
//   cases_N    made by Finish() in one statement, with each column cast to the type that its profile and the
//              schema decided. texts_N is dropped then. This is the relation that is returned.
//
// What a column becomes, in the order in which it is decided:
//   1. The profile settles a type. Integers are a BIGINT up to 18 characters, kept in a narrower type where all
//      fit; longer ones that doubles hold are a DOUBLE without decimals.
//   2. The schema may ask for something else. A type that a value doesn't fit is an error at that value's
//      line, not a missing value.
//   3. A number, boolean, date, time or timestamp is cast; a date or time is still a string variable, but
//      remembers its type for files that are written.
//   4. A value that the schema lists as missing may not fit the type ("NA" among numbers). A numeric column
//      casts it to null: it is system-missing. A string column keeps it as user-missing text, so a column of
//      dates with such a value must stay VARCHAR.
//
// JSON may bring a new column at any row. The appender is closed then, the column added to texts_N, and a new
// appender opened with the next row; the rows before have a null there.
//
// A plain text needs no texts_N: a scan has made the profiles, and DuckDB reads the rows straight into cases_N. The
// file is then read twice. If it changes in between, the watch on it says so (FileWatch).
//
// Use:       AddColumn() as columns become known; for each row Set() for its values, then EndRow(); Finish()
//            once, after which the object is spent.
// Ownership: borrows the work database and the rules; the relation that it returns owns cases_N.
//            For a plain text AddColumn() and FinishPlain() alone.
// Failures:  DataError that names the file and, for a value, its place. A stop request is one too.
// Cost:      a row is copied once; nothing is allocated for it once the longest values have been seen.
class TextTable {
public:
  // `name` is the file's in messages; `unit` is what places in it are called: "line" or "object".
  TextTable(WorkDatabase& work, std::string name, std::string unit, const SchemaRules& rules);
  ~TextTable();

  // Adds a column, and returns its index. The rows so far have no value in it.
  // Errors: DataError at `place` when a column has the same name, without regard to case.
  std::size_t AddColumn(const std::string& columnName, std::int64_t place);
  std::size_t Columns() const { return fvColumns.size(); }

  // Sets the value of a column in the current row. Columns that aren't set, or to an empty text, have none.
  // `isString`: the file marks the value as a text.
  void Set(std::size_t column, std::string_view text, bool isString);
  // The column holds a list or an object in some row; Finish() leaves it out.
  void SetNested(std::size_t column) { fvColumns[column].isNested = true; }
  // Ends the current row, which is at `place` of the file, from 1.
  void EndRow(std::int64_t place);

  // Makes the typed table and its dictionary. A warning names the columns that are left out.
  CaseRelation Finish();

  // The same for a plain text whose columns were added, and no row.
  // Errors: DataError also if DuckDB finds other rows than the scan did.
  CaseRelation FinishPlain(PlainText text);
  // By column, the texts that mean a missing value.
  std::vector<std::vector<std::string>> MissingTexts() const;

private:
  struct Column {
    std::string name;
    std::string upperName;
    std::string sqlName;                    // cN: names in the file may be odd or empty
    std::vector<std::string> missingTexts;  // by the schema
    TextProfile profile;
    bool isNested = false;
    // Of the current row. Kept until EndRow(), which knows the row's place.
    std::string text;
    bool isSet = false;
    bool isString = false;
  };
  // What a column of texts becomes: a variable, the type that its values are kept in, and the SQL that makes them
  // of the texts.
  struct Typed {
    KORV_Variable variable;
    std::string type;
    std::string sql;
  };
  // All columns together: the relation without its cases, and the list of a SELECT that makes these.
  struct Settled {
    CaseRelation relation;
    std::string list;
    std::vector<std::string> leftOut;
  };

  void Run(const std::string& sql);
  void MakeColumns();
  void CheckNotStopped() const;
  void OpenAppender();
  void CloseAppender();
  Typed Settle(const Column& column) const;
  Settled SettleAll() const;
  std::int64_t MakeCases(const std::string& list, const std::string& from, CaseRelation* relation);
  ColumnFacts FactsOf(const Column& column) const;
  void CheckWish(const Column& column, SchemaRules::Wish wish) const;

  std::string fName;
  std::string fUnit;
  const SchemaRules& fRules;  // borrowed
  WorkDatabase& fWork;        // borrowed
  DuckConnection fConnection;
  std::string fTable;  // texts_N
  std::vector<Column> fvColumns;
  std::size_t fMade = 0;                     // columns that texts_N has already
  bool fbFinished = false;                   // texts_N is gone
  std::unique_ptr<DuckAppender> fpAppender;  // null until a row comes and while columns are added
};
