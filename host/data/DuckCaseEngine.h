#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/data/CaseEngine.h"
#include "host/data/CaseRelation.h"

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
