#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/engine/CaseEngine.h"
#include "host/environment/HostErrors.h"
#include "host/files/FileWatch.h"
#include "host/model/Dictionary.h"

class WorkDatabase;

// A column of a relation.
struct RelationColumn {
  std::string sql;   // the expression that gives it
  std::string type;  // SQL type of that expression
};

// CaseRelation is a data file in terms of the work database: its dictionary, and in SQL where its cases are.
// Readers make and change relations; what leaves host/read is the DataFrame of MakeFrame().
struct CaseRelation {
  std::string name;  // of the file, in messages
  Dictionary dictionary;
  std::shared_ptr<const FileWatch> watched;  // the file, if its cases are read in place
  std::string from;                          // what comes after FROM
  std::vector<RelationColumn> columns;       // of the variables, in the order of the dictionary
  std::shared_ptr<const void> held;          // token of what must stay in the work database; may be null
  std::string remark{};                      // see DataFrame
};

// The frame of a relation, served by a DuckCaseEngine over the database that the relation is in.
DataFrame MakeFrame(std::shared_ptr<WorkDatabase> work, CaseRelation relation);

// DuckCaseEngine serves the cases of a relation: each cursor is one streaming query over the columns asked
// for, in the relation's own order. Skipping to `firstRow` reads the rows before it, and drops them.
//
// Ownership:  shares the database.
// Failures:   besides those of any engine, a file that is changed or replaced after it was opened: its cases
//             would no longer be those of its dictionary.
class DuckCaseEngine : public CaseEngine {
public:
  DuckCaseEngine(std::shared_ptr<WorkDatabase> work, CaseRelation relation);

  std::unique_ptr<CaseCursor> Open(const std::vector<int>& columns, std::int64_t firstRow) override;
  std::int64_t CountCases() override;
  ColumnContents Summarize(int column, const KORV_Variable& variable) override;

  // For the cursors:
  // Throws DataError, without the name, when the watched file isn't the one that was opened.
  void CheckUnchanged() const;
  // Runs a step over the database. Its failures get the file's name in front; where the file was changed,
  // that is reported instead, since what DuckDB says of torn contents only confuses.
  template <class Step>
  auto Guard(const Step& step) const {
    return Named(fRelation.name, [&] {
      try {
        return step();
      } catch (const DataError&) {
        CheckUnchanged();
        throw;
      }
    });
  }
  const std::string& Name() const { return fRelation.name; }

private:
  std::string Projection(int column) const;

  // What a cursor needs to know of a variable.
  struct Shape {
    std::string name;
    int width;  // 0 for a number
  };

  std::shared_ptr<WorkDatabase> fpWork;  // before the relation, which may hold something in it
  CaseRelation fRelation;                // without its dictionary
  std::vector<Shape> fvShapes;           // of the variables, in the order of the dictionary
};
