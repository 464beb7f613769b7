#include "host/command/ParserMessage.h"

#include <array>

#include "host/environment/HostErrors.h"
#include "host/output/BpComposite.h"
#include "host/output/BpText.h"
#include "host/output/OutputDocument.h"

namespace {

using Items = std::array<const char*, 5>;

// `text` with its items. Trailing nulls aren't items; any other null is an empty one, so that the items after
// it keep their numbers.
std::string Filled(const char* text, const Items& items) {
  std::size_t count = items.size();
  while (count > 0 && items[count - 1] == nullptr) --count;
  BpComposite message(text, true);
  for (std::size_t i = 0; i < count; ++i) message.Add(BpString(items[i] == nullptr ? "" : items[i], false));
  message.Finish();
  return message.Text();
}

}  // namespace

void ParserMessage::GenericError(const char* text, const char* a1, const char* a2, const char* a3,
                                 const char* a4, const char* a5) const {
  OutputDocument::Current().AddMessage(kErrorLevel, Filled(text, {a1, a2, a3, a4, a5}), GroupText());
}

void ParserMessage::GenericWarning(const char* text, const char* a1, const char* a2, const char* a3,
                                   const char* a4, const char* a5) const {
  OutputDocument::Current().AddMessage(kWarningLevel, Filled(text, {a1, a2, a3, a4, a5}), GroupText());
}

bool ParserMessage::IsName(const char* text) {
  return text != nullptr && *text != '\0';
}

void ParserMessage::InvalidSubComName(const char* name) const {
  if (IsName(name)) {
    GenericError("^1 is not a valid subcommand name.", name);
  } else {
    GenericError("The command has text before its first subcommand, or a slash without a name.");
  }
}

std::string ParserMessage::GroupText() const {
  if (fGroupIndex < 0) return {};
  return Filled(fGroupText.c_str(), {IntegerToString(fGroupIndex).c_str()});
}
