#include "host/output/RunOutcome.h"

#include <algorithm>

#include "host/environment/HostErrors.h"
#include "host/output/OutputDocument.h"

const char* StatusWord(RunStatus status) {
  switch (status) {
    case RunStatus::kOk:
      return "ok";
    case RunStatus::kCancelled:
      return "cancelled";
    default:
      return "error";
  }
}

std::string StatusInWords(const RunOutcome& outcome) {
  if (!outcome.inWords.empty()) return outcome.inWords;
  if (outcome.status == RunStatus::kOk) return "The run ended without an error.";
  if (outcome.status == RunStatus::kCancelled) return "The run was interrupted; no sample was written.";
  const std::vector<OutputMessage> messages = outcome.document->AllMessages();
  const bool hasError = std::any_of(messages.begin(), messages.end(), [](const OutputMessage& message) {
    return message.level >= kErrorLevel;
  });
  return hasError ? "The run ended with an error." : "The run ended without all that was asked for.";
}
