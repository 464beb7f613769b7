#include "backend/svcommon/adapters/CaseValueReader.h"

#include <algorithm>

#include "host/model/KORV_DataSource.h"
#include "host/numeric/Obs.h"

bool SVCaseValue::IsPresent() const {
  if (!fbIncludeUserMissing) return !IsMissing();
  return fWidth != 0 || fpObs->number != MCMV::gMissingValue;
}

namespace {
constexpr std::size_t kMaxWholes = 1 << 20;  // 4 MB of codes
}

CaseValueReader::CaseValueReader(KORV_InputCaseIterator* iterator, std::int32_t variable,
                                 bool includeUserMissing)
    : fVarIndex(variable),
      fValueMap(ObsVecMap::MakeKeySpec(iterator->GetDataSource(), {variable}), 1),
      fKeyCells(fValueMap.CellSize() - 1),
      fCaseValue(iterator, variable, includeUserMissing) {}

std::int32_t CaseValueReader::Encode() {
  if (!fCaseValue.IsPresent()) return 0;
  const std::int32_t code = CodeOf(fCaseValue.Cells());
  return code != 0 ? code : Add(fCaseValue.Cells());
}

std::int32_t CaseValueReader::Lookup() const {
  return fCaseValue.IsPresent() ? CodeOf(fCaseValue.Cells()) : 0;
}

const OBS* CaseValueReader::ObsOfCode(std::int32_t code) const {
  if (code < 1 || static_cast<std::size_t>(code) > fvEncodedObs.size()) return nullptr;
  return fvEncodedObs[static_cast<std::size_t>(code) - 1];
}

std::int32_t CaseValueReader::CodeOfObs(const OBS* obs, bool* wasNew, bool addIfNew) {
  const std::int32_t code = CodeOf(obs);
  *wasNew = code == 0;
  return *wasNew && addIfNew ? Add(obs) : code;
}

void CaseValueReader::Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing) {
  fCaseValue = SVCaseValue(iterator, fVarIndex, includeUserMissing);
}

std::int32_t CaseValueReader::CodeOf(const OBS* obs) const {
  if (const std::size_t whole = WholeOf(obs); whole < fvWholeCodes.size()) return fvWholeCodes[whole];
  const OBS* valueCell = fValueMap.Contains(obs);
  return valueCell == nullptr ? 0 : static_cast<std::int32_t>(valueCell->number);
}

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

// The value as a small whole number; kMaxWholes when it is none.
std::size_t CaseValueReader::WholeOf(const OBS* obs) const {
  if (fCaseValue.fWidth != 0 || !(obs->number >= 0.0 && obs->number < kMaxWholes)) return kMaxWholes;
  const auto whole = static_cast<std::size_t>(obs->number);
  return static_cast<double>(whole) == obs->number ? whole : kMaxWholes;
}
