#include "backend/svcommon/adapters/SVPlanValidSpecs.h"

#include <algorithm>
#include <cassert>

#include "host/environment/MCStopProcessor.h"
#include "host/model/Values.h"

namespace {

// Found by writing a number, since the host has no function that returns it.
char HostDecimalChar() {
  OBS number;
  number.number = 1.1;
  const KORV_Format format{.width = 3, .type = kFormatF, .decimals = 1};
  char text[4] = {};
  ToString(&number, format, text);
  return text[1];
}

bool Holds(const std::vector<std::int32_t>& list, std::int32_t value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

bool IsPlaceIn(std::int32_t index, std::size_t size) {
  return index >= 0 && static_cast<std::size_t>(index) < size;
}

}  // namespace

SVPlanValidSpecs::SVPlanValidSpecs() : fDecimalChar(HostDecimalChar()) {}

SVPlanValidSpecs::~SVPlanValidSpecs() = default;

int SVPlanValidSpecs::AddDesignStage(const std::string& label, const DesignStage* designStage,
                                     const std::vector<std::int32_t>* variables, const ObsVecMap* map,
                                     const std::vector<KORV_Format>* formats) {
  assert(designStage != nullptr);
  fStageLabels.push_back(label);
  fDesignStages.push_back(designStage);
  fMatrixSpecs.push_back(std::make_unique<SVMatrixSpec>(SVMatrixSpec{variables, map, formats}));
  return StageCount();
}

std::int32_t SVPlanValidSpecs::RecordIndex(std::int32_t variable, std::int32_t next, bool categorical) {
  SlotMap& slots = categorical ? fCatRecordIndex : fContRecordIndex;
  return slots.try_emplace(variable, next).first->second;
}

std::int32_t SVPlanValidSpecs::MatrixRecordIndex(std::int32_t position, std::int32_t next) {
  return fMatrixRecordIndex.try_emplace(position, next).first->second;
}

std::int32_t SVPlanValidSpecs::CaseIdRecordIndex(std::int32_t* next) {
  if (fCaseIdRecordIndex < 0) {
    fCaseIdRecordIndex = (*next)++;
    fDictionaryVars.push_back(-1);
  }
  return fCaseIdRecordIndex;
}

const SVMatrixSpec* SVPlanValidSpecs::MatrixSpec(std::int32_t index) const {
  return IsPlaceIn(index, fMatrixSpecs.size()) ? fMatrixSpecs[static_cast<std::size_t>(index)].get()
                                               : nullptr;
}

std::int32_t SVPlanValidSpecs::MatrixStageNumber(std::int32_t index) const {
  return IsPlaceIn(index, fMatrixStages.size()) ? fMatrixStages[static_cast<std::size_t>(index)] : -1;
}

bool SVPlanValidSpecs::IsRateSlot(std::int32_t slot) const {
  return Holds(fRateRecordIndices, slot);
}

bool SVPlanValidSpecs::IsSizeSlot(std::int32_t slot) const {
  return Holds(fSizeRecordIndices, slot);
}
