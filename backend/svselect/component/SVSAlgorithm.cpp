#include "backend/svselect/component/SVSAlgorithm.h"

#include "backend/svselect/component/SVSPreviewer.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "host/numeric/Obs.h"

SVSAlgorithm::SVSAlgorithm(const SVSCompSettings* settings, MCSV::SVSOutJointProbs* jointProbs)
    : fCompSettings(settings),
      fFirstStage(settings->FirstStage()),
      fLastStage(settings->LastStage()),
      fCancelInfo(settings->StopProcessor()),
      fvpDataTabulators(settings->DesignStages().size()),
      fpJointProbs(jointProbs) {}

SVStatus SVSAlgorithm::Run(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutputSummary* summary) {
  if (!HasStages()) return fStatus;
  fRandom.Initialize(static_cast<std::uint32_t>(fCompSettings->Seed()));
  for (std::int32_t stage = fFirstStage; stage <= fLastStage && !fStatus.IsError(); ++stage) {
    if (stage != fFirstStage) {
      recordIterator.Reset();  // its result isn't needed: after a failure there is no record, which is tested
      fbDataProcessed = false;
      fbModelBuilt = false;
    }
    TabulateStage(stage, recordIterator);
    if (fCompSettings->CheckOnly()) return CheckStage(stage);
    if (!fStatus.IsError()) DrawStage(stage, summary);
  }
  return fStatus;
}

bool SVSAlgorithm::HasStages() {
  const auto stages = static_cast<std::int32_t>(fvpDataTabulators.size());
  if (fFirstStage >= 1 && fFirstStage <= fLastStage && fLastStage <= stages) return true;
  fStatus = ErrorStatus(kStatusNoStages);
  fOutSamples.AddStatus(fStatus);
  return false;
}

SVStatus SVSAlgorithm::Preview(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutPreview* output) {
  if (!HasStages()) return fStatus;
  fStatus = SVSPreviewer(fCompSettings, &fCancelInfo, &fOutSamples).Run(recordIterator, output);
  return fStatus;
}

// The first stage is all that can be checked: which cases are in the next one depends on the draw.
SVStatus SVSAlgorithm::CheckStage(std::int32_t stage) {
  if (!fStatus.IsError()) fStatus = Tabulator(stage)->CheckSamples();
  fOutSamples.AddStatus(fStatus);
  return fStatus;
}

void SVSAlgorithm::TabulateStage(std::int32_t stage, MCCommon::MultiPassRecordIter& recordIterator) {
  if (!recordIterator.HasMore()) fStatus = ErrorStatus(kStatusNoRecords);
  if (fbDataProcessed) fStatus = ErrorStatus(kStatusUserError);
  if (!fStatus.IsError()) {
    fOutSamples.SetStage(stage);
    SVSDataTabulator* previous = stage > 1 ? Tabulator(stage - 1).get() : nullptr;
    Tabulator(stage) = std::make_unique<SVSDataTabulator>(fCompSettings, stage, previous, &fCancelInfo);
    Tabulator(stage)->SetRandom(&fRandom);
    Tabulator(stage)->SetOutputStats(&fOutSamples);
    fStatus = Tabulator(stage)->ProcessData(recordIterator);
    fbDataProcessed = !fStatus.IsError();
  }
  fOutSamples.AddStatus(fStatus);
}

void SVSAlgorithm::DrawStage(std::int32_t stage, MCSV::SVSOutputSummary* summary) {
  fStatus = Tabulator(stage)->SelectSamples(summary, fpJointProbs);
  fbModelBuilt = !fStatus.IsError();
  fOutSamples.AddStatus(fStatus);
}

// The last stage alone can answer: a unit that it selected is inside selected units of all stages before.
bool SVSAlgorithm::MaySelect(const MCCommon::Record& record) {
  return Tabulator(fLastStage)->MaySelect(record);
}

// A case's final weight is the product of its stages' weights, as the inclusion probability of a unit of a
// later stage is conditional on the selection of the unit that contains it.
SVStatus SVSAlgorithm::CaseStats(const MCCommon::Record& record,
                                 std::vector<std::vector<double>>* stageValues, double* finalWeight) {
  stageValues->resize(fvpDataTabulators.size());
  SVStatus status;
  double carried = 1.0;
  for (std::size_t place = 0; place < stageValues->size(); ++place) {
    std::vector<double>& values = (*stageValues)[place];
    if (fvpDataTabulators[place] == nullptr) {
      values.clear();
      continue;
    }
    const SVStatus found = fvpDataTabulators[place]->Lookup(record, carried, &values);
    carried = values[kOutCumWeight];
    if (!status.IsError()) status = found;
  }
  // A stage that didn't select the case leaves the carried weight missing, and so do all stages after it.
  *finalWeight = status.IsError() ? MCMV::gMissingValue : carried;
  return status;
}

void SVSAlgorithm::StartWalk() {
  Tabulator(fLastStage)->StartWalk();
}

void SVSAlgorithm::KeepSelected(const MCCommon::RecordBlock& block, SVSRows* rows) {
  Tabulator(fFirstStage)->ListWeighted(block, rows);
  Tabulator(fLastStage)->KeepSelected(block, rows);
}

// The row's units from the last stage to the first, then their results from the first stage to the last.
SVStatus SVSAlgorithm::RowStats(const MCCommon::RecordBlock& block, const SVSRows& rows, std::size_t place,
                                std::vector<std::vector<double>>* stageValues, double* finalWeight) {
  stageValues->resize(fvpDataTabulators.size());
  fvUnits.assign(fvpDataTabulators.size(), rows.numbers[place]);
  for (std::int32_t stage = fLastStage; stage > fFirstStage; --stage) {
    fvUnits[static_cast<std::size_t>(stage - 2)] =
        Tabulator(stage)->OuterUnit(fvUnits[static_cast<std::size_t>(stage - 1)]);
  }
  SVStatus status;
  double carried = Tabulator(fFirstStage)->IncomingWeight(block, rows.rows[place]);
  for (std::size_t at = 0; at < stageValues->size(); ++at) {
    std::vector<double>& values = (*stageValues)[at];
    if (fvpDataTabulators[at] == nullptr) {
      values.clear();
      continue;
    }
    const SVStatus found = fvpDataTabulators[at]->ResultsOf(fvUnits[at], carried, &values);
    carried = values[kOutCumWeight];
    if (!status.IsError()) status = found;
  }
  *finalWeight = status.IsError() ? MCMV::gMissingValue : carried;
  return status;
}
