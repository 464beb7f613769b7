#include "host/engine/ProcDSIterator.h"

#include <algorithm>
#include <cstring>

#include "host/engine/ActiveFile.h"
#include "host/engine/CaseEngine.h"
#include "host/engine/CaseProgress.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/environment/MCStopProcessor.h"
#include "host/numeric/Obs.h"

ProcDSIterator::ProcDSIterator(ProcedureDataSource& source, ActiveFile& file)
    : fSource(source),
      fFile(file),
      fvServed(file.CopiedColumns()),
      fWalk(HostSession::Current().Layer<CaseWalk>()) {
  // The procedure turns splitting off through the common block, while the file still has its split columns.
  if (pvGetCmnGlb()->splitCount == 0) return;
  // The class name in front: no virtual call while the object is made.
  for (const int column : file.SplitColumns()) {
    ProcDSIterator::BindColumn(column);
    fvSplitPlaces.push_back(PlaceOf(column));
  }
}

ProcDSIterator::~ProcDSIterator() = default;

KORV_DataSource& ProcDSIterator::GetDataSource() {
  return fSource;
}

// --- walking ---------------------------------------------------------------------------------------------

int ProcDSIterator::NextCase() {
  if (fNext < fPlainRows && !StopRequested()) {  // the short way; all below is the long one
    ++fRow;
    ShowNumbers(fNext++);
    return 1;
  }
  if (fbEnded) return 0;
  if (StopRequested()) {
    End();
    return 0;
  }
  if (fNext == fBlockRows && !NextBlock()) return 0;
  if (!fvSplitPlaces.empty() && fRow >= 0 && !fbSplitEnd && SplitKeyChanges(fNext)) {
    fbSplitEnd = true;
    return 1;
  }
  fbSplitEnd = false;  // if it was set, this is the call after the stop: it goes on into the next group
  ++fRow;
  ShowRow(fNext++);
  fPlainRows = fvSplitPlaces.empty() && fvTexts.empty() && fvAdded.empty() ? fBlockRows : 0;
  return 1;
}

// False when the walk has ended, at the last case or by a failure.
bool ProcDSIterator::NextBlock() {
  fPlainRows = 0;
  if (fpCursor == nullptr) {
    fFile.Progress().StartPass();
    if (!OpenCursor(0)) return false;
  }
  fFile.Progress().SetCases(fRow + 1);
  try {
    fBlockRows = fpCursor->NextBlock();
    fNext = 0;
    if (fBlockRows == 0) {
      End();
      return false;
    }
    for (BoundNumber& bound : fvNumbers) bound.block = fpCursor->Numbers(bound.place);
    for (BoundText& bound : fvTexts) bound.block = fpCursor->Texts(bound.place);
    return true;
  } catch (const DataError& error) {
    fFile.Fail(error.what());
    End();
    return false;
  }
}

// False when the walk has ended by a failure.
bool ProcDSIterator::OpenCursor(std::int64_t firstRow) {
  try {
    fpCursor.reset();  // the old query ends before the new one begins
    fpCursor = fFile.Engine().Open(fvServed, firstRow);
    return true;
  } catch (const DataError& error) {
    fFile.Fail(error.what());
    End();
    return false;
  }
}

// The cells go on showing the last case. Freeing the cursor ends its query at once.
void ProcDSIterator::End() {
  fbEnded = true;
  fbSplitEnd = false;
  fBlockRows = 0;
  fPlainRows = 0;
  fNext = 0;
  fpCursor.reset();
}

// Whether that row belongs to another split group than the case that the cells show.
bool ProcDSIterator::SplitKeyChanges(std::size_t row) const {
  const auto isKey = [&](std::size_t place) {
    return std::find(fvSplitPlaces.begin(), fvSplitPlaces.end(), place) != fvSplitPlaces.end();
  };
  for (const BoundNumber& bound : fvNumbers) {
    if (isKey(bound.place) && bound.block[row] != bound.cell->number) return true;
  }
  for (const BoundText& bound : fvTexts) {
    const std::string_view shown(bound.cells->text, bound.used);
    if (isKey(bound.place) && bound.block[row] != shown) return true;
  }
  return false;
}

// Texts and added values.
void ProcDSIterator::ShowOthers(std::size_t row) {
  for (BoundText& bound : fvTexts) {
    const std::string_view text = bound.block[row];
    char* const cells = bound.cells->text;
    // Only what the text before had used needs to be blanked, not the whole width.
    std::copy(text.begin(), text.end(), cells);
    if (text.size() < bound.used) std::memset(cells + text.size(), ' ', bound.used - text.size());
    bound.used = text.size();
  }
  for (const BoundAdded& bound : fvAdded) bound.cell->number = fFile.Added(bound.column).Get(fRow);
}

// --- blocks of cases -------------------------------------------------------------------------------------

// Between two calls the current case is one of the block, so that a column that is bound then shows it.
std::size_t ProcDSIterator::NextCases() {
  if (fbEnded) return 0;
  if (StopRequested()) {
    End();
    return 0;
  }
  fCasesBegin += static_cast<std::int64_t>(fCases);
  fCasesFirst += fCases;
  fRow = fCasesBegin - 1;
  if (fCasesFirst == fBlockRows) {
    fCases = 0;
    if (!NextBlock()) return 0;
    fCasesFirst = 0;
  }
  fCases = std::min(fBlockRows - fCasesFirst, fWalk.mostRows);
  fRow = fCasesBegin;
  fNext = fCasesFirst + 1;
  return fCases;
}

bool ProcDSIterator::HasColumn(int column) const {
  return column < fFile.ServedColumns() && PlaceOf(column) != kNotServed;
}

CaseColumn ProcDSIterator::BlockColumn(int column) const {
  const std::size_t place = PlaceOf(column);
  for (const BoundNumber& bound : fvNumbers) {
    if (bound.place == place) return {.numbers = bound.block + fCasesFirst};
  }
  for (const BoundText& bound : fvTexts) {
    if (bound.place == place) return {.texts = bound.block + fCasesFirst};
  }
  return {};
}

void ProcDSIterator::ShowCase(std::size_t row) {
  fRow = fCasesBegin + static_cast<std::int64_t>(row);
  fNext = fCasesFirst + row + 1;
  ShowRow(fNext - 1);
}

void ProcDSIterator::GoOnByCases() {
  fRow = fCasesBegin - 1;
  fNext = fCasesFirst;
}

// --- binding ---------------------------------------------------------------------------------------------

// The place of a column in the cursor's list, or kNotServed.
std::size_t ProcDSIterator::PlaceOf(int column) const {
  const auto found = std::find(fvServed.begin(), fvServed.end(), column);
  if (found == fvServed.end()) return kNotServed;
  return static_cast<std::size_t>(found - fvServed.begin());
}

const OBS* ProcDSIterator::BindColumn(int column) {
  const auto index = static_cast<std::size_t>(column);
  if (index < fvCells.size() && fvCells[index] != nullptr) return fvCells[index].get();
  fPlainRows = 0;  // decided anew at the next case: a text may be bound now
  if (index >= fvCells.size()) fvCells.resize(fSource.ColumnCount());

  const int type = fSource.GetVariable(column).GetType();
  fvCells[index] = std::make_unique<OBS[]>(ObsCells(type));
  OBS* const cells = fvCells[index].get();
  if (type == 0) {
    cells->number = MCMV::gMissingValue;
  } else {
    std::memset(cells->text, ' ', ObsCells(type) * sizeof(OBS));
  }
  if (column < fFile.ServedColumns()) {
    BindServed(column, cells, type == 0);
  } else if (type == 0) {
    fvAdded.push_back({cells, column});
    if (fRow >= 0) cells->number = fFile.Added(column).Get(fRow);
  }
  return cells;
}

// Binds a column of the file. In the middle of a walk it shows the current case at once, see (4) in the
// header.
void ProcDSIterator::BindServed(int column, OBS* cells, bool isNumber) {
  std::size_t place = PlaceOf(column);
  const bool isNew = place == kNotServed;
  if (isNew) {
    place = fvServed.size();
    fvServed.push_back(column);
  }
  if (isNumber) {
    fvNumbers.push_back({cells, place, nullptr});
  } else {
    fvTexts.push_back({cells, 0, place, nullptr});
  }
  if (fRow < 0 || fbEnded) return;
  // fNext is 0 when the next block was fetched to find the end of a split group: the current case's is gone.
  if (isNew || fNext == 0) {
    if (!OpenCursor(fRow) || !NextBlock()) return;
    fNext = 1;
    ShowRow(0);
    return;
  }
  try {
    if (isNumber) {
      fvNumbers.back().block = fpCursor->Numbers(place);
    } else {
      fvTexts.back().block = fpCursor->Texts(place);
    }
    ShowRow(fNext - 1);
  } catch (const DataError& error) {
    fFile.Fail(error.what());
    End();
  }
}

// Shown in the cell at once where the column is bound, so that a later read of this case agrees.
void ProcDSIterator::SetColumnValue(int column, double value) {
  if (column < fFile.ServedColumns() || fRow < 0 || !fFile.IsLastPass()) return;
  fFile.Added(column).Set(fRow, value);
  const auto index = static_cast<std::size_t>(column);
  if (index < fvCells.size() && fvCells[index] != nullptr) fvCells[index][0].number = value;
}
