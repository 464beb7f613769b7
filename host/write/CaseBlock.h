#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/engine/DuckDb.h"

class DuckAppender;
class KORV_Case;
class WorkDatabase;
struct Dictionary;

// CaseBlock collects the cases of an output in a table of the work database, from which a file is then
// written in one statement. Column k of the table is named ck. It is a DOUBLE or a VARCHAR, and null where a
// case has no value: a number that is system-missing or not finite, or a text of nothing but blanks.
//
// Use:        Append() for each case, Finish(), then statements over Table() on Connection().
// Ownership:  owns the table, which is dropped with the object. Borrows the database.
// Failures:   DataError with the reason alone; also from the constructor where there is no variable, since a
//             table must have a column.
// Cost:       nothing is allocated for a case.
class CaseBlock {
public:
  CaseBlock(WorkDatabase& work, const Dictionary& dictionary);
  ~CaseBlock();
  CaseBlock(const CaseBlock&) = delete;
  CaseBlock& operator=(const CaseBlock&) = delete;

  // REQUIRES: the case has the variables of the dictionary.
  void Append(const KORV_Case& values);
  // The last case has come; all of them are in the table now.
  void Finish();

  // REQUIRES: Finish() was called.
  DuckConnection& Connection() { return fConnection; }
  const std::string& Table() const { return fTable; }

private:
  DuckConnection fConnection;
  std::string fTable;
  std::vector<int> fvWidths;  // of the columns; 0 for a number
  std::unique_ptr<DuckAppender> fpAppender;
};
