#include "backend/svcommon/adapters/SVInputAdapter.h"

#include "host/engine/ProcDSIterator.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/numeric/Obs.h"

SVInputAdapter::SVInputAdapter(const SVPlanValidSpecs* validSpecs, ProcedureDataSource* dataSource,
                               ProcDSIterator* iterator, const SVMessages* messages, bool includeUserMissing)
    : fpValidSpecs(validSpecs),
      fpIterator(iterator),
      fpDataSource(dataSource),
      fpMessages(messages),
      fbIncludeUserMissing(includeUserMissing) {
  for (const auto& [variable, slot] : validSpecs->CatRecordIndex()) {
    fCatReaderIndex.emplace(variable, static_cast<std::int32_t>(fvCatReaders.size()));
    fvCatSlots.push_back(slot);
    fvCatReaders.push_back(std::make_unique<CaseValueReader>(iterator, variable, includeUserMissing));
  }
  for (const auto& [variable, slot] : validSpecs->ContRecordIndex()) {
    const bool isSize = validSpecs->IsSizeSlot(slot);
    const bool isRate = validSpecs->IsRateSlot(slot);
    fvContVars.push_back(std::make_unique<SVAdaptContVar>(iterator, variable, false, isSize, isRate));
  }
  for (const auto& [position, slot] : validSpecs->MatrixRecordIndex()) {
    fvMatrixSpecs.push_back(
        std::make_unique<SVAdaptMatrixSpec>(iterator, validSpecs->MatrixSpec(position), includeUserMissing));
  }
}

SVInputAdapter::~SVInputAdapter() = default;

// One slot for each reader, and one for the case id: the layout has no gaps.
int SVInputAdapter::RecordSize() const {
  const std::size_t slots = fvCatReaders.size() + fvContVars.size() + fvMatrixSpecs.size() +
                            (fpValidSpecs->CaseIdRecordIndex() >= 0 ? 1 : 0);
  return static_cast<int>(slots);
}

bool SVInputAdapter::ReadCategorical(double* record) {
  // All variables are encoded, even after one without a value, so that codes don't depend on rejections.
  bool ok = true;
  for (std::size_t i = 0; i < fvCatReaders.size(); ++i) {
    const std::int32_t code = fPassCounter == 0 ? fvCatReaders[i]->Encode() : fvCatReaders[i]->Lookup();
    record[fvCatSlots[i]] = code == 0 ? MCMV::gMissingValue : code;
    if (code != 0) continue;
    ok = false;
    CountLackOf(fvCatReaders[i]->Variable());
  }
  return ok;
}

bool SVInputAdapter::ReadFree(double*) {
  return true;
}

bool SVInputAdapter::AcceptRecord(const double*) {
  return true;
}

bool SVInputAdapter::KeepIncomplete() const {
  return false;
}

void SVInputAdapter::OnNewIterator(ProcDSIterator*) {}

void SVInputAdapter::SetIterator(ProcDSIterator* iterator) {
  if (fPassCounter == 0) {
    fFirstRead = fCasesRead;
    fFirstInvalid = fInvalidCases;
  }
  ++fPassCounter;
  fpIterator = iterator;
  fCasesRead = 0;
  fRecordsPassed = 0;
  fValidCases = 0;
  fInvalidCases = 0;
  for (const auto& reader : fvCatReaders) reader->Rebind(iterator, fbIncludeUserMissing);
  for (const auto& contVar : fvContVars) contVar->Rebind(iterator, false);
  for (const auto& matrixSpec : fvMatrixSpecs) matrixSpec->Rebind(iterator, fbIncludeUserMissing);
  OnNewIterator(iterator);
}

// Cases can also be invalid because a rate or size isn't allowed, or because a table has no number for them.
SVInputAdapter::LeftOut SVInputAdapter::CasesLeftOut() const {
  if (fLacking.empty()) return {};
  LeftOut leftOut = {.cases = FirstPassInvalid(), .of = FirstPassRead()};
  leftOut.byVariable.assign(fLacking.begin(), fLacking.end());
  return leftOut;
}

void SVInputAdapter::SetCaseId(double* record) const {
  const std::int32_t slot = fpValidSpecs->CaseIdRecordIndex();
  if (slot >= 0) record[slot] = static_cast<double>(fCasesRead - 1);
}

const OBS* SVInputAdapter::ObsOfCode(std::int32_t variable, std::int32_t code) const {
  const CaseValueReader* reader = ReaderOf(variable);
  return reader == nullptr ? nullptr : reader->ObsOfCode(code);
}

std::int32_t SVInputAdapter::CodeOfObs(std::int32_t variable, const OBS* obs) {
  CaseValueReader* reader = ReaderOf(variable);
  return reader == nullptr ? 0 : reader->CodeOfObs(obs);
}

bool SVInputAdapter::FatalError() const {
  return fpDataSource->FatalError();
}

CaseValueReader* SVInputAdapter::ReaderOf(std::int32_t variable) const {
  const auto found = fCatReaderIndex.find(variable);
  return found == fCatReaderIndex.end() ? nullptr
                                        : fvCatReaders[static_cast<std::size_t>(found->second)].get();
}
