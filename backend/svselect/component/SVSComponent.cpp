#include "backend/svselect/component/SVSComponent.h"

#include "backend/svcommon/design/MethodTable.h"

SVSComponent::SVSComponent(const SVSCompSettings& settings, MCSV::SVSOutJointProbs* jointProbs)
    : SVSCompSettings(settings), fpJointProbs(jointProbs), fStatus(Validate()) {
  if (!fStatus.IsError() && JointProbNeeded() && fpJointProbs == nullptr && !CheckOnly() &&
      MethodOf(DesignStages().front().methodType()).writesJointUnasked) {
    fStatus = ErrorStatus(kStatusNoJointOutput);
  }
  if (!fStatus.IsError()) fpAlgorithm = std::make_unique<SVSAlgorithm>(this, fpJointProbs);
}

SVSComponent::~SVSComponent() = default;

bool SVSComponent::Run(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutputSummary* summary) {
  if (fStatus.IsError() || fpAlgorithm->DataProcessed()) return false;
  fStatus = fpAlgorithm->Run(recordIterator, summary);
  return !fStatus.IsError();
}

bool SVSComponent::Preview(MCCommon::MultiPassRecordIter& recordIterator, MCSV::SVSOutPreview* output) {
  if (fStatus.IsError()) return false;
  fStatus = fpAlgorithm->Preview(recordIterator, output);
  return !fStatus.IsError();
}

bool SVSComponent::GetOutputStats(const SVSOutputStats** out) {
  if (fStatus.IsError() || !fpAlgorithm->ModelBuilt()) return false;
  fpOutputStats = &fpAlgorithm->OutSamples();
  *out = fpOutputStats;
  return true;
}

const std::vector<SVStatus>& SVSComponent::Statuses() const {
  static const std::vector<SVStatus> kNone;
  return fpOutputStats == nullptr ? kNone : fpOutputStats->Statuses();
}

const SVSFindings& SVSComponent::Findings() const {
  static const SVSFindings kNone;
  return fpAlgorithm == nullptr ? kNone : fpAlgorithm->OutSamples().Findings();
}

std::int32_t SVSComponent::StageOf(const SVStatus& status) const {
  return fpAlgorithm == nullptr ? 0 : status.StageSlot();
}

bool SVSComponent::MaySelect(const MCCommon::Record& record) {
  return !fStatus.IsError() && fpAlgorithm->ModelBuilt() && fpAlgorithm->MaySelect(record);
}

bool SVSComponent::StartWalk() {
  if (fStatus.IsError() || !fpAlgorithm->ModelBuilt()) return false;
  fpAlgorithm->StartWalk();
  return true;
}

SVStatus SVSComponent::CaseStats(const MCCommon::Record& record,
                                 std::vector<std::vector<double>>* stageValues, double* finalWeight) {
  if (fStatus.IsError() || !fpAlgorithm->ModelBuilt()) return fStatus;
  return fpAlgorithm->CaseStats(record, stageValues, finalWeight);
}
