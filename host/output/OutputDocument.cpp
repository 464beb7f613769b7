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
  OutputMessage message = {.level = level, .text = text, .group = group};
  const std::string key = KindOf(message);
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
  fvMessages.push_back(std::move(message));
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

// The group's length keeps ("ab", "c") apart from ("a", "bc").
std::string OutputDocument::KindOf(const OutputMessage& message) {
  return std::to_string(message.level) + ':' + std::to_string(message.group.size()) + ':' + message.group +
         message.text;
}

std::vector<OutputMessage> OutputDocument::MessagesByKind() const {
  std::vector<OutputMessage> kinds;
  std::unordered_map<std::string, std::size_t> placeOfKind;
  for (OutputMessage& message : AllMessages()) {
    const auto [known, isNew] = placeOfKind.emplace(KindOf(message), kinds.size());
    if (isNew) {
      kinds.push_back(std::move(message));
    } else {
      ++kinds[known->second].repeats;
    }
  }
  return kinds;
}

void OutputDocument::DropTables(const std::string& kind) {
  std::erase_if(fvTables, [&](const std::shared_ptr<OutputTable>& table) { return table->Kind() == kind; });
}

void OutputDocument::AddTable(std::shared_ptr<OutputTable> table) {
  table->Close();
  if (!table->Cells().empty() || !table->Notes().empty()) fvTables.push_back(std::move(table));
}
