#include "host/output/OutputDocument.h"

#include <algorithm>
#include <utility>

#include "host/environment/CommonBlocks.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputTable.h"

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
  fKeptOfKind.clear();
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
