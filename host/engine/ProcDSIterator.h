#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

#include "host/model/KORV_DataSource.h"

class ActiveFile;
class CaseCursor;
class ProcedureDataSource;

// How cases are walked. Results don't depend on it, as the tests show with the help of this.
struct CaseWalk {
  bool byBlocks = true;                                            // where that is possible
  std::size_t mostRows = std::numeric_limits<std::size_t>::max();  // in a block; the cursor may have fewer
};

// A column of a block of cases, by row: one of the two, the other is null. Numbers can be -0.
struct CaseColumn {
  const double* numbers = nullptr;
  const std::string_view* texts = nullptr;  // without trailing blanks
};

// ProcDSIterator walks the cases of the active file and stops where a split group ends.
//
// The walk. A procedure binds columns and gets the addresses of cells; each NextCase() must make the cells
// show the next case. Three things make that cheap and one makes it difficult.
//
// (1) Blocks. The cursor delivers the columns of a block of rows (2,048 with DuckDB) as arrays. NextCase()
//     only copies element fNext of each bound column's array into its cell. Nothing virtual is called for a
//     case.
// (2) Plain rows. If only numbers are bound, and the file isn't split, a case needs none of the checks below.
//     fPlainRows is then the number of rows in the block, else 0; so the first comparison in NextCase()
//     decides between the short way and the long one.
// (3) One query. The query is opened as late as the first NextCase(), for the columns bound until then.
//     Columns that an output copies (ActiveFile::CopiedColumns()) are among them from the start, since an
//     output binds them only after the walk has begun.
// (4) Late binding. A column may be bound in the middle of a walk and must show the current case at once. If
//     the query has the column, its array of the current block is still there. If not, a new query starts at
//     the current row; cells keep their addresses and fRow goes on counting. A pass is counted by its first
//     query only.
//
// Blocks of cases. A procedure that knows what to do with whole columns calls NextCases() instead, and reads
// columns by BlockColumn(). The cells then show what ShowCase() is called for, so what needs a case as cells
// gets it, and the others cost nothing. GoOnByCases() returns to single cases.
//
// A split group ends between two cases. There NextCase() returns 1 with SplitGroupEnd() true and the cells
// unchanged, so that the caller can finish the group on its last case; the next call moves on. To see the
// end, the key of the next row is compared with the cells, which still show the case before; hence a block
// may have been fetched already while the current case is in the block before it. Only BindServed() has to
// know: it starts a new query in that state too (fNext is 0).
//
// Use:        BindColumn(), NextCase() until 0, or NextCases(). SetColumnValue() in the last pass.
// Ownership:  owns the cells; borrows source and active file, which outlive it.
// Failures:   a file that can't be read on is reported by ActiveFile::Fail(); NextCase() returns 0 from then
//             on. After a stop request it returns 0 too, and nothing is reported.
// Cost:       nothing is allocated for a case; a bound number costs one copy.
class ProcDSIterator : public KORV_InputCaseIterator {
public:
  ProcDSIterator(ProcedureDataSource& source, ActiveFile& file);
  ~ProcDSIterator() override;

  int NextCase() override;
  KORV_DataSource& GetDataSource() override;
  // Before the first case a number is system-missing and a text all blanks.
  const OBS* BindColumn(int column) override;
  // Ignored for a column of the file itself, before the first case and outside the last pass.
  void SetColumnValue(int column, double value) override;

  // Whether the last NextCase() stopped at the end of a split group, on its last case.
  bool SplitGroupEnd() const { return fbSplitEnd; }

  // --- blocks of cases ---
  // Whether there are any: not where the file is split.
  bool HasBlocks() const { return fWalk.byBlocks && fvSplitPlaces.empty(); }
  // Moves to the next block and returns its rows; 0 as NextCase() does. What the cells show is undefined until
  // ShowCase().
  std::size_t NextCases();
  // Whether BlockColumn() has a column: it is bound, and not an added one.
  bool HasColumn(int column) const;
  // A bound column of the block, valid until the next one. REQUIRES: HasColumn().
  CaseColumn BlockColumn(int column) const;
  // The position in the file of the block's first case.
  std::int64_t BlockBegin() const { return fCasesBegin; }
  // Makes a row of the block the current case.
  void ShowCase(std::size_t row);
  // NextCase() goes on with the first case of the block.
  void GoOnByCases();

private:
  static constexpr std::size_t kNotServed = static_cast<std::size_t>(-1);

  // Bound columns that the engine serves. `block` is the column's array in the current block, null until
  // there is one; `place` is the column's place in the cursor's list.
  struct BoundNumber {
    OBS* cell;
    std::size_t place;
    const double* block;
  };
  struct BoundText {
    OBS* cells;
    std::size_t used;  // bytes of the current case's text; all cells behind it are blank
    std::size_t place;
    const std::string_view* block;
  };
  // A bound column of values that were added.
  struct BoundAdded {
    OBS* cell;
    int column;
  };

  std::size_t PlaceOf(int column) const;
  void BindServed(int column, OBS* cells, bool isNumber);
  bool OpenCursor(std::int64_t firstRow);
  bool NextBlock();
  bool SplitKeyChanges(std::size_t row) const;
  void ShowNumbers(std::size_t row) {
    // The addition turns -0 into 0: the sign of a zero must not tell two strata apart.
    for (const BoundNumber& bound : fvNumbers) bound.cell->number = bound.block[row] + 0.0;
  }
  void ShowRow(std::size_t row) {
    ShowNumbers(row);
    if (!fvTexts.empty() || !fvAdded.empty()) ShowOthers(row);
  }
  void ShowOthers(std::size_t row);
  void End();

  ProcedureDataSource& fSource;
  ActiveFile& fFile;
  std::unique_ptr<CaseCursor> fpCursor;         // null before the first case and after the end
  std::vector<std::unique_ptr<OBS[]>> fvCells;  // by column; null while it isn't bound
  std::vector<int> fvServed;                    // columns of the cursor, in the order of its list
  std::vector<BoundNumber> fvNumbers;
  std::vector<BoundText> fvTexts;
  std::vector<BoundAdded> fvAdded;
  std::vector<std::size_t> fvSplitPlaces;  // in the cursor's list
  std::int64_t fRow = -1;                  // current case, from 0; -1 before the first
  std::size_t fBlockRows = 0;
  std::size_t fNext = 0;       // row of the block that the next case is in
  std::size_t fPlainRows = 0;  // fBlockRows where ShowNumbers() is all that a case needs, else 0
  bool fbSplitEnd = false;
  bool fbEnded = false;
  const CaseWalk fWalk;
  // The block that NextCases() has moved to, which may be a part of that of the cursor.
  std::size_t fCasesFirst = 0;   // its first row there
  std::size_t fCases = 0;        // its rows
  std::int64_t fCasesBegin = 0;  // the position of its first case in the file
};
