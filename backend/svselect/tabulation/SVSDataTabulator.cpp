#include "backend/svselect/tabulation/SVSDataTabulator.h"

#include <algorithm>

#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "host/numeric/Fuzzy.h"
#include "host/numeric/Obs.h"
#include "model_components/surveyplans/common/SVSOutJointProbs.h"
#include "model_components/surveyplans/common/SVSOutputSummary.h"

namespace {

using MCMV::gMissingValue;

// What becomes of a record for the value that it has at one index.
enum class Fitness { kPasses, kRejected, kInvalid };

bool IsWhole32(double value) {
  return TruncateToInt32(value) == value;
}

Fitness FitnessOf(std::int32_t variableType, double value) {
  switch (variableType) {
    case kVarCategorical:  // a missing value is among those below
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

// The code of a category. Codes are whole; the half guards against what a conversion upstream could leave.
std::int32_t KeyValue(double value) {
  return TruncateToInt32(value + 0.5);
}

// Missing values are negative, so one comparison tells a weight that counts.
bool IsPositive(double weight) {
  return weight > 0.0;
}

// The first `count` codes of a key.
std::vector<std::int32_t> Codes(const SVKey& key, std::size_t count) {
  std::vector<std::int32_t> codes(count);
  for (std::size_t i = 0; i < count; ++i) codes[i] = key[static_cast<int>(i)];
  return codes;
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
    if (!Check(*record, fStatus)) return;
    Tabulate(*record);
    if (!fStatus.IsError()) ++fValidCount;
  }
}

// Whether the record is fit for tabulation. To be unfit without a status is the normal way for a record to be
// dropped; a status that became an error stops the pass.
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

// The stage before selected the record's unit.
bool SVSDataTabulator::EntersStage(const MCCommon::Record& record) {
  if (fpPrevTabulator == nullptr) return true;
  return fpPrevTabulator->MaySelect(record) &&
         !fpPrevTabulator->Lookup(record, 1.0, &fPrevValues).IsError() && IsPositive(fPrevValues[kOutWeight]);
}

// Takes the record into the ring, asks for the unit of the record halfway through it, and enters the oldest
// when the ring is full.
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

void SVSDataTabulator::EnterNext() {
  const Arrival& arrival = ArrivalAt(fEntered++);
  const double* data = arrival.data.data();
  StratumEntry* entry = arrival.stratum != nullptr ? arrival.stratum : fDataTable.Find(arrival.stratumKey);
  if (entry != nullptr && !fConstVars.empty() && entry->value.CheckConstValues(data, fConstVars) >= 0 &&
      !fbConstStatus && !fStatus.IsError()) {
    fStatus = WarningStatus(kStatusUnequalSpec);
    fbConstStatus = true;
  }
  SVSStratumData& stratum = entry != nullptr ? entry->value : NewStratum(arrival.stratumKey, data);
  stratum.AddRecord(arrival.unitKey, data);
}

SVSStratumData& SVSDataTabulator::NewStratum(const SVKey& key, const double* data) {
  StratumEntry* entry = fDataTable.Insert(key, fCompSettings, fStageInd, fpCancelInfo, fConstVars.size());
  fTablePairs.push_back(entry);
  SVSStratumData& stratum = entry->value;
  stratum.SetOutSamples(fpOutSamples);
  if (!fConstVars.empty()) stratum.InitConstValues(data, fConstVars);
  return stratum;
}

// Without cluster variables the case is the unit.
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

SVStatus SVSDataTabulator::SelectSamples(MCSV::SVSOutputSummary* summary,
                                         MCSV::SVSOutJointProbs* jointProbs) {
  int maxSelected = 0;
  if (!DrawStrata(&maxSelected)) return fStatus;
  if (summary != nullptr && !Summarize(*summary)) return fStatus;
  if (fStageInd == 1 && jointProbs != nullptr) WriteJointProbs(*jointProbs, maxSelected);
  return fStatus;
}

bool SVSDataTabulator::DrawStrata(int* maxSelected) {
  for (StratumEntry& entry : fDataTable) {
    SVSStratumData& stratum = entry.value;
    stratum.SetRandom(fpRandom);
    fStatus = stratum.Select();
    *maxSelected = std::max(*maxSelected, stratum.GetNumSelected());
    if (fStatus.IsError()) return false;
  }
  return true;
}

// A stage that was started is ended, whatever its strata answered.
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

// An output that can't be opened is closed again and left alone; that is no error of the run.
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

// False when nothing more is to be written.
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
  Check(record, status);  // only an error matters: what it drops has no weight or stands in no table
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
