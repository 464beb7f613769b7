#include "host/output/OutputDocument.h"

#include <algorithm>
#include <utility>

#include "host/environment/CommonBlocks.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputTable.h"

// Layers are default-constructed, so this is one of the few places that must ask for the current session.
// Creating ErrorSink here also makes it the older layer, which is therefore still there when the destructor
// runs.
OutputDocument::OutputDocument() {
  HostSession::Current().Layer<ErrorSink>().issue = [this](const std::string& text, int level) {
    AddMessage(level, text, std::string());
  };
}

OutputDocument::~OutputDocument() {
  HostSession::Current().Layer<ErrorSink>().issue = nullptr;
}

OutputDocument& OutputDocument::Current() {
  return HostSession::Current().Layer<OutputDocument>();
}

void OutputDocument::AddMessage(int level, const std::string& text, const std::string& group) {
  if (level >= kErrorLevel) pvGetCmnGlb()->errorFlag = 1;
  // The group's length keeps ("ab", "c") apart from ("a", "bc").
  const std::string key = std::to_string(level) + ':' + std::to_string(group.size()) + ':' + group + text;
  const auto known = fKeptOfKind.find(key);
  if (known != fKeptOfKind.end() && known->second.count == kMaxOfOneKind) {
    ++fvMessages[known->second.first].repeats;
    return;
  }
  if (fvMessages.size() == kMaxMessages) {
    ++fFurther;
    fFurtherLevel = std::max(fFurtherLevel, level);
    return;
  }
  Kept& kept = fKeptOfKind.emplace(key, Kept{.first = fvMessages.size()}).first->second;
  ++kept.count;
  fvMessages.push_back({.level = level, .text = text, .group = group});
}

void OutputDocument::DropErrors() {
  std::erase_if(fvMessages, [](const OutputMessage& message) { return message.level >= kErrorLevel; });
  fFurtherLevel = std::min(fFurtherLevel, kWarningLevel);
  fKeptOfKind.clear();  // its indices are wrong now
}

std::vector<OutputMessage> OutputDocument::AllMessages() const {
  std::vector<OutputMessage> messages = fvMessages;
  if (fFurther > 0) messages.push_back({.level = fFurtherLevel, .text = FurtherText(), .group = {}});
  return messages;
}

void OutputDocument::AddTable(std::shared_ptr<OutputTable> table) {
  table->Close();
  if (!table->Cells().empty() || !table->Notes().empty()) fvTables.push_back(std::move(table));
}
