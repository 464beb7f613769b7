#include "backend/svselect/tabulation/SVSDataTabulator.h"

#include <algorithm>
#include <optional>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSFindings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/Obs.h"
#include "model_components/surveyplans/common/AbstractOutputs.h"

// In the order of a run: the pass, the draw with its outputs, the questions afterwards.

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

// The code of a category. Codes are whole here already; adding a half guards against a conversion before this
// point that leaves one just below.
std::int32_t KeyValue(double value) {
  return TruncateToInt32(value + 0.5);
}

// One comparison also rejects the missing value, which is negative.
bool IsPositive(double weight) {
  return weight > 0.0;
}

// The first `count` codes of a key.
std::vector<std::int32_t> Codes(const SVKey& key, std::size_t count) {
  std::vector<std::int32_t> codes(count);
  for (std::size_t i = 0; i < count; ++i) codes[i] = key[static_cast<int>(i)];
  return codes;
}

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
    case FindingKind::kNoTotalSize:
      return std::any_of(finding.examples.begin(), finding.examples.end(),
                         [](const SVSFinding::Example& e) { return e.other > 0.0; })
                 ? kStatusInvalidSize
                 : 0;
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
      fVariableType(&settings->VariableTypes()),
      fWeightVar(settings->WeightVar()),
      fpCancelInfo(cancelInfo) {
  settings->KeyVars(stage, &fKeyStrataVars, &fKeyClusterVars);
  fSVStratumKey = SVKey(static_cast<int>(fKeyStrataVars.size()));
  fSVUnitKey = SVKey(std::max(1, static_cast<int>(fKeyClusterVars.size())));
  for (Arrival& arrival : fArrivals) {
    arrival.stratumKey = fSVStratumKey;
    arrival.unitKey = fSVUnitKey;
  }
  if (settings->StageSpecVar(stage) >= 0) fConstVars.push_back(settings->StageSpecVar(stage));
}

// --- the pass --------------------------------------------------------------------------------------------

// Records that are still in the ring when the pass ends in an error are dropped: nothing is drawn from it.
SVStatus SVSDataTabulator::ProcessData(MCCommon::MultiPassRecordIter& iterator) {
  if (!iterator.HasMore()) fStatus = ErrorStatus(kStatusNoRecords);
  if (fbSourceProcessed) fStatus = ErrorStatus(kStatusUserError);
  while (!fStatus.IsError() && iterator.HasMore() && !fpCancelInfo->IsCancelled()) TakeRecord(iterator);
  if (fpCancelInfo->IsCancelled()) fStatus = ErrorStatus(kStatusCancelled);
  while (!fStatus.IsError() && fEntered < fArrived) EnterNext();
  if (!fStatus.IsError()) fbSourceProcessed = true;
  fpOutSamples->AddStatus(fStatus);
  return fStatus;
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
    ++fRecordCount;
    if (!Check(*record, fStatus)) {
      if (!fStatus.IsError() && fbFirstStage) Findings().Count(FindingKind::kNoPreviousWeight, fStageInd);
      return;
    }
    Tabulate(*record);
    if (!fStatus.IsError()) ++fValidCount;
  }
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

void SVSDataTabulator::Tabulate(const MCCommon::Record& record) {
  const double* data = record.GetAll();
  if (data == nullptr) {
    fStatus = ErrorStatus(kStatusInvalidRecord);
  } else if (IsPositive(IncomingWeight(data)) && EntersStage(record)) {
    Arrive(record);
  }
  fpOutSamples->AddStatus(fStatus);
}

// Whether the stage before selected the record's unit. The quick test answers for most; only its weight, and
// not its cumulative weight, is needed here, so 1 is carried.
bool SVSDataTabulator::EntersStage(const MCCommon::Record& record) {
  if (fpPrevTabulator == nullptr) return true;
  return fpPrevTabulator->MaySelect(record) &&
         !fpPrevTabulator->Lookup(record, 1.0, &fPrevValues).IsError() && IsPositive(fPrevValues[kOutWeight]);
}

// Puts the record into the ring, and takes the oldest one out if the ring is full.
//
// In a file in random order nearly every unit is out of the processor's caches, and a search for it waits for
// memory twice: for the slot of the table and for the unit it points to. So a record waits in the ring while
// both are fetched. On arrival the slot is requested; halfway through the ring the slot has come, is read,
// and the unit is requested; when the record leaves, the unit is there. The ring is a queue: order is kept.
//
// The subtraction below wraps for the first records. The position is still right, as kWaiting is a power of
// two, and the arrival found there is an empty one.
void SVSDataTabulator::Arrive(const MCCommon::Record& record) {
  Arrival& arrival = ArrivalAt(fArrived);
  arrival.data.assign(record.GetAll(), record.GetAll() + record.Size());
  MakeKeys(record.GetAll(), &arrival.stratumKey, &arrival.unitKey);
  arrival.stratum = fDataTable.Find(arrival.stratumKey);
  if (arrival.stratum != nullptr) arrival.stratum->value.PrefetchPlace(arrival.unitKey);
  const Arrival& halfway = ArrivalAt(fArrived - kWaiting / 2);
  if (halfway.stratum != nullptr) halfway.stratum->value.PrefetchUnit(halfway.unitKey);
  ++fArrived;
  if (fArrived - fEntered == kWaiting) EnterNext();
}

// The stratum is searched again if it wasn't there on arrival: a record ahead in the ring may have made it.
void SVSDataTabulator::EnterNext() {
  const Arrival& arrival = ArrivalAt(fEntered++);
  const double* data = arrival.data.data();
  StratumEntry* entry = arrival.stratum != nullptr ? arrival.stratum : fDataTable.Find(arrival.stratumKey);
  if (entry != nullptr && !fConstVars.empty()) CheckConstant(*entry, data);
  SVSStratumData& stratum = entry != nullptr ? entry->value : NewStratum(arrival.stratumKey, data);
  const std::optional<double> disagreeing = stratum.AddRecord(arrival.unitKey, data);
  if (disagreeing) NoteUnequalSize(arrival, *disagreeing);
}

// Whether the record has the rate or size of its stratum. The warning is raised once per stage.
void SVSDataTabulator::CheckConstant(StratumEntry& entry, const double* data) {
  const double first = entry.value.ConstValue();
  if (entry.value.CheckConstValues(data, fConstVars) < 0) return;
  Findings().Note(FindingKind::kUnequalSpec, fStageInd,
                  {.stratum = entry.key, .unit = {}, .value = first, .other = data[fConstVars.front()]});
  if (fbConstStatus || fStatus.IsError()) return;
  fStatus = WarningStatus(kStatusUnequalSpec);
  fbConstStatus = true;
}

// Sizes below 0 count as unequal even if they are equal; they are another finding.
void SVSDataTabulator::NoteUnequalSize(const Arrival& arrival, double size) {
  const double other = arrival.data[static_cast<std::size_t>(fCompSettings->MOSVar())];
  if (size == other && size < 0.0) return;
  Findings().Note(FindingKind::kUnequalSize, fStageInd,
                  {.stratum = arrival.stratumKey, .unit = arrival.unitKey, .value = size, .other = other});
}

// InitConstValues() reports a missing rate or size by its result, which isn't needed: a later record may have
// the value, and if none has, the stratum reports it when it draws.
SVSStratumData& SVSDataTabulator::NewStratum(const SVKey& key, const double* data) {
  StratumEntry* entry = fDataTable.Insert(key, fCompSettings, fStageInd, fpCancelInfo, fConstVars.size());
  fTablePairs.push_back(entry);
  SVSStratumData& stratum = entry->value;
  stratum.SetOutSamples(fpOutSamples);
  if (!fConstVars.empty()) stratum.InitConstValues(data, fConstVars);
  return stratum;
}

// Without cluster variables the case is the unit, and its id the key. Without an id, as in a computation that
// isn't fed by a file, all records of a stratum are one unit.
void SVSDataTabulator::MakeKeys(const double* data, SVKey* stratumKey, SVKey* unitKey) const {
  for (std::size_t i = 0; i < fKeyStrataVars.size(); ++i) {
    (*stratumKey)[static_cast<int>(i)] = KeyValue(data[fKeyStrataVars[i]]);
  }
  stratumKey->ComputeHash();
  if (fKeyClusterVars.empty()) (*unitKey)[0] = fCaseIdVar < 0 ? 0 : KeyValue(data[fCaseIdVar]);
  for (std::size_t i = 0; i < fKeyClusterVars.size(); ++i) {
    (*unitKey)[static_cast<int>(i)] = KeyValue(data[fKeyClusterVars[i]]);
  }
  unitKey->ComputeHash();
}

// --- the draw --------------------------------------------------------------------------------------------

SVStatus SVSDataTabulator::SelectSamples(MCSV::SVSOutputSummary* summary,
                                         MCSV::SVSOutJointProbs* jointProbs) {
  int maxSelected = 0;
  Review();
  if (RefusesFindings() || !DrawStrata(&maxSelected)) return fStatus;
  if (summary != nullptr && !Summarize(*summary)) return fStatus;
  if (fStageInd == 1 && jointProbs != nullptr) WriteJointProbs(*jointProbs, maxSelected);
  return fStatus;
}

SVStatus SVSDataTabulator::CheckSamples() {
  Review();
  for (const SVSFinding& finding : Findings().All()) {
    if (const std::int32_t code = FailureBy(finding); code != 0 && !fStatus.IsError())
      fStatus = ErrorStatus(code);
  }
  return fStatus;
}

// In the order in which the strata appeared, which is the order of the examples that a user sees. A strict
// draw that would lose hits is refused whether or not a unit is then hit twice: if it depended on that, the
// samples that are accepted would have other probabilities.
void SVSDataTabulator::Review() {
  for (const StratumEntry* entry : fTablePairs) {
    entry->value.Review(entry->key, &Findings());
    if (fCompSettings->HowStrict() != Strictness::kLenient && LosesHits()) {
      Findings().Note(FindingKind::kHitsNotKept, fStageInd, {.stratum = entry->key, .unit = {}});
    }
  }
}

// Whether the sample shows a unit that was hit more than once as if it was hit once.
bool SVSDataTabulator::LosesHits() const {
  const DesignStage& stage = *fCompSettings->GetStage(fStageInd);
  return MethodOf(stage.methodType()).withReplacement && stage.outputName(kOutIndex).empty();
}

bool SVSDataTabulator::RefusesFindings() {
  if (!Findings().AnyRefused(fCompSettings->HowStrict())) return false;
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
  return !RefusesFindings();
}

// EndStage() is called whatever StartStage() and AddStratum() answered, so that the output can close what it
// opened.
bool SVSDataTabulator::Summarize(MCSV::SVSOutputSummary& summary) {
  int result = summary.StartStage(fStageInd);
  for (auto entry = fDataTable.begin(); entry != fDataTable.end() && result == MCSV::kSummaryGoOn; ++entry) {
    SVSStratumData& stratum = entry->value;
    result = summary.AddStratum(Codes(entry->key, fKeyStrataVars.size()), stratum.GetRequestSize(),
                                stratum.GetNumSelected(), stratum.GetRequestRate(), stratum.GetSelectRate());
  }
  const int end = summary.EndStage();
  if (result != MCSV::kSummaryFailed && end != MCSV::kSummaryFailed) return true;
  fStatus = ErrorStatus(kStatusUserError);
  return false;
}

// An output that can't be opened is closed again and ignored: the sample doesn't depend on it. Strata are
// sorted by their keys, so that the file has a stable order.
void SVSDataTabulator::WriteJointProbs(MCSV::SVSOutJointProbs& output, int maxSelected) {
  const int state = output.Open(maxSelected);
  std::sort(fTablePairs.begin(), fTablePairs.end(),
            [](const StratumEntry* a, const StratumEntry* b) { return a->key < b->key; });
  if (state != MCSV::kJointFailed) {
    for (StratumEntry* entry : fTablePairs) {
      if (!WriteStratum(output, *entry)) break;
    }
  }
  output.Close();
}

// False if nothing more is to be written. A stratum without selected units writes nothing, but can still
// report an error.
bool SVSDataTabulator::WriteStratum(MCSV::SVSOutJointProbs& output, StratumEntry& entry) {
  SVSStratumData& stratum = entry.value;
  const ClusterPairs& units = stratum.GetClusterSelectPairs();
  const std::vector<double>* matrix = nullptr;
  fStatus = stratum.ComputeJointProbs(&matrix);
  fpOutSamples->AddStatus(fStatus);
  if (fStatus.IsError()) return false;

  const std::size_t n = units.size();
  bool failed = n > 0 && output.StartStratum(static_cast<int>(n), Codes(entry.key, fKeyStrataVars.size())) ==
                             MCSV::kJointFailed;
  for (std::size_t i = 0; i < n && !failed; ++i) {
    const auto row = matrix->begin() + static_cast<std::ptrdiff_t>(i * n);
    failed = output.WriteRow(Codes(units[i]->key, fKeyClusterVars.size()),
                             {row, row + static_cast<std::ptrdiff_t>(n)}) == MCSV::kJointFailed;
  }
  stratum.ClearWork();
  if (failed) fStatus = ErrorStatus(kStatusNoJointOutput);
  return !failed;
}

// --- after the draw --------------------------------------------------------------------------------------

bool SVSDataTabulator::MaySelect(const MCCommon::Record& record) {
  if (fStatus.IsError() || record.Size() < static_cast<int>(fVariableType->size())) return false;
  MakeKeys(record.GetAll(), &fSVStratumKey, &fSVUnitKey);
  const StratumEntry* entry = fDataTable.Find(fSVStratumKey);
  return entry != nullptr && entry->value.MaySelect(fSVUnitKey);
}

SVStatus SVSDataTabulator::Lookup(const MCCommon::Record& record, double carriedWeight,
                                  std::vector<double>* values) {
  values->assign(kOutputKinds, gMissingValue);
  if (fStatus.IsError()) return fStatus;
  SVStatus status;
  // The result isn't needed: a record that Check() would drop is in no table, or has no weight.
  Check(record, status);
  if (status.IsError()) return status;
  const double* data = record.GetAll();
  if (data == nullptr) return ErrorStatus(kStatusInvalidRecord);
  const double weight = fbFirstStage ? IncomingWeight(data) : carriedWeight;
  if (!IsPositive(weight)) return fbFirstStage ? ErrorStatus(kStatusInvalidRecord) : status;

  MakeKeys(data, &fSVStratumKey, &fSVUnitKey);
  const StratumEntry* entry = fDataTable.Find(fSVStratumKey);
  if (entry == nullptr) return status;
  status = entry->value.GetRecordStats(fSVUnitKey, values);
  std::vector<double>& out = *values;
  if (!status.IsError() && IsPositive(out[kOutWeight])) out[kOutCumWeight] = out[kOutWeight] * weight;
  return status;
}
