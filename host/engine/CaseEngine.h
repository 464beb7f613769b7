#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/environment/HostErrors.h"
#include "host/model/Dictionary.h"

// What serves the cases of a data file, whatever it is: columns of rows in a fixed order. A frame is a
// dictionary and such an engine. Everything outside host/engine, host/read and host/write knows these classes
// and no database.

// CaseCursor walks rows once, forward, a block of rows at a time.
//
// Use:        NextBlock() until it returns 0; for each block Numbers() or Texts() of the columns needed. A
//             column that nobody asks for isn't converted.
// Ownership:  the arrays belong to the cursor and live until the next NextBlock().
// Threads:    one at a time. Different cursors of an engine may be used by different threads.
// Values:     a number is system-missing where the file has none or no finite one; it can be -0. A text has
//             no trailing blanks and is never longer than its variable is wide.
// Failures:   DataError that names the file, and the case where there is one at fault.
// Cost:       nothing is allocated for a block.
class CaseCursor {
public:
  virtual ~CaseCursor() = default;

  // Moves to the next block and returns its rows; 0 at the end.
  virtual std::size_t NextBlock() = 0;

  // The values of a column in the block, by its place in the list that the cursor was opened with.
  // REQUIRES: the column is numeric for Numbers(), a string for Texts().
  virtual const double* Numbers(std::size_t place) = 0;
  virtual const std::string_view* Texts(std::size_t place) = 0;
};

// What the cases have in one variable. Valid values are those that aren't missing.
struct ColumnContents {
  struct Frequency {
    DictionaryValue value;
    std::int64_t cases = 0;
  };
  static constexpr std::size_t kMostFrequent = 5;

  std::int64_t systemMissing = 0;  // 0 for a string, which always has a value, if only blanks
  std::int64_t blank = 0;          // valid texts of blanks, which a draw counts as missing
  std::int64_t userMissing = 0;
  std::int64_t valid = 0;  // cases
  double smallest = 0.0;   // of the valid numbers, if there are any
  double largest = 0.0;
  std::int64_t different = 0;         // valid values; a rough estimate unless `frequent` is filled
  std::vector<Frequency> frequent{};  // the most frequent ones first; empty if there are too many different
};

// CaseEngine serves the cases of one data file. Rows are numbered from 0, and every cursor delivers the same
// rows in the same order: samples depend on it.
//
// Ownership:  cursors borrow their engine, which must outlive them.
// Threads:    Open() and CountCases() from one thread at a time.
// Failures:   DataError that names the file.
class CaseEngine {
public:
  virtual ~CaseEngine() = default;

  // A cursor over columns, given by their places in the dictionary, from row `firstRow` on. Without a column
  // the cursor still counts the rows.
  virtual std::unique_ptr<CaseCursor> Open(const std::vector<int>& columns, std::int64_t firstRow) = 0;

  virtual std::int64_t CountCases() = 0;

  // What is in a column, by its place in the dictionary; `variable` says what is missing there. Reads the
  // column once, or twice if it has few different values; memory for kMostDifferent of them.
  virtual ColumnContents Summarize(int column, const KORV_Variable& variable) = 0;
  // Columns with about this many different values or fewer get frequencies.
  static constexpr std::int64_t kMostDifferent = 10'000;
};

// A data file that was opened for reading.
struct DataFrame {
  std::string name;  // for messages: the path as the user wrote it, or "query"
  Dictionary dictionary;
  std::unique_ptr<CaseEngine> engine;  // serves the dictionary's variables in its order; never null
  std::string remark{};                // one line about how the file was read; mostly empty
};
