#include "host/command/UniversalParser.h"

#include <fmt/format.h>

#include <utility>

#include "host/command/CommandSpec.h"
#include "host/command/KORV_TokenSequence.h"
#include "host/environment/HostErrors.h"
#include "host/text/VariableNames.h"

namespace {

constexpr const char* kCommandName = "SVSELECT";
constexpr std::size_t kLongestShown = 40;  // bytes of a token in a message

// A string where a keyword is due keeps its quotes, so that it is never taken for one.
std::string NameOf(const CommandToken& token) {
  if (token.kind == CommandTokenKind::String) return '\'' + token.text + '\'';
  return GetUpperString(token.text);
}

std::string Shown(const CommandToken& token) {
  std::string text = token.text;
  if (text.size() > kLongestShown) {
    std::size_t end = kLongestShown;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    text = text.substr(0, end) + "...";
  }
  return token.kind == CommandTokenKind::String ? '\'' + text + '\'' : '"' + text + '"';
}

}  // namespace

UniversalParser::UniversalParser(const KORV_TokenSequence& tokens, CommandSpec& spec)
    : fTokens(tokens), fSpec(spec) {}

int UniversalParser::getCommandSpecifications() {
  constexpr int kUnreadable = 1;
  const CommandFault& fault = fTokens.Fault();
  if (!fault.text.empty()) {
    Fail(fault.text, fault.line, fault.column);
    return kUnreadable;
  }
  const std::vector<CommandToken>& tokens = fTokens.Tokens();
  if (Is(CommandTokenKind::Word) && !Is(CommandTokenKind::Equals, 1) &&
      GetUpperString(tokens.front().text) == kCommandName) {
    ++fAt;
  }
  if (fAt < tokens.size() && !Is(CommandTokenKind::Slash)) {
    SubComObj leading{std::string()};
    if (!ReadBody(&leading)) return kUnreadable;
    fSpec.Add(std::move(leading));
  }
  while (fAt < tokens.size()) {
    if (!ReadSubcommand()) return kUnreadable;
  }
  return 0;
}

// From a slash to before the next.
bool UniversalParser::ReadSubcommand() {
  ++fAt;
  std::string name;
  if (Is(CommandTokenKind::Word)) name = NameOf(fTokens.Tokens()[fAt++]);
  const bool isNamed = !name.empty();
  SubComObj subcommand(std::move(name));
  if (isNamed && Is(CommandTokenKind::Equals)) {
    subcommand.SetEqualUsed();
    ++fAt;
  }
  if (!ReadBody(&subcommand)) return false;
  fSpec.Add(std::move(subcommand));
  return true;
}

// Up to a slash or the end.
bool UniversalParser::ReadBody(SubComObj* subcommand) {
  const bool isOpen = Is(CommandTokenKind::LeftParenthesis);
  const std::size_t opening = fAt;
  if (isOpen) ++fAt;
  ReadParameters(subcommand);
  if (isOpen) {
    if (AtEndOfBody()) {
      const CommandToken& token = fTokens.Tokens()[opening];
      return Fail("a parenthesis that isn't closed", token.line, token.column);
    }
    if (!Is(CommandTokenKind::RightParenthesis)) return FailAtCurrent();
    subcommand->SetParenUsed();
    ++fAt;
  }
  return AtEndOfBody() || FailAtCurrent();
}

// Up to the first token that belongs to no parameter.
void UniversalParser::ReadParameters(SubComObj* subcommand) {
  ParamObj* open = nullptr;  // the parameter after whose = we are
  while (Is(CommandTokenKind::Word) || Is(CommandTokenKind::String)) {
    const CommandToken& token = fTokens.Tokens()[fAt++];
    if (token.kind == CommandTokenKind::Word && Is(CommandTokenKind::Equals)) {
      ++fAt;
      open = &subcommand->AddParameter(ParamObj(NameOf(token)));
      open->SetHasValue();
    } else if (open != nullptr) {
      open->AddValue(token);
    } else {
      subcommand->AddParameter(ParamObj(NameOf(token)));
    }
  }
}

bool UniversalParser::Is(CommandTokenKind kind, std::size_t ahead) const {
  const std::vector<CommandToken>& tokens = fTokens.Tokens();
  return fAt + ahead < tokens.size() && tokens[fAt + ahead].kind == kind;
}

bool UniversalParser::AtEndOfBody() const {
  return fAt == fTokens.Tokens().size() || Is(CommandTokenKind::Slash);
}

bool UniversalParser::FailAtCurrent() const {
  const CommandToken& token = fTokens.Tokens()[fAt];
  return Fail(fmt::format("{} can't stand here", Shown(token)), token.line, token.column);
}

bool UniversalParser::Fail(const std::string& text, std::int64_t line, std::int64_t column) const {
  IssueHostMessage(fmt::format("{}, line {}, column {}: {}", fTokens.Source(), line, column, text),
                   kErrorLevel);
  return false;
}
