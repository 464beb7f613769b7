#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "host/model/KORV_DataSource.h"

class ActiveFile;
class CaseCursor;
class CaseProgress;
class ProcedureDataSource;

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
// A split group ends between two cases. There NextCase() returns 1 with SplitGroupEnd() true and the cells
// unchanged, so that the caller can finish the group on its last case; the next call moves on. To see the
// end, the key of the next row is compared with the cells, which still show the case before; hence a block
// may have been fetched already while the current case is in the block before it. Only BindServed() has to
// know: it starts a new query in that state too (fNext is 0).
//
// Use:        BindColumn(), NextCase() until 0. SetColumnValue() in the last pass.
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

  std::size_t PlaceOf(int column);
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
};
