#pragma once

#include <cstdint>
#include <string>

inline std::string IntegerToString(std::int64_t value) {
  return std::to_string(value);
}

// ParserMessage issues the messages of a command parser: a text with items, and the group that it is about.
//
// Groups. A plan has several stages, and the same mistake can be made in each. While the parser reads one, it
// sets a group (index and text), and every message carries the group's text with ^1 replaced by the index,
// such as "Plan stage 2...". A negative index, the initial state, means no group.
//
// Messages go to the document of the current session: a procedure's parser constructs this class without one.
class ParserMessage {
public:
  // Names that the parser sets. They are kept for it to read back; no message of the host contains them.
  void SetCommandName(const std::string& name) { fCommandName = name; }
  const std::string& GetCommandName() const { return fCommandName; }
  void SetProcedureTitle(const std::string& title) { fProcedureTitle = title; }
  const std::string& GetProcedureTitle() const { return fProcedureTitle; }

  void SetGroupIndex(int index) { fGroupIndex = index; }
  int GetGroupIndex() const { return fGroupIndex; }
  void SetGroupMsgText(const std::string& text) { fGroupText = text; }
  // The keyword that separates groups in a command. Not used by this host, and not kept.
  void SetGroupSepName(const std::string&) {}

  // Issue `text`, with its ^1 to ^5 replaced by the items. Null means no such item: the placeholders after
  // the last item stay in the text, and a null between two items is an empty item.
  void GenericError(const char* text, const char* a1 = nullptr, const char* a2 = nullptr,
                    const char* a3 = nullptr, const char* a4 = nullptr, const char* a5 = nullptr) const;
  void GenericWarning(const char* text, const char* a1 = nullptr, const char* a2 = nullptr,
                      const char* a3 = nullptr, const char* a4 = nullptr, const char* a5 = nullptr) const;

  // False for null and for an empty text.
  static bool IsName(const char* text);

  // The host's error about a subcommand that the procedure doesn't have. Null or empty means text outside any
  // named subcommand, which gets a message of its own.
  void InvalidSubComName(const char* name) const;

private:
  std::string GroupText() const;

  std::string fCommandName;
  std::string fProcedureTitle;
  int fGroupIndex = -1;
  std::string fGroupText;
};
