#include "backend/svselect/tabulation/SVSDataTabulator.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSFindings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/Obs.h"

// The pass. SVSTabulatorDraw.cpp has what follows it.

namespace {

using MCMV::gMissingValue;

// What a value at one index means for its record: it passes, drops the record silently (the usual case for a
// missing category), or is a fault of the data that ends the run.
enum class Fitness { kPasses, kRejected, kInvalid };

bool IsWhole32(double value) {
  return TruncateToInt32(value) == value;
}

Fitness FitnessOf(std::int32_t variableType, double value) {
  switch (variableType) {
    case kVarCategorical:  // the missing value is negative, so it is rejected too
      if (value < 0.5) return Fitness::kRejected;
      return IsWhole32(value) ? Fitness::kPasses : Fitness::kInvalid;
    case kVarRate:
      return value > 0.0 || value == gMissingValue ? Fitness::kPasses : Fitness::kInvalid;
    case kVarSize:
      return (value > 0.0 && IsWhole32(value)) || value == gMissingValue ? Fitness::kPasses
                                                                         : Fitness::kInvalid;
    case kVarWeight:
      return value > 0.0 ? Fitness::kPasses : Fitness::kRejected;
    default:
      return Fitness::kPasses;
  }
}

// The variables by which a stage extends the numbers that the stage before has given, or all of them without
// such a stage.
std::vector<std::int32_t> StrataSlots(const SVSCompSettings& settings, std::int32_t stage, bool extends) {
  if (extends) return settings.GetStage(stage)->strataVariables();
  std::vector<std::int32_t> strata;
  std::vector<std::int32_t> clusters;
  settings.KeyVars(stage, &strata, &clusters);
  return strata;
}

// Without cluster variables the case is the unit. Without a case id, as in a computation that isn't fed by a
// file, all records of a stratum are one unit.
std::vector<std::int32_t> UnitSlots(const SVSCompSettings& settings, std::int32_t stage) {
  std::vector<std::int32_t> clusters = settings.GetStage(stage)->clusterVariables();
  if (clusters.empty() && settings.CaseIdVar() >= 0) clusters.push_back(settings.CaseIdVar());
  return clusters;
}

// Where a stratum finds the only value that it is given.
const std::vector<std::int32_t> kOnlyValue = {0};

}  // namespace

SVSDataTabulator::SVSDataTabulator(const SVSCompSettings* settings, std::int32_t stage,
                                   SVSDataTabulator* prevTabulator, SVCancelInfo* cancelInfo)
    : fCompSettings(settings),
      fStageInd(stage),
      fpPrevTabulator(prevTabulator),
      fbFirstStage(stage == settings->FirstStage()),
      fCaseIdVar(settings->CaseIdVar()),
      fSpecVar(settings->StageSpecVar(stage)),
      fSizeVar(settings->MOSVar()),
      fVariableType(&settings->VariableTypes()),
      fWeightVar(settings->WeightVar()),
      fbDrawsBySize(!MethodOf(settings->GetStage(stage)->methodType()).equalProbability),
      fStrataNumbers(StrataSlots(*settings, stage, prevTabulator != nullptr)),
      fUnitNumbers(UnitSlots(*settings, stage)),
      fRecordAsBlock(settings->VariableTypes().size()),
      fpCancelInfo(cancelInfo) {
  settings->KeyVars(stage, &fKeyStrataVars, &fKeyClusterVars);
}

SVStatus SVSDataTabulator::ProcessData(MCCommon::MultiPassRecordIter& iterator) {
  if (!iterator.HasMore()) fStatus = ErrorStatus(kStatusNoRecords);
  if (fbSourceProcessed) fStatus = ErrorStatus(kStatusUserError);
  Start(iterator.HasBlocks());
  TakeBlocks(iterator);
  while (!fStatus.IsError() && iterator.HasMore() && !fpCancelInfo->IsCancelled()) TakeRecord(iterator);
  if (fpCancelInfo->IsCancelled()) fStatus = ErrorStatus(kStatusCancelled);
  if (!fStatus.IsError()) End();
  fpOutSamples->AddStatus(fStatus);
  return fStatus;
}

void SVSDataTabulator::Start(bool hasBlocks) {
  fbCountsCases = fKeyClusterVars.empty() && hasBlocks;
  fvUnitKey.assign(UnitKeyLength(), 0);
  const DesignStage& design = *fCompSettings->GetStage(fStageInd);
  if (!design.order().empty()) fpOrder = std::make_unique<UnitOrder>(design.order(), design.isSerpentine());
  fbCountsAlone = fbCountsCases && fvUnitKey.empty() && fpOrder == nullptr;
  if (fpNextTabulator != nullptr) {
    fpNextTabulator->Start(hasBlocks);
  } else if (fbForesees) {
    MakeMasses();
  }
}

// A stratum of cases that all have the same probability has as many units as cases, which need no mass.
void SVSDataTabulator::MakeMasses() {
  if (fbCountsCases && fWeightVar < 0) return;
  const CaseMasses::Place bySize = fbCountsCases ? CaseMasses::Place::kCase : CaseMasses::Place::kUnit;
  fpMasses = std::make_unique<CaseMasses>(fbDrawsBySize ? bySize : CaseMasses::Place::kStratum);
}

void SVSDataTabulator::End() {
  fLateNotes.PassOnAll(fEntered, fStageInd, &Findings());
  fbSourceProcessed = true;
  for (std::size_t stratum = 0; stratum < fvCounts.size(); ++stratum) {
    fvStrata[stratum]->value.AddUnits(fvCounts[stratum]);
  }
  if (fpOrder != nullptr) OrderUnits();
  if (fpNextTabulator != nullptr) fpNextTabulator->End();
}

void SVSDataTabulator::OrderUnits() {
  fpOrder->RankTexts(fCompSettings->TextRanks());
  for (std::size_t stratum = 0; stratum < fvStrata.size(); ++stratum)
    fvStrata[stratum]->value.OrderUnits(fpOrder->TakeOrder(stratum));
  fpOrder.reset();
}

void SVSDataTabulator::TakeBlocks(MCCommon::MultiPassRecordIter& iterator) {
  while (!fStatus.IsError() && !fpCancelInfo->IsCancelled()) {
    const MCCommon::RecordBlock* block = iterator.NextBlock();
    if (block == nullptr) break;
    TakeBlock(*block);
  }
  if (!fStatus.IsError() && iterator.Status() == MCCommon::kSourceFailed)
    fStatus = ErrorStatus(kStatusUserError);
}

void SVSDataTabulator::TakeBlock(const MCCommon::RecordBlock& block) {
  if (MayHaveFault(block)) return TakeOneByOne(block);
  ListWeighted(block, &fEntering);
  const std::size_t weighted = fEntering.rows.size();
  if (fbFirstStage && weighted < block.records.size()) {
    const auto dropped =
        std::mismatch(fEntering.rows.begin(), fEntering.rows.end(), block.records.begin()).second;
    fFirstDropped = *dropped;
    fDropped = static_cast<std::int64_t>(block.records.size() - weighted);
  }
  fValidCount += static_cast<std::int64_t>(weighted);
  Enter(block);
}

// Whether a rate or size isn't allowed, which ends the pass at its record.
bool SVSDataTabulator::MayHaveFault(const MCCommon::RecordBlock& block) const {
  for (std::size_t slot = 0; slot < fVariableType->size(); ++slot) {
    const std::int32_t type = (*fVariableType)[slot];
    if (type != kVarRate && type != kVarSize) continue;
    const double* const numbers = block.numbers[slot];
    for (const std::uint32_t row : block.records) {
      if (FitnessOf(type, numbers[row]) != Fitness::kPasses) return true;
    }
  }
  return false;
}

void SVSDataTabulator::TakeOneByOne(const MCCommon::RecordBlock& block) {
  MCCommon::Record record(static_cast<int>(fVariableType->size()));
  for (const std::uint32_t row : block.records) {
    for (std::size_t slot = 0; slot < static_cast<std::size_t>(record.Size()); ++slot) {
      const bool isCode = block.codes[slot] != nullptr;
      const bool isNumber = block.numbers[slot] != nullptr;
      record.GetAll()[slot] = isCode     ? block.codes[slot][row]
                              : isNumber ? block.numbers[slot][row]
                                         : block.CaseId(row);
    }
    Take(record);
    if (fStatus.IsError()) return;
  }
}

// The status is asked after Next(): a source that failed while reading ahead also spoils the record in hand.
void SVSDataTabulator::TakeRecord(MCCommon::MultiPassRecordIter& iterator) {
  const MCCommon::Record* record = iterator.Next();
  if (iterator.Status() == MCCommon::kSourceFailed) {
    fStatus = ErrorStatus(kStatusUserError);
  } else if (record == nullptr) {
    fStatus = ErrorStatus(kStatusIteratorError);
  } else if (record->Size() < static_cast<int>(fVariableType->size())) {
    fStatus = ErrorStatus(kStatusRecordTooShort);
  } else {
    Take(*record);
  }
}

void SVSDataTabulator::Take(const MCCommon::Record& record) {
  if (!Check(record, fStatus)) {
    if (fStatus.IsError() || !fbFirstStage) return;
    fDropped = 1;
    return CountDropped();
  }
  if (record.GetAll() == nullptr) {
    fStatus = ErrorStatus(kStatusInvalidRecord);
    return;
  }
  ++fValidCount;
  fEntering.rows.assign(1, 0);
  Enter(BlockOf(record));
}

// Whether the record can be tabulated. False with an unchanged status is the normal way for a record to be
// dropped; false with an error stops the pass. TakeRecord() has tested the length before; Lookup() hasn't.
bool SVSDataTabulator::Check(const MCCommon::Record& record, SVStatus& status) {
  Fitness fitness = Fitness::kPasses;
  if (record.Size() < static_cast<int>(fVariableType->size())) {
    fitness = Fitness::kRejected;
    status = ErrorStatus(kStatusRecordTooShort);
  }
  const double* data = record.GetAll();
  for (std::size_t i = 0; i < fVariableType->size() && fitness == Fitness::kPasses; ++i) {
    fitness = FitnessOf((*fVariableType)[i], data[i]);
    if (fitness == Fitness::kInvalid) {
      status = ErrorStatus(kStatusInvalidValue);
      status.ints[1] = static_cast<std::int32_t>(i);
      status.reals[1] = data[i];
    }
  }
  fpOutSamples->AddStatus(status);
  return fitness == Fitness::kPasses;
}

void SVSDataTabulator::ListWeighted(const MCCommon::RecordBlock& block, SVSRows* rows) const {
  if (fWeightVar < 0) {
    rows->rows.assign(block.records.begin(), block.records.end());
  } else {
    rows->rows.clear();
    std::copy_if(block.records.begin(), block.records.end(), std::back_inserter(rows->rows),
                 [&](std::uint32_t row) { return IsPositive(IncomingWeight(block, row)); });
  }
  rows->numbers.assign(rows->rows.size(), 0);
}

// Numbers all rows first, column by column, and then enters them one by one. A new stratum or unit shows by a
// number that is the count of those before it.
void SVSDataTabulator::Enter(const MCCommon::RecordBlock& block) {
  fEntering.numbers.assign(fEntering.rows.size(), 0);
  if (fpPrevTabulator != nullptr) fpPrevTabulator->KeepSelected(block, &fEntering);
  EnterNumbered(block);
}

// The rows have the numbers of the units of the stage before.
void SVSDataTabulator::EnterNumbered(const MCCommon::RecordBlock& block) {
  fvEnteringOuter = fEntering.numbers;
  fStrataNumbers.Number(block, &fEntering);
  fvEnteringStrata = fEntering.numbers;
  if (!fbCountsCases) fUnitNumbers.Number(block, &fEntering);
  for (std::size_t place = 0; place < fEntering.rows.size(); ++place) {
    if (fDropped > 0 && fEntering.rows[place] > fFirstDropped) CountDropped();
    EnterRow(block, place);
  }
  if (fDropped > 0) CountDropped();
  fLateNotes.PassOn(fEntered, fStageInd, &Findings());
  if (fpNextTabulator != nullptr) PassOn(block);
}

// A status carries the stage that is set in the collector.
void SVSDataTabulator::PassOn(const MCCommon::RecordBlock& block) {
  fpNextTabulator->fEntering = fEntering;
  fpOutSamples->SetStage(fpNextTabulator->fStageInd);
  fpNextTabulator->EnterNumbered(block);
  fpOutSamples->SetStage(fStageInd);
}

void SVSDataTabulator::EnterRow(const MCCommon::RecordBlock& block, std::size_t place) {
  const std::uint32_t row = fEntering.rows[place];
  const std::int32_t stratum = fvEnteringStrata[place];
  if (static_cast<std::size_t>(stratum) == fvStrata.size()) {
    NewStratum(block, place);
  } else if (fSpecVar >= 0) {
    CheckConstant(stratum, block.numbers[static_cast<std::size_t>(fSpecVar)][row]);
  }
  if (fbCountsAlone) {
    ++fvCounts[static_cast<std::size_t>(stratum)];
  } else {
    EnterUnit(block, place);
  }
  if (fpMasses != nullptr) fpMasses->Add(stratum, fEntering.numbers[place], IncomingWeight(block, row));
  ++fEntered;
}

void SVSDataTabulator::EnterUnit(const MCCommon::RecordBlock& block, std::size_t place) {
  const std::uint32_t row = fEntering.rows[place];
  const std::int32_t stratum = fvEnteringStrata[place];
  SVSStratumData& owner = Stratum(stratum);
  const auto number = static_cast<std::size_t>(fEntering.numbers[place]);
  if (fbCountsCases) {
    NewUnit(block, row, &owner);
  } else if (number == fvPlaces.size()) {
    fvPlaces.push_back({stratum, NewUnit(block, row, &owner)});
  } else {
    EnterRecord(block, row, fvPlaces[number]);
    return;
  }
  if (fpOrder != nullptr) fpOrder->AddUnit(stratum, block, row);
}

// A further record of a unit.
void SVSDataTabulator::EnterRecord(const MCCommon::RecordBlock& block, std::uint32_t row,
                                   const Place& place) {
  SVSStratumData& owner = Stratum(place.stratum);
  if (fbDrawsBySize) {
    const double size = SizeIn(block, row);
    const double before = owner.SizeOf(place.unit);  // a missing one takes the record's
    if (!owner.AddRecord(place.unit, size)) NoteUnequalSize(place, before, size);
  }
  if (fpOrder == nullptr || fpOrder->IsSame(place.stratum, place.unit, block, row)) return;
  fLateNotes.Note(fEntered, FindingKind::kUnequalOrder,
                  {.stratum = fvStrata[static_cast<std::size_t>(place.stratum)]->key,
                   .unit = owner.Units().KeyOf(place.unit)});
}

void SVSDataTabulator::CountDropped() {
  fLateNotes.PassOn(fEntered, fStageInd, &Findings());
  Findings().Count(FindingKind::kNoPreviousWeight, fStageInd, std::exchange(fDropped, 0));
}

// Whether the record has the rate or size of its stratum. The warning is raised once per stage.
void SVSDataTabulator::CheckConstant(std::int32_t stratum, double value) {
  const double first = Stratum(stratum).ConstValue();
  if (Stratum(stratum).CheckConstValues(&value, kOnlyValue) < 0) return;
  fLateNotes.Note(fEntered, FindingKind::kUnequalSpec,
                  {.stratum = fvStrata[static_cast<std::size_t>(stratum)]->key,
                   .unit = {},
                   .value = first,
                   .other = value});
  if (fbConstStatus || fStatus.IsError()) return;
  fStatus = WarningStatus(kStatusUnequalSpec);
  fbConstStatus = true;
  fpOutSamples->AddStatus(fStatus);
}

// Sizes below 0 count as unequal even if they are equal; they are another finding.
void SVSDataTabulator::NoteUnequalSize(const Place& place, double size, double value) {
  if (size == value && size < 0.0) return;
  if (fbForesees) ++fDisagreeing[place.stratum];
  fLateNotes.Note(fEntered, FindingKind::kUnequalSize,
                  {.stratum = fvStrata[static_cast<std::size_t>(place.stratum)]->key,
                   .unit = Stratum(place.stratum).Units().KeyOf(place.unit),
                   .value = size,
                   .other = value});
}

// InitConstValues() reports a missing rate or size by its result, which isn't needed: a later record may have
// the value, and if none has, the stratum reports it when it draws.
void SVSDataTabulator::NewStratum(const MCCommon::RecordBlock& block, std::size_t place) {
  const std::uint32_t row = fEntering.rows[place];
  SVKey key(static_cast<std::int32_t>(fKeyStrataVars.size()));
  for (std::int32_t i = 0; i < key.Length(); ++i) {
    key[i] = block.codes[static_cast<std::size_t>(fKeyStrataVars[static_cast<std::size_t>(i)])][row];
  }
  key.ComputeHash();
  const std::size_t constCount = fSpecVar >= 0 ? 1 : 0;
  StratumEntry* entry =
      fDataTable.Insert(key, fCompSettings, fStageInd, fpCancelInfo, constCount, UnitKeyLength());
  fvStrata.push_back(entry);
  fvOuterUnits.push_back(fvEnteringOuter[place]);
  if (fbCountsAlone) fvCounts.push_back(0);
  entry->value.SetOutSamples(fpOutSamples);
  if (fSpecVar >= 0)
    entry->value.InitConstValues(&block.numbers[static_cast<std::size_t>(fSpecVar)][row], kOnlyValue);
}

// A case that is a unit has its id as the key. Where cases are counted, the key costs 4 bytes a case and
// serves only findings about single units and the order of units of equal size.
std::size_t SVSDataTabulator::UnitKeyLength() const {
  if (!fKeyClusterVars.empty()) return fKeyClusterVars.size();
  return !fbCountsCases || fbDrawsBySize || LosesHits() ? 1 : 0;
}

std::int32_t SVSDataTabulator::NewUnit(const MCCommon::RecordBlock& block, std::uint32_t row,
                                       SVSStratumData* stratum) {
  for (std::size_t i = 0; i < fKeyClusterVars.size(); ++i) {
    fvUnitKey[i] = block.codes[static_cast<std::size_t>(fKeyClusterVars[i])][row];
  }
  if (fKeyClusterVars.empty() && !fvUnitKey.empty()) fvUnitKey[0] = CodeOf(block.CaseId(row));
  return stratum->AddUnit(fvUnitKey.data(), SizeIn(block, row));
}

double SVSDataTabulator::SizeIn(const MCCommon::RecordBlock& block, std::uint32_t row) const {
  return fSizeVar < 0 ? gMissingValue : block.numbers[static_cast<std::size_t>(fSizeVar)][row];
}
