#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "backend/svselect/design/SVCancelInfo.h"
#include "backend/svselect/design/SVSOutSamples.h"
#include "backend/svselect/tabulation/SVSDataTabulator.h"
#include "host/numeric/MCRandomTwister.h"
#include "host/numeric/RecordIterator.h"
#include "model_components/surveyplans/common/AbstractPreview.h"
#include "model_components/surveyplans/common/SVStatus.h"

class SVSCompSettings;

// SVSAlgorithm drives the stages of a run: for each selected stage one pass over the records, then the draw.
//
// No list of selected cases is passed from stage to stage. All tabulators stay alive to the end, and while a
// stage tabulates, it asks the tabulators of the stages before about every record. That costs a search for
// each record and saves a list that could be as long as the file.
//
// One generator, seeded once, serves all strata of all stages. So the first stage of a design draws the same
// units whether or not later stages follow, and a stage's draws depend on all draws before it.
//
// Use:        through SVSComponent: Run() once, then CaseStats(), or a walk over the blocks of a pass.
// Ownership:  owns the tabulators, the collector and the generator; borrows settings and outputs.
// Threads:    the thread of the run only.
class SVSAlgorithm {
public:
  SVSAlgorithm(const SVSCompSettings* settings, MCSV::SVSOutJointProbs* jointProbs);

  // Runs the stages in order; the first error ends it. If the settings ask for a check only, no stage is
  // drawn. The first pass reads what is left in the iterator's
  // current one, each further pass starts over. Errors: 92021 if the selected stages aren't a range of the
  // design's stages, 92001 for a pass without records, and those of the tabulators.
  SVStatus Run(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutputSummary* summary);

  // In place of Run(). Errors: those of Run() as far as they can be foreseen.
  SVStatus Preview(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutPreview* output);

  // As SVSComponent::MaySelect() and CaseStats(). REQUIRES: ModelBuilt() after the last stage.
  bool MaySelect(const MCCommon::Record& record);
  SVStatus CaseStats(const MCCommon::Record& record, std::vector<std::vector<double>>* stageValues,
                     double* finalWeight);

  // As SVSComponent::StartWalk(), KeepSelected() and RowStats(). REQUIRES: as above.
  void StartWalk();
  void KeepSelected(const MCCommon::RecordBlock& block, SVSRows* rows);
  SVStatus RowStats(const MCCommon::RecordBlock& block, const SVSRows& rows, std::size_t place,
                    std::vector<std::vector<double>>* stageValues, double* finalWeight);

  // Whether the current stage has tabulated its data; whether it has drawn its sample. Both stay set after
  // the last stage, and so identify a finished run.
  bool DataProcessed() const { return fbDataProcessed; }
  bool ModelBuilt() const { return fbModelBuilt; }
  SVSOutSamples& OutSamples() { return fOutSamples; }

private:
  bool HasStages();
  void TabulateStage(std::int32_t stage, MCCommon::MultiPassRecordIter& recordIterator);
  void DrawStage(std::int32_t stage, MCSV::SVSOutputSummary* summary);
  SVStatus CheckStage(std::int32_t stage);
  std::unique_ptr<SVSDataTabulator>& Tabulator(std::int32_t stage) {
    return fvpDataTabulators[static_cast<std::size_t>(stage - 1)];
  }

  const SVSCompSettings* fCompSettings;
  std::int32_t fFirstStage;
  std::int32_t fLastStage;
  SVCancelInfo fCancelInfo;
  MCCommonMath::MCRandomTwister fRandom;
  SVSOutSamples fOutSamples;
  std::vector<std::unique_ptr<SVSDataTabulator>> fvpDataTabulators;  // by stage; null if it wasn't drawn
  MCSV::SVSOutJointProbs* fpJointProbs;                              // borrowed, may be null
  std::vector<std::int32_t> fvUnits;                                 // scratch: of a row, by stage
  bool fbDataProcessed = false;
  bool fbModelBuilt = false;
  SVStatus fStatus;
};
