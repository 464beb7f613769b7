#include "backend/svselect/design/SVCancelInfo.h"

#include "host/environment/MCStopProcessor.h"

SVCancelInfo::~SVCancelInfo() = default;

bool SVCancelInfo::IsCancelled() {
  if (!fbCancelled && fpStopProcessor != nullptr) fbCancelled = fpStopProcessor->Stopped();
  return fbCancelled;
}

bool SVCancelInfo::Tick() {
  if (fbCancelled) return true;
  return fpStopProcessor != nullptr && fpStopProcessor->Tick();
}
