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
#include "model_components/surveyplans/common/AbstractOutputs.h"

// In the order of a run: the pass, the draw, the questions afterwards. The outputs of the draw are in
// SVSDataTabulatorOutputs.cpp.

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

// One comparison also rejects the missing value, which is negative.
bool IsPositive(double weight) {
  return weight > 0.0;
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

// A size that exceeds its limit by less may be within it by the sums of a draw, which are in another order.
constexpr double kBeyondDoubt = 1.0 + 1e-9;

// The error that a draw ends with by what a review has found; 0 if it may end well.
std::int32_t FailureBy(const SVSFinding& finding) {
  const auto isBeyond = [](const SVSFinding::Example& e) { return e.value > e.other * kBeyondDoubt; };
  switch (finding.kind) {
    case FindingKind::kMissingSpec:
      return kStatusMissingSpec;
    case FindingKind::kMissingSize:
      return kStatusMissingSize;
    case FindingKind::kSizeAboveLimit:
      return std::any_of(finding.examples.begin(), finding.examples.end(), isBeyond) ? kStatusInvalidSize : 0;
    default:
      return 0;
  }
}

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

// --- the pass --------------------------------------------------------------------------------------------

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
  fbCountsAlone = fbCountsCases && fvUnitKey.empty();
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
  if (fpNextTabulator != nullptr) fpNextTabulator->End();
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
  } else if (fbDrawsBySize) {
    const double size = SizeIn(block, row);
    if (!owner.AddRecord(fvPlaces[number].unit, size)) NoteUnequalSize(fvPlaces[number], size);
  }
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
void SVSDataTabulator::NoteUnequalSize(const Place& place, double value) {
  const double size = Stratum(place.stratum).SizeOf(place.unit);
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

// --- the draw --------------------------------------------------------------------------------------------

SVStatus SVSDataTabulator::SelectSamples(MCSV::SVSOutputSummary* summary,
                                         MCSV::SVSOutJointProbs* jointProbs) {
  int maxSelected = 0;
  ReviewAll();
  if (RefusesFindings() || !DrawStrata(&maxSelected)) return fStatus;
  if (summary != nullptr && !Summarize(*summary)) return fStatus;
  if (fStageInd == 1 && jointProbs != nullptr) WriteJointProbs(*jointProbs, maxSelected);
  return fStatus;
}

std::vector<bool> SVSDataTabulator::ReviewFrame() {
  std::vector<bool> isWrong;
  for (const StratumEntry* entry : fvStrata) {
    const std::int64_t before = Findings().WrongCount(fStageInd);
    Review(*entry);
    isWrong.push_back(Findings().WrongCount(fStageInd) > before);
  }
  return isWrong;
}

SVStatus SVSDataTabulator::CheckSamples() {
  ReviewAll();
  for (const SVSFinding& finding : Findings().All()) {
    if (const std::int32_t code = FailureBy(finding); code != 0 && !fStatus.IsError())
      fStatus = ErrorStatus(code);
  }
  return fStatus;
}

// In the order in which the strata appeared, which is the order of the examples that a user sees.
void SVSDataTabulator::ReviewAll() {
  for (const StratumEntry* entry : fvStrata) Review(*entry);
}

// A strict draw that would lose hits is refused whether or not a unit is then hit twice: if it depended on
// that, the samples that are accepted would have other probabilities.
void SVSDataTabulator::Review(const StratumEntry& entry) {
  entry.value.Review(entry.key, &Findings());
  if ((fCompSettings->Strict() || fbForesees) && LosesHits()) {
    Findings().Note(FindingKind::kHitsNotKept, fStageInd, {.stratum = entry.key, .unit = {}});
  }
}

// Whether the sample shows a unit that was hit more than once as if it was hit once.
bool SVSDataTabulator::LosesHits() const {
  const DesignStage& stage = *fCompSettings->GetStage(fStageInd);
  return MethodOf(stage.methodType()).withReplacement && stage.outputName(kOutIndex).empty();
}

bool SVSDataTabulator::RefusesFindings() {
  if (!fCompSettings->Strict() || !Findings().AnyWrong()) return false;
  fStatus = ErrorStatus(kStatusNotStrict);
  fpOutSamples->AddStatus(fStatus);
  return true;
}

// In the order of the table: it decides which random numbers each stratum gets.
bool SVSDataTabulator::DrawStrata(int* maxSelected) {
  for (StratumEntry& entry : fDataTable) {
    SVSStratumData& stratum = entry.value;
    stratum.SetRandom(fpRandom);
    fStatus = stratum.Select();
    *maxSelected = std::max(*maxSelected, stratum.GetNumSelected());
    if (fStatus.IsError()) return false;
    stratum.ReviewDraw(entry.key, LosesHits(), &Findings());
  }
  ListSelected();
  return !RefusesFindings();
}

// The units of a stratum ascend as their numbers do, and so do the results of the stratum. Where cases are
// counted, the lists are those of the selected alone.
void SVSDataTabulator::ListSelected() {
  if (fbCountsCases) {
    for (std::size_t stratum = 0; stratum < fvStrata.size(); ++stratum) {
      for (const SVSUnits::Result& result : fvStrata[stratum]->value.Units().Results()) {
        if (result.IsSelected()) fvPlaces.push_back({static_cast<std::int32_t>(stratum), result.unit});
      }
    }
    return StartWalk();
  }
  std::vector<std::size_t> next(fvStrata.size(), 0);
  fvSelected.assign(fvPlaces.size(), 0);
  for (std::size_t number = 0; number < fvPlaces.size(); ++number) {
    const Place& place = fvPlaces[number];
    const std::vector<SVSUnits::Result>& results = Stratum(place.stratum).Units().Results();
    std::size_t& result = next[static_cast<std::size_t>(place.stratum)];
    if (result == results.size() || results[result].unit != place.unit) continue;
    fvSelected[number] = results[result++].IsSelected() ? 1 : 0;
  }
}

// --- after the draw --------------------------------------------------------------------------------------

bool SVSDataTabulator::MaySelect(const MCCommon::Record& record) {
  if (fStatus.IsError() || record.Size() < static_cast<int>(fVariableType->size())) return false;
  return IsSelected(NumberOf(BlockOf(record)));
}

SVStatus SVSDataTabulator::Lookup(const MCCommon::Record& record, double carriedWeight,
                                  std::vector<double>* values) {
  values->assign(kOutputKinds, gMissingValue);
  if (fStatus.IsError()) return fStatus;
  SVStatus status;
  // The result isn't needed: a record that Check() would drop is in no table, or has no weight.
  Check(record, status);
  if (status.IsError()) return status;
  if (record.GetAll() == nullptr) return ErrorStatus(kStatusInvalidRecord);
  const MCCommon::RecordBlock& block = BlockOf(record);
  const double weight = fbFirstStage ? IncomingWeight(block, 0) : carriedWeight;
  if (fbFirstStage && !IsPositive(weight)) return ErrorStatus(kStatusInvalidRecord);
  const std::int32_t number = NumberOf(block);
  return number == CodeNumbers::kNone ? status : ResultsOf(number, weight, values);
}

// The number of the unit of a block's only row.
std::int32_t SVSDataTabulator::NumberOf(const MCCommon::RecordBlock& block) const {
  const std::int32_t outer = fpPrevTabulator == nullptr ? 0 : fpPrevTabulator->NumberOf(block);
  SVSRows row = {{0}, {outer}};
  fStrataNumbers.Find(block, &row);
  fUnitNumbers.Find(block, &row);
  return row.numbers.front();
}

SVStatus SVSDataTabulator::ResultsOf(std::int32_t number, double weight, std::vector<double>* values) const {
  values->assign(kOutputKinds, gMissingValue);
  if (!IsPositive(weight)) return SVStatus();
  const Place& place = fvPlaces[static_cast<std::size_t>(number)];
  SVStatus status = Stratum(place.stratum).GetRecordStats(place.unit, values);
  std::vector<double>& out = *values;
  if (!status.IsError() && IsPositive(out[kOutWeight])) out[kOutCumWeight] = out[kOutWeight] * weight;
  return status;
}

void SVSDataTabulator::StartWalk() {
  if (fpPrevTabulator != nullptr) fpPrevTabulator->StartWalk();
  if (!fbCountsCases) return;
  fvTurns.assign(fvStrata.size(), Turn());
  for (std::size_t number = fvPlaces.size(); number-- > 0;) {
    fvTurns[static_cast<std::size_t>(fvPlaces[number].stratum)].next = static_cast<std::int32_t>(number);
  }
}

void SVSDataTabulator::KeepSelected(const MCCommon::RecordBlock& block, SVSRows* rows) {
  if (fpPrevTabulator != nullptr) fpPrevTabulator->KeepSelected(block, rows);
  fStrataNumbers.Find(block, rows);
  if (fbCountsCases) {
    rows->Keep([this](std::int32_t* number) { return ComesUp(number); });
  } else {
    fUnitNumbers.Find(block, rows);
    rows->Keep([this](const std::int32_t* number) { return IsSelected(*number); });
  }
}

// Whether the next case of a stratum is selected. The number is that of the stratum, then that of the case.
bool SVSDataTabulator::ComesUp(std::int32_t* number) {
  if (*number == CodeNumbers::kNone) return false;
  Turn& turn = fvTurns[static_cast<std::size_t>(*number)];
  const std::int32_t unit = turn.seen++;
  if (static_cast<std::size_t>(turn.next) == fvPlaces.size()) return false;
  const Place& next = fvPlaces[static_cast<std::size_t>(turn.next)];
  if (next.stratum != *number || next.unit != unit) return false;
  *number = turn.next++;
  return true;
}
