#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/engine/CaseEngine.h"
#include "host/model/Dictionary.h"

// A column of a relation.
struct RelationColumn {
  std::string sql;   // the expression that gives it
  std::string type;  // its SQL type
};

// CaseRelation says in SQL where the cases of a data file are to be had in the session's work database.
struct CaseRelation {
  std::string name;                     // of the file, as messages name it
  std::string watched;                  // the file that mustn't change while it is read; empty for none
  std::string from;                     // what stands behind FROM
  std::vector<RelationColumn> columns;  // of the variables, in the order of the dictionary
  std::shared_ptr<const void> held;     // what must stay in the work database; null when nothing does
};

// A data file that was opened for reading.
struct DataFrame {
  Dictionary dictionary;
  CaseRelation relation;
};

// What tells one state of a file from another.
struct FileState {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t bytes = 0;
  std::int64_t changedSeconds = 0;
  std::int64_t changedNanoseconds = 0;

  bool operator==(const FileState&) const = default;
};

// DuckCaseEngine serves the cases of a relation of the work database: each cursor is one streaming query over
// the columns asked for, in the relation's own order.
//
// Failures: DataError names the file. A file that is changed or replaced after it was opened is one: its
//           cases would no longer be those of its dictionary.
class DuckCaseEngine : public CaseEngine {
public:
  explicit DuckCaseEngine(const DataFrame& frame);

  std::unique_ptr<CaseCursor> Open(const std::vector<int>& columns, std::int64_t firstRow) override;
  std::int64_t CountCases() override;

  // Errors: DataError when the file isn't the one that was opened.
  void CheckUnchanged() const;
  const std::string& Name() const { return fRelation.name; }

private:
  std::string Projection(int column) const;

  struct Shape {
    std::string name;
    int width;  // 0 for a number
  };
  CaseRelation fRelation;
  std::vector<Shape> fvShapes;  // of the variables
  FileState fState;             // of the watched file, as it was opened
};
