#include "host/output/RunOutcome.h"

#include <algorithm>

#include "host/environment/HostErrors.h"
#include "host/output/OutputDocument.h"

std::string StatusInWords(const RunOutcome& outcome, const OutputDocument& document) {
  if (outcome.status == "ok") return "The run ended without an error.";
  if (outcome.status == "cancelled") return "The run was interrupted; no sample was written.";
  const std::vector<OutputMessage> messages = document.AllMessages();
  const bool hasError = std::any_of(messages.begin(), messages.end(), [](const OutputMessage& message) {
    return message.level >= kErrorLevel;
  });
  return hasError ? "The run ended with an error." : "The run ended without all that was asked for.";
}
