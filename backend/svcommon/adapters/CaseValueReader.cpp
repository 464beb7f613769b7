#include "backend/svcommon/adapters/CaseValueReader.h"

#include "host/data/KORV_InputCaseIterator.h"

namespace {

std::int32_t CodeIn(const OBS* valueCell) {
  return valueCell == nullptr ? 0 : static_cast<std::int32_t>(valueCell->number);
}

}  // namespace

CaseValueReader::CaseValueReader(KORV_InputCaseIterator* iterator, std::int32_t variable,
                                 bool includeUserMissing)
    : fVarIndex(variable),
      fValueMap(ObsVecMap::MakeKeySpec(iterator->GetDataSource(), {variable}), 1),
      fKeyCells(fValueMap.CellSize() - 1),
      fCaseValue(iterator, variable, includeUserMissing) {}

std::int32_t CaseValueReader::Encode() {
  if (!fCaseValue.IsPresent()) return 0;
  const std::int32_t code = CodeIn(fValueMap.Contains(fCaseValue.Cells()));
  return code != 0 ? code : Add(fCaseValue.Cells());
}

std::int32_t CaseValueReader::Lookup() const {
  if (!fCaseValue.IsPresent()) return 0;
  return CodeIn(fValueMap.Contains(fCaseValue.Cells()));
}

const OBS* CaseValueReader::ObsOfCode(std::int32_t code) const {
  if (code < 1 || static_cast<std::size_t>(code) > fvEncodedObs.size()) return nullptr;
  return fvEncodedObs[static_cast<std::size_t>(code) - 1];
}

std::int32_t CaseValueReader::CodeOfObs(const OBS* obs, bool* wasNew, bool addIfNew) {
  const std::int32_t code = CodeIn(fValueMap.Contains(obs));
  *wasNew = code == 0;
  return *wasNew && addIfNew ? Add(obs) : code;
}

void CaseValueReader::Rebind(KORV_InputCaseIterator* iterator, bool includeUserMissing) {
  fCaseValue = SVCaseValue(iterator, fVarIndex, includeUserMissing);
}

std::int32_t CaseValueReader::Add(const OBS* obs) {
  OBS* valueCell = fValueMap.Insert(obs);
  const auto code = static_cast<std::int32_t>(fValueMap.Size());
  valueCell->number = code;
  fvEncodedObs.push_back(valueCell - fKeyCells);
  return code;
}
