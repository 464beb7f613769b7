#include "backend/svselect/run/SVSProcedure.h"

#include "backend/svcommon/adapters/SVMessages.h"
#include "backend/svcommon/adapters/SVProcDSMultiIter.h"
#include "backend/svcommon/design/Enumerations.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/component/SVSComponent.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "backend/svselect/results/SVSJointProbOutFile.h"
#include "backend/svselect/run/FindingTexts.h"
#include "backend/svselect/run/PreviewOutput.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/files/SessionFiles.h"
#include "host/output/BpComposite.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"
#include "model_components/surveyplans/common/SVStatus.h"

namespace {

constexpr std::int32_t kAnyInclusionType = -1;

// One row per message: its text for a stage with strata or clusters, and without. The first that fits is
// used. A status with no row is never shown: its cause is a fault of the program or of a source that has been
// reported already. The wordings are fixed, also where they don't say what a user needs: "Pop size too big"
// means that more units were asked for than the population has.
struct Row {
  std::int32_t code;
  std::int32_t inclusionType;
  bool showsStage;
  const char* stratified;
  const char* plain;
};

constexpr const char* kNotStrict =
    "A strict run refuses what makes a probability or weight wrong or unclear; see the remarks";

constexpr Row kRows[] = {
    {kStatusNoRecords, kAnyInclusionType, false, "There are no valid cases ...",
     "There are no valid cases ..."},
    {kStatusUnequalSpec, kRateVariable, true, "Unequal sample rate in stage ^1 stratum ...",
     "Unequal sample rate in stage ^1 ..."},
    {kStatusUnequalSpec, kSizeVariable, true, "Unequal sample size in stage ^1 stratum ...",
     "Unequal sample size in stage ^1 ..."},
    {kStatusMissingSpec, kRateVariable, true, "No sample rate in active in stage ^1 stratum ...",
     "No sample rate in active in stage ^1 ..."},
    {kStatusMissingSpec, kSizeVariable, true, "No sample size in active in stage ^1 stratum ...",
     "No sample size in active in stage ^1 ..."},
    {kStatusPopulationTooSmall, kAnyInclusionType, true, "Pop size too big in stage ^1 stratum ...",
     "Pop size too big in stage ^1 ..."},
    {kStatusSizeAboveUnits, kAnyInclusionType, true, "Pop size too big in stage ^1 stratum ...",
     "Pop size too big in stage ^1 ..."},
    {kStatusMissingSize, kAnyInclusionType, false, "All missing values for measure of size ...",
     "All missing values for measure of size ..."},
    {kStatusInvalidSize, kAnyInclusionType, false, "Invalid measure of size value ...",
     "Invalid measure of size value ..."},
    {kStatusUnequalSize, kAnyInclusionType, false, "Measure of size values unequal or missing ...",
     "Measure of size values unequal or missing ..."},
    {kStatusRateAboveOne, kAnyInclusionType, true, "Sampling rate exceeds 1 in stage ^1 stratum ...",
     "Sampling rate exceeds 1 in stage ^1 ..."},
    {kStatusNotStrict, kAnyInclusionType, false, kNotStrict, kNotStrict},
    {kStatusNoMemory, kAnyInclusionType, false, "Insufficient memory for joint probabilities ...",
     "Insufficient memory for joint probabilities ..."},
};

}  // namespace

StatusText TextOfStatus(std::int32_t code, std::int32_t inclusionType, bool isStratified) {
  for (const Row& row : kRows) {
    if (row.code != code) continue;
    if (row.inclusionType != kAnyInclusionType && row.inclusionType != inclusionType) continue;
    return {isStratified ? row.stratified : row.plain, row.showsStage};
  }
  return {};
}

SVSProcedure::SVSProcedure(SVSValidSpecs* validSpecs, ProcedureDataSource* dataSource)
    : fpValidSpecs(validSpecs), fpDataSource(dataSource) {
  std::unique_ptr<ProcDSIterator> iterator = SVProcDSMultiIter::MakeIterator(dataSource);
  fpMessages = std::make_unique<SVMessages>(dataSource);
  if (iterator == nullptr) {
    fStatus = ErrorStatus(kStatusNoRecords);
    fpMessages->NoCasesForSelection();
    return;
  }
  fpInputAdapter =
      std::make_unique<SVSInputAdapter>(validSpecs, dataSource, iterator.get(), fpMessages.get());
  if (!validSpecs->TextSlots().empty()) {
    validSpecs->CompSettings()->SetTextRanks(
        [adapter = fpInputAdapter.get()](std::int32_t slot) { return adapter->TextRanks(slot); });
  }
  auto multiPass =
      std::make_unique<SVProcDSMultiIter>(dataSource, std::move(iterator), fpInputAdapter.get(), true);
  fpMultiPassIter = multiPass.get();
  fpRecordIter = std::move(multiPass);
  if (fpRecordIter->Status() != MCCommon::kRecordReady) {
    fStatus = ErrorStatus(kStatusNoRecords);
    fpMessages->NoValidCases();
  }
}

// In reverse order of dependence: the component has used the iterator, the iterator the adapter.
SVSProcedure::~SVSProcedure() {
  fpSummary = nullptr;
  fpComponent.reset();
  fpRecordIter.reset();
  fpMessages.reset();
  fpInputAdapter.reset();
}

// The joint probability output is made before anything is tested, so that a file that can't be opened is
// reported even if there is nothing to draw. It is local: the component uses it only during Run(). Where outputs
// are kept in memory, one that isn't wanted has no store; its Open() fails, and the draw goes on without it.
bool SVSProcedure::Run() {
  const SVSCompSettings* settings = fpValidSpecs->CompSettings();
  std::unique_ptr<SVSJointProbOutFile> jointProbs;
  const bool hasOutput =
      fpValidSpecs->JointProbFile().IsValid() || SessionFiles::Current().Claims().KeepsTables();
  if (hasOutput && settings != nullptr && settings->JointProbNeeded() && !fpValidSpecs->CheckOnly()) {
    jointProbs = std::make_unique<SVSJointProbOutFile>(fpValidSpecs, fpInputAdapter.get(), fpDataSource);
  }
  if (!CanRun()) return false;

  fpComponent = std::make_unique<SVSComponent>(*settings, jointProbs.get());
  fStatus = fpComponent->GetStatus();
  if (fStatus.IsError()) return false;
  const bool isGood = fpComponent->Run(*fpRecordIter, fpSummary);
  if (!isGood) fStatus = fpComponent->GetStatus();
  Remark(
      {.isDrawn = isGood && !fpValidSpecs->CheckOnly(), .isEndedBySize = fStatus.code == kStatusInvalidSize});
  return isGood;
}

// The remarks need the first pass as a whole, so it is read to its end; by then the user has the messages.
void SVSProcedure::RemarkOnRefused() {
  if (fpInputAdapter == nullptr || fpRecordIter == nullptr) return;
  if (fpInputAdapter->Refused().All().empty()) return;
  fpInputAdapter->Silence();
  while (fpRecordIter->HasMore() && fpRecordIter->Next() != nullptr) {
  }
  Remark({});
}

bool SVSProcedure::Preview(DesignPreview* preview) {
  if (!CanRun()) return false;
  fpComponent = std::make_unique<SVSComponent>(*fpValidSpecs->CompSettings(), nullptr);
  PreviewOutput output({*fpValidSpecs, *fpInputAdapter, *fpDataSource}, preview);
  const bool isGood = fpComponent->Preview(*fpRecordIter, &output);
  if (!isGood) fStatus = fpComponent->GetStatus();
  Remark({.isEndedBySize = output.FailsBySize()});
  return isGood;
}

bool SVSProcedure::CanRun() const {
  return fStatus.IsOK() && fpInputAdapter != nullptr && fpRecordIter != nullptr &&
         fpValidSpecs->CompSettings() != nullptr;
}

// A pass that was broken off can't say how many cases of the frame are left out.
void SVSProcedure::Remark(const DrawEnd& end) const {
  const FindingNames names = {*fpValidSpecs, *fpInputAdapter, *fpDataSource};
  const bool hasReadAll =
      fpInputAdapter->PassCounter() > 0 || fpRecordIter->Status() == MCCommon::kCasesExhausted;
  if (hasReadAll) BpCases(fpInputAdapter->FirstPassRead(), fpInputAdapter->FirstPassInvalid());
  const std::string leftOut = hasReadAll ? LeftOutText(names) : "";
  if (!leftOut.empty()) BpRemark(leftOut);
  for (const std::string& text : RefusedTexts(names)) BpRemark(text);
  if (hasReadAll) {
    for (const std::string& text : UnusedRowTexts(names)) BpRemark(text);
  }
  if (fpComponent == nullptr) return;
  for (const std::string& text : FindingTexts(fpComponent->Findings(), names, end)) BpRemark(text);
}

const SVSOutputStats* SVSProcedure::GetOutputStats() {
  const SVSOutputStats* stats = nullptr;
  if (!fStatus.IsError() && fpComponent != nullptr) fpComponent->GetOutputStats(&stats);
  return stats;
}

void SVSProcedure::Report() {
  if (fStatus.IsError()) {
    ShowStatus(fStatus);
  } else if (fpComponent != nullptr) {
    for (const SVStatus& status : fpComponent->Statuses()) ShowStatus(status);
  }
}

// A stage with a table counts as one with a variable here: the settings know no tables.
void SVSProcedure::ShowStatus(const SVStatus& status) {
  if (status.IsOK()) return;
  const std::int32_t stage = fpComponent == nullptr ? 0 : fpComponent->StageOf(status);
  bool isStratified = false;
  if (stage > 0) {
    for (const DesignStage* design : fpValidSpecs->DesignStages()) {
      if (design->stageNumber() == stage)
        isStratified = design->strataCount() > 0 || design->clusterCount() > 0;
    }
  }
  const SVSCompSettings* settings = fpValidSpecs->CompSettings();
  const std::int32_t inclusionType = settings == nullptr ? 0 : settings->StageSpecType(stage);
  const StatusText found = TextOfStatus(status.code, inclusionType, isStratified);
  if (found.text == nullptr) return;

  const int level = status.IsError() ? kErrorLevel : kWarningLevel;
  if (stage > 0 && found.showsStage) {
    BpComposite composite(found.text, true);
    composite.Add(BpNumber(stage, BpProcedure::Count()));
    composite.Finish();
    BpError(composite, kShowInMessage, level);
  } else {
    BpError(BpString(found.text, true), kShowInMessage, level);
  }
}
