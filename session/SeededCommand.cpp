#include "session/SeededCommand.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "host/command/KORV_TokenSequence.h"
#include "host/environment/HostSession.h"
#include "host/files/CheckFileRef.h"
#include "host/text/VariableNames.h"

namespace {

using Tokens = std::vector<CommandToken>;

bool IsSign(const CommandToken& token, CommandTokenKind kind) {
  return token.kind == kind;
}

bool IsKeyword(const CommandToken& token, const char* word) {
  return token.kind == CommandTokenKind::Word && GetUpperString(token.text) == word;
}

// The token behind a subcommand's name, an equals sign and a parenthesis; the end if there is no such
// subcommand.
Tokens::iterator BodyOf(Tokens& tokens, const char* subcommand) {
  for (auto at = tokens.begin(); at != tokens.end(); ++at) {
    if (!IsSign(*at, CommandTokenKind::Slash) || at + 1 == tokens.end()) continue;
    if (!IsKeyword(*(at + 1), subcommand)) continue;
    at += 2;
    if (at != tokens.end() && IsSign(*at, CommandTokenKind::Equals)) ++at;
    if (at != tokens.end() && IsSign(*at, CommandTokenKind::LeftParenthesis)) ++at;
    return at;
  }
  return tokens.end();
}

// The value of a parameter in the body of a subcommand; the end of the tokens if it has none.
Tokens::iterator ValueIn(Tokens& tokens, Tokens::iterator body, const char* parameter) {
  const auto end = std::find_if(
      body, tokens.end(), [](const CommandToken& token) { return IsSign(token, CommandTokenKind::Slash); });
  for (; end - body > 2; ++body) {
    const bool isFound = IsKeyword(*body, parameter) && IsSign(*(body + 1), CommandTokenKind::Equals);
    if (isFound) return body + 2;
  }
  return tokens.end();
}

CommandToken Token(CommandTokenKind kind, const std::string& text) {
  return {.kind = kind, .text = text};
}

// A token as a command has it; strings get their quotes back.
std::string Written(const CommandToken& token) {
  if (token.kind != CommandTokenKind::String) return token.text;
  std::string text = "'";
  for (const char c : token.text) text += c == '\'' ? "''" : std::string(1, c);
  return text + "'";
}

// Each subcommand on a line of its own, as CommandText() writes it.
std::string Written(const Tokens& tokens) {
  std::string text;
  bool isTight = true;  // the next token follows without a blank
  for (const CommandToken& token : tokens) {
    const bool isSlash = IsSign(token, CommandTokenKind::Slash);
    const bool isEquals = IsSign(token, CommandTokenKind::Equals);
    if (isSlash) {
      text += text.empty() ? "" : "\n  ";
    } else if (!isTight && !isEquals) {
      text += ' ';
    }
    text += Written(token);
    isTight = isSlash || isEquals;
  }
  return text + ".";
}

}  // namespace

SeededCommand CommandWithSeed(const std::string& seed) {
  Tokens tokens = KORV_TokenSequence(true).Tokens();
  auto criteria = BodyOf(tokens, "CRITERIA");
  if (criteria == tokens.end()) {
    for (const char* word : {"/", "CRITERIA"})
      tokens.push_back(Token(*word == '/' ? CommandTokenKind::Slash : CommandTokenKind::Word, word));
    criteria = tokens.end();
  }
  const auto value = ValueIn(tokens, criteria, "SEED");
  if (value != tokens.end() && GetUpperString(value->text) != "RANDOM") {
    return {HostSession::Current().Layer<SessionCommand>().Text(), false};
  }
  if (value != tokens.end()) {
    value->text = seed;
  } else {
    tokens.insert(criteria, {Token(CommandTokenKind::Word, "SEED"), Token(CommandTokenKind::Equals, "="),
                             Token(CommandTokenKind::Word, seed)});
  }
  return {Written(tokens), true};
}

std::string CommandedSample() {
  Tokens tokens = KORV_TokenSequence(true).Tokens();
  const auto name = ValueIn(tokens, BodyOf(tokens, "SAMPLEFILE"), "OUTFILE");
  return name == tokens.end() ? ""
                              : CheckFileRef(name->text, name->kind == CommandTokenKind::Word, false).Name();
}
