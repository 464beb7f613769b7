#pragma once

#include <string>
#include <vector>

#include "host/environment/MCStopProcessor.h"
#include "host/output/RunOutcome.h"
#include "session/ProcedureLibrary.h"

// Runs `work` and turns what it throws into a problem, unless a stop request was the cause.
template <class Work>
RunStatus GuardInspection(const Work& work, std::vector<std::string>* problems) {
  try {
    work();
  } catch (...) {
    if (!StopRequested()) {
      problems->push_back(CaughtException());
      return RunStatus::kError;
    }
  }
  return StopRequested() ? RunStatus::kCancelled : RunStatus::kOk;
}
