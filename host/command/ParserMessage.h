#pragma once

#include <cstdint>
#include <string>

inline std::string IntegerToString(std::int64_t value) {
  return std::to_string(value);
}

// ParserMessage issues a command parser's messages. While a group is in force (its index isn't negative), the
// group text goes with each of them, ^1 in it filled with the group index. A new one has no group.
class ParserMessage {
public:
  void SetCommandName(const std::string& name) { fCommandName = name; }
  const std::string& GetCommandName() const { return fCommandName; }
  void SetProcedureTitle(const std::string& title) { fProcedureTitle = title; }
  const std::string& GetProcedureTitle() const { return fProcedureTitle; }

  void SetGroupIndex(int index) { fGroupIndex = index; }
  int GetGroupIndex() const { return fGroupIndex; }
  void SetGroupMsgText(const std::string& text) { fGroupText = text; }
  // The word that separates the groups in a command; this host doesn't show it.
  void SetGroupSepName(const std::string&) {}

  // Issue `text` with up to five items for its ^1 to ^5, null where there are fewer.
  void GenericError(const char* text, const char* a1 = nullptr, const char* a2 = nullptr,
                    const char* a3 = nullptr, const char* a4 = nullptr, const char* a5 = nullptr) const;
  void GenericWarning(const char* text, const char* a1 = nullptr, const char* a2 = nullptr,
                      const char* a3 = nullptr, const char* a4 = nullptr, const char* a5 = nullptr) const;

  // Whether `text` holds a name: false for null and for an empty text.
  static bool IsName(const char* text);

  // The host's own error about a bad subcommand name, null or empty for text that has no subcommand.
  void InvalidSubComName(const char* name) const;

private:
  std::string GroupText() const;

  std::string fCommandName;
  std::string fProcedureTitle;
  int fGroupIndex = -1;
  std::string fGroupText;
};
