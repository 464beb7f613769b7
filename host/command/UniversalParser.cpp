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

// The name of a parameter or subcommand. A string keeps its quotes, so that it never equals a keyword.
std::string NameOf(const CommandToken& token) {
  if (token.kind == CommandTokenKind::String) return '\'' + token.text + '\'';
  return GetUpperString(token.text);
}

// A token as a message shows it: quoted, and cut at a character boundary if it is long.
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

// Reads a slash and all up to the next one.
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

// Reads a body. Whatever stops ReadParameters() before the body's end is the error: a sign that nothing
// allows there. An unclosed parenthesis is reported where it was opened, since its end is anybody's guess.
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

// Stops at the first token that can't be part of a parameter: a sign, or the end.
void UniversalParser::ReadParameters(SubComObj* subcommand) {
  // The parameter that values are added to. The pointer is replaced at each "name =", before AddParameter()
  // can have moved the object, and bare keywords are no longer added once it is set.
  ParamObj* open = nullptr;
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
