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

// ProcDSIterator walks the cases of the active file, and stops where a split group ends.
//
// The first NextCase() starts one streaming query over the columns that are bound by then or that an output
// copies. A column that is bound later starts it anew at the same case.
//
// Failures: a file that can't be read on is told through the host's messages; NextCase() answers 0 from then
//           on and the active file has failed.
// Cost:     nothing is allocated for a case; a bound number costs one copy.
class ProcDSIterator : public KORV_InputCaseIterator {
public:
  // Borrows both, which outlive it.
  ProcDSIterator(ProcedureDataSource& source, ActiveFile& file);
  ~ProcDSIterator() override;

  int NextCase() override;
  KORV_DataSource& GetDataSource() override;
  // Before the first case a number is system-missing and a text all blanks.
  const OBS* BindColumn(int column) override;
  // Ignored for a column of the file itself, before the first case and outside the last pass.
  void SetColumnValue(int column, double value) override;

  // The last NextCase() stopped at the end of a split group, still on its last case; the next one goes on
  // into the next group.
  bool SplitGroupEnd() const { return fbSplitEnd; }

private:
  static constexpr std::size_t kNotServed = static_cast<std::size_t>(-1);

  // A bound column that the engine serves. The values of the block are null until there is one.
  struct BoundNumber {
    OBS* cell;          // owned by fvCells
    std::size_t place;  // in the cursor's columns
    const double* block;
  };
  struct BoundText {
    OBS* cells;
    std::size_t used;  // bytes that the text of the current case takes; all behind are blanks
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
    for (const BoundNumber& bound : fvNumbers) bound.cell->number = bound.block[row] + 0.0;  // makes 0 of -0
  }
  void ShowRow(std::size_t row) {
    ShowNumbers(row);
    if (!fvTexts.empty() || !fvAdded.empty()) ShowOthers(row);
  }
  void ShowOthers(std::size_t row);
  void End();

  ProcedureDataSource& fSource;
  ActiveFile& fFile;
  CaseProgress& fProgress;
  std::unique_ptr<CaseCursor> fpCursor;         // null before the first case and after the end
  std::vector<std::unique_ptr<OBS[]>> fvCells;  // by column; null while it isn't bound
  std::vector<int> fvServed;                    // columns of the cursor
  std::vector<BoundNumber> fvNumbers;
  std::vector<BoundText> fvTexts;
  std::vector<BoundAdded> fvAdded;
  std::vector<std::size_t> fvSplitPlaces;  // in the cursor's columns
  std::int64_t fRow = -1;                  // current case, from 0; -1 before the first
  std::size_t fBlockRows = 0;
  std::size_t fNext = 0;  // row of the block that the next case takes
  // Rows of the block that only numbers are shown of, with nothing else to look after; 0 where there is more.
  std::size_t fPlainRows = 0;
  bool fbSplitEnd = false;
  bool fbEnded = false;
};
