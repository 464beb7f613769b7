#include "backend/svcommon/design/DesignStage.h"

namespace {
bool IsOutputKind(std::int32_t kind) {
  return 0 <= kind && kind < kOutputKinds;
}
}  // namespace

std::string DesignStage::outputName(std::int32_t kind) const {
  return IsOutputKind(kind) ? fOutputNames[static_cast<std::size_t>(kind)] : std::string();
}

void DesignStage::requestOutput(std::int32_t kind, const std::string& name) {
  if (!IsOutputKind(kind) || name.empty()) return;
  fRequestedOutputs.push_back(kind);
  fOutputNames[static_cast<std::size_t>(kind)] = name;
}
