#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

// What stands behind the cases of a file: whatever can serve columns of rows in a fixed order. The rest of
// the data layer knows these two classes and no database.

// CaseCursor walks the rows of a query once, a block of rows at a time.
//
// A number is system-missing where the file has none or no finite one; it can be -0. A text has no trailing
// blanks and is never longer than its variable is wide.
class CaseCursor {
public:
  virtual ~CaseCursor() = default;

  // The rows of the next block; 0 at the end. What the block before gave is gone then.
  // Errors: DataError when the file can't be read on.
  virtual std::size_t NextBlock() = 0;

  // The values of a column in the block, by its place in the list that the cursor was opened with. They are
  // converted when first asked for.
  // REQUIRES: the column is numeric, or a string, respectively.
  virtual const double* Numbers(std::size_t place) = 0;
  virtual const std::string_view* Texts(std::size_t place) = 0;
};

// CaseEngine serves the cases of one data file. Each cursor gives the same rows in the same order.
class CaseEngine {
public:
  virtual ~CaseEngine() = default;

  // A cursor over the columns given by their places in the dictionary, from row `firstRow` (0-based) on.
  // Errors: DataError.
  virtual std::unique_ptr<CaseCursor> Open(const std::vector<int>& columns, std::int64_t firstRow) = 0;

  // Errors: DataError.
  virtual std::int64_t CountCases() = 0;
};
