#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/tabulation/SVSDataTabulator.h"
#include "host/numeric/MCRandomTwister.h"
#include "host/numeric/RecordIterator.h"
#include "model_components/surveyplans/common/SVStatus.h"

class SVSCompSettings;

// SVSAlgorithm drives the stages of a run: for each selected stage one pass over the records, then the draw.
//
// No list of selected units goes from stage to stage. All tabulators stay alive, and each asks the one before
// about every record. One generator serves all strata of all stages, seeded once.
//
// Use:        through SVSComponent: Run() once, then CaseStats().
// Ownership:  owns the tabulators, the collector and the generator; borrows settings and outputs.
// Threads:    the thread of the run only.
class SVSAlgorithm {
public:
  SVSAlgorithm(const SVSCompSettings* settings, MCSV::SVSOutJointProbs* jointProbs);

  // Runs the stages in order; the first error ends it. The first pass reads what is left of the iterator's,
  // each further one starts over. Errors: 92021 when the selected stages make no range of the design's, 92001
  // at a pass without records, those of the tabulators.
  SVStatus Run(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutputSummary* summary);

  // As SVSComponent::MaySelect() and CaseStats(). REQUIRES: ModelBuilt() after the last stage.
  bool MaySelect(const MCCommon::Record& record);
  SVStatus CaseStats(const MCCommon::Record& record, std::vector<std::vector<double>>* stageValues,
                     double* finalWeight);

  // The present stage has its data; has its sample. Both stay after the last stage.
  bool DataProcessed() const { return fbDataProcessed; }
  bool ModelBuilt() const { return fbModelBuilt; }
  SVSOutSamples& OutSamples() { return fOutSamples; }

private:
  void TabulateStage(std::int32_t stage, MCCommon::MultiPassRecordIter& recordIterator);
  void DrawStage(std::int32_t stage, MCSV::SVSOutputSummary* summary);
  std::unique_ptr<SVSDataTabulator>& Tabulator(std::int32_t stage) {
    return fvpDataTabulators[static_cast<std::size_t>(stage - 1)];
  }

  const SVSCompSettings* fCompSettings;
  std::int32_t fFirstStage;
  std::int32_t fLastStage;
  SVCancelInfo fCancelInfo;
  MCCommonMath::MCRandomTwister fRandom;
  SVSOutSamples fOutSamples;
  std::vector<std::unique_ptr<SVSDataTabulator>> fvpDataTabulators;  // by stage; null for one that hasn't run
  MCSV::SVSOutJointProbs* fpJointProbs;                              // borrowed, may be null
  bool fbDataProcessed = false;
  bool fbModelBuilt = false;
  SVStatus fStatus;
};
