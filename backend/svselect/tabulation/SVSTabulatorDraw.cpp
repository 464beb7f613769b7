// A stage after its pass: the draw, then the questions about it. SVSTabulatorOutputs.cpp has its outputs.

#include <algorithm>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSFindings.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/tabulation/SVSDataTabulator.h"
#include "host/numeric/Obs.h"

namespace {

using MCMV::gMissingValue;

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

SVStatus SVSDataTabulator::CheckSamples() {
  ReviewAll();
  for (const SVSFinding& finding : Findings().All()) {
    if (const std::int32_t code = FailureBy(finding); code != 0 && !fStatus.IsError())
      fStatus = ErrorStatus(code);
  }
  if (!fStatus.IsError()) RefusesFindings();
  return fStatus;
}

std::vector<bool> SVSDataTabulator::ReviewFrame() {
  std::vector<bool> isRefused;
  const Strictness strictness = fCompSettings->HowStrict();
  for (const StratumEntry* entry : fvStrata) {
    const std::int64_t before = Findings().RefusedCount(fStageInd, strictness);
    Review(*entry);
    isRefused.push_back(Findings().RefusedCount(fStageInd, strictness) > before);
  }
  return isRefused;
}

// In the order in which the strata appeared, which is the order of the examples that a user sees.
void SVSDataTabulator::ReviewAll() {
  for (const StratumEntry* entry : fvStrata) Review(*entry);
}

// A strict draw that would lose hits is refused whether or not a unit is then hit twice: if it depended on
// that, the samples that are accepted would have other probabilities.
void SVSDataTabulator::Review(const StratumEntry& entry) {
  entry.value.Review(entry.key, &Findings());
  if ((fCompSettings->HowStrict() != Strictness::kLenient || fbForesees) && LosesHits()) {
    Findings().Note(FindingKind::kHitsNotKept, fStageInd, {.stratum = entry.key, .unit = {}});
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
  ListSelected();
  return !RefusesFindings();
}

// The units of a stratum ascend as their numbers do, and so do the results of the stratum. Where cases are
// counted, the lists are those of the selected alone.
void SVSDataTabulator::ListSelected() {
  if (fbCountsCases) {
    for (std::size_t stratum = 0; stratum < fvStrata.size(); ++stratum) {
      for (const SVSUnits::Result& result : fvStrata[stratum]->value.Units().Results()) {
        if (result.IsSelected() || result.IsReserve())
          fvPlaces.push_back({static_cast<std::int32_t>(stratum), result.unit});
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
    fvSelected[number] = results[result].IsSelected() || results[result].IsReserve() ? 1 : 0;
    ++result;
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
