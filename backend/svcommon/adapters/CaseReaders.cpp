#include "backend/svcommon/adapters/CaseReaders.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "backend/svcommon/adapters/SVPlanValidSpecs.h"
#include "host/model/KORV_DataSource.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/Obs.h"

namespace {

// Numbers from 0 up to here have their codes in a plain table; at most 4 MB for each variable.
constexpr std::size_t kMaxWholes = 1 << 20;

// Puts a text into cells, with blanks behind it. REQUIRES: it fits.
void CopyText(std::string_view text, std::size_t cellCount, OBS* cells) {
  std::memset(cells->text, ' ', cellCount * sizeof(OBS));
  std::copy(text.begin(), text.end(), cells->text);
}

}  // namespace

bool SVCaseValue::IsPresent() const {
  if (!fbIncludeUserMissing) return !IsMissing();
  return fWidth != 0 || fpObs->number != MCMV::gMissingValue;
}

// --- CaseValueReader --------------------------------------------------------------------------------------

CaseValueReader::CaseValueReader(KORV_InputCaseIterator* iterator, std::int32_t variable,
                                 bool includeUserMissing)
    : fVarIndex(variable),
      fValueMap(ObsVecMap::MakeKeySpec(iterator->GetDataSource(), {variable}), 1),
      fKeyCells(fValueMap.CellSize() - 1),
      fCaseValue(iterator, variable, includeUserMissing) {}

std::int32_t CaseValueReader::Encode() {
  return fCaseValue.IsPresent() ? CodeOfObs(fCaseValue.Cells()) : 0;
}

std::int32_t CaseValueReader::Lookup() const {
  return fCaseValue.IsPresent() ? CodeOf(fCaseValue.Cells()) : 0;
}

void CaseValueReader::ReadBlock(const CaseColumn& column, bool assigns, std::span<std::int32_t> codes) {
  if (column.numbers != nullptr) {
    for (std::size_t row = 0; row < codes.size(); ++row) {
      const double number = column.numbers[row] + 0.0;  // -0 is 0
      if (!fCaseValue.IsPresent(number)) {
        codes[row] = 0;
        continue;
      }
      codes[row] = CodeOfNumber(number, assigns);
    }
  } else {
    for (std::size_t row = 0; row < codes.size(); ++row) {
      const std::string_view text = column.texts[row];
      if (!fCaseValue.IsPresent(text)) {
        codes[row] = 0;
        continue;
      }
      const std::int32_t known = fShortTexts.Find(text);
      codes[row] = known != 0 ? known : CodeOfText(text, assigns);
    }
  }
}

std::int32_t CaseValueReader::CodeOfNumber(double number, bool assigns) {
  const OBS cell = {.number = number};
  return assigns ? CodeOfObs(&cell) : CodeOf(&cell);
}

// Of a text that fShortTexts doesn't have.
std::int32_t CaseValueReader::CodeOfText(std::string_view text, bool assigns) {
  fvTextCells.resize(fKeyCells);
  CopyText(text, fKeyCells, fvTextCells.data());
  const std::int32_t code = assigns ? CodeOfObs(fvTextCells.data()) : CodeOf(fvTextCells.data());
  if (code != 0 && text.size() <= ShortTextCodes::kMostBytes) fShortTexts.Add(text, code);
  return code;
}

const OBS* CaseValueReader::ObsOfCode(std::int32_t code) const {
  if (code < 1 || static_cast<std::size_t>(code) > fvEncodedObs.size()) return nullptr;
  return fvEncodedObs[static_cast<std::size_t>(code) - 1];
}

std::int32_t CaseValueReader::CodeOfObs(const OBS* obs) {
  const std::int32_t code = CodeOf(obs);
  return code != 0 ? code : Add(obs);
}

void CaseValueReader::Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing) {
  fCaseValue = SVCaseValue(iterator, fVarIndex, includeUserMissing);
}

// The two ways agree because Add() enters each small whole number in both tables, and because the plain table
// reaches as far as the largest of them: a number within its reach that has no code there has none at all.
std::int32_t CaseValueReader::CodeOf(const OBS* obs) const {
  if (const std::size_t whole = WholeOf(obs); whole < fvWholeCodes.size()) return fvWholeCodes[whole];
  const OBS* valueCell = fValueMap.Contains(obs);
  return valueCell == nullptr ? 0 : static_cast<std::int32_t>(valueCell->number);
}

// The map stores the code as a number behind the value, so that one entry serves both directions. The plain
// table grows to twice the number that it must hold: it is copied rarely even if identifiers ascend.
std::int32_t CaseValueReader::Add(const OBS* obs) {
  OBS* valueCell = fValueMap.Insert(obs);
  const auto code = static_cast<std::int32_t>(fValueMap.Size());
  valueCell->number = code;
  fvEncodedObs.push_back(valueCell - fKeyCells);
  if (const std::size_t whole = WholeOf(obs); whole < kMaxWholes) {
    const std::size_t reach = std::min(kMaxWholes, 2 * (whole + 1));
    if (whole >= fvWholeCodes.size()) fvWholeCodes.resize(reach, 0);
    fvWholeCodes[whole] = code;
  }
  return code;
}

// The value as a small whole number, or kMaxWholes if it is anything else. The comparison is written so that
// a NaN fails it. -0 counts as 0, as it does in the map.
std::size_t CaseValueReader::WholeOf(const OBS* obs) const {
  if (fCaseValue.fWidth != 0 || !(obs->number >= 0.0 && obs->number < kMaxWholes)) return kMaxWholes;
  const auto whole = static_cast<std::size_t>(obs->number);
  return static_cast<double>(whole) == obs->number ? whole : kMaxWholes;
}

// --- SVAdaptContVar ---------------------------------------------------------------------------------------

SVAdaptContVar::SVAdaptContVar(KORV_InputCaseIterator* iterator, std::int32_t variable,
                               bool includeUserMissing, bool isSize, bool isRate)
    : fVarIndex(variable),
      fCaseValue(iterator, variable, includeUserMissing),
      fbIsSize(isSize),
      fbIsRate(isRate) {}

SVAdaptContVar::~SVAdaptContVar() = default;

// A positive size within the tolerance of 0 rounds to 0 and passes here; the tabulator then refuses the
// record.
double SVAdaptContVar::Get(bool* invalid, bool* missing) const {
  *invalid = false;
  *missing = false;
  if (!fCaseValue.IsPresent()) {
    *missing = fbIsSize || fbIsRate;
    return MCMV::gMissingValue;
  }
  return Judge(fCaseValue.Cells()->number, invalid);
}

bool SVAdaptContVar::ReadBlock(const CaseColumn& column, std::span<const std::uint32_t> rows,
                               double* values) const {
  bool anyInvalid = false;
  for (const std::uint32_t row : rows) {
    const double number = column.numbers[row] + 0.0;  // -0 is 0
    bool invalid = false;
    values[row] = fCaseValue.IsPresent(number) ? Judge(number, &invalid) : MCMV::gMissingValue;
    anyInvalid = anyInvalid || invalid;
  }
  return !anyInvalid;
}

// A present value, rounded if it is a size.
double SVAdaptContVar::Judge(double value, bool* invalid) const {
  if (fbIsSize) {
    if (value > 0.0 && FUZZYINTEGER(&value) != 0) {
      value = FUZZYROUND(&value);
    } else {
      *invalid = true;
    }
  }
  if (fbIsRate && !(value > 0.0 && value <= 1.0)) *invalid = true;
  return value;
}

void SVAdaptContVar::Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing) {
  fCaseValue = SVCaseValue(iterator, fVarIndex, includeUserMissing);
}

// --- SVAdaptMatrixSpec ------------------------------------------------------------------------------------

SVAdaptMatrixSpec::SVAdaptMatrixSpec(KORV_InputCaseIterator* iterator, const SVMatrixSpec* matrixSpec,
                                     bool includeUserMissing)
    : fpMatrixSpec(matrixSpec) {
  assert(matrixSpec != nullptr);
  assert(matrixSpec->map->GetKeySpec().size() == matrixSpec->variables->size());
  std::size_t cells = 0;
  for (const std::int32_t width : matrixSpec->map->GetKeySpec()) cells += ObsCells(width);
  assert(matrixSpec->map->CellSize() == cells + SVMatrixSpec::kCells);
  fKeyBuffer.resize(cells);
  Rebind(iterator, includeUserMissing);
}

// A case with a missing value is never looked up, even if the table has a row for just that value: what is
// missing identifies nothing.
double SVAdaptMatrixSpec::Get(bool* notFound) {
  *notFound = true;
  for (const SVCaseValue& value : fvCaseValues) {
    if (!value.IsPresent()) return MCMV::gMissingValue;
  }
  auto place = fKeyBuffer.begin();
  for (const SVCaseValue& value : fvCaseValues) {
    place = std::copy_n(value.Cells(), ObsCells(value.fWidth), place);
  }
  return NumberOfKey(notFound);
}

bool SVAdaptMatrixSpec::ReadBlock(const ProcDSIterator& cases, std::span<const std::uint32_t> rows,
                                  double* values) {
  std::vector<CaseColumn> columns;
  for (const std::int32_t variable : *fpMatrixSpec->variables) columns.push_back(cases.BlockColumn(variable));
  for (const std::uint32_t row : rows) {
    bool isPresent = true;
    OBS* place = fKeyBuffer.data();
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const std::size_t cells = ObsCells(fvCaseValues[i].fWidth);
      if (columns[i].numbers != nullptr) {
        place->number = columns[i].numbers[row] + 0.0;
        isPresent = isPresent && fvCaseValues[i].IsPresent(place->number);
      } else {
        CopyText(columns[i].texts[row], cells, place);
        isPresent = isPresent && fvCaseValues[i].IsPresent(columns[i].texts[row]);
      }
      place += cells;
    }
    bool notFound = true;
    if (isPresent) values[row] = NumberOfKey(&notFound);
    if (notFound) return false;
  }
  return true;
}

// What the table has for the key in fKeyBuffer.
double SVAdaptMatrixSpec::NumberOfKey(bool* notFound) {
  *notFound = true;
  OBS* const found = fpMatrixSpec->map->Contains(fKeyBuffer.data());
  if (found == nullptr) return MCMV::gMissingValue;
  *notFound = false;
  OBS& unusedRow = found[SVMatrixSpec::kUnusedRow];
  if (unusedRow.number != 0.0) unusedRow.number = 0.0;  // tested first: a write per case would cost more
  return found[SVMatrixSpec::kNumber].number;
}

void SVAdaptMatrixSpec::Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing) {
  fvCaseValues.clear();
  for (const std::int32_t variable : *fpMatrixSpec->variables) {
    fvCaseValues.emplace_back(iterator, variable, includeUserMissing);
  }
}
