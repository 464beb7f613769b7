#include "host/command/KORV_TokenSequence.h"

#include <utility>

#include "host/environment/HostSession.h"

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool IsLineEnd(char c) {
  return c == '\n' || c == '\r';
}
bool IsSeparator(char c) {
  return c == ' ' || c == '\t' || c == ',' || IsLineEnd(c);
}
bool IsQuote(char c) {
  return c == '\'' || c == '"';
}
// A null would cut off a value that is passed on as a C string, and the others would garble messages.
bool IsControl(char c) {
  return (static_cast<unsigned char>(c) < 0x20 && c != '\t' && !IsLineEnd(c)) || c == 0x7F;
}
bool EndsWord(char c) {
  return IsSeparator(c) || IsQuote(c) || IsControl(c) || c == '=' || c == '/' || c == '(' || c == ')';
}

// The text between the byte order mark and the closing full stop. Leading separators are kept, because
// columns in messages count them.
std::string_view Body(std::string_view text) {
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) text.remove_prefix(kByteOrderMark.size());
  while (!text.empty() && (IsLineEnd(text.back()) || text.back() == ' ' || text.back() == '\t')) {
    text.remove_suffix(1);
  }
  if (!text.empty() && text.back() == '.') text.remove_suffix(1);
  return text;
}

// Single use: construct, call Next() until it returns false.
class Tokenizer {
public:
  explicit Tokenizer(std::string_view text) : fText(text) {}

  // Reads the next token. False at the end, and at a fault, which is then in *fault.
  bool Next(CommandToken* token, CommandFault* fault) {
    while (fAt < fText.size() && IsSeparator(fText[fAt])) Advance();
    if (fAt == fText.size()) return false;
    *token = {.kind = CommandTokenKind::Word, .text = {}, .line = fLine, .column = fColumn};
    const char c = fText[fAt];
    if (IsControl(c)) {
      *fault = {"a control character", fLine, fColumn};
      return false;
    }
    if (IsQuote(c)) return ReadString(token, fault);
    if (EndsWord(c)) {
      token->kind = SignOf(c);
      token->text = c;
      Advance();
      return true;
    }
    while (fAt < fText.size() && !EndsWord(fText[fAt])) {
      token->text += fText[fAt];
      Advance();
    }
    return true;
  }

private:
  static CommandTokenKind SignOf(char c) {
    if (c == '=') return CommandTokenKind::Equals;
    if (c == '/') return CommandTokenKind::Slash;
    return c == '(' ? CommandTokenKind::LeftParenthesis : CommandTokenKind::RightParenthesis;
  }

  bool ReadString(CommandToken* token, CommandFault* fault) {
    const char quote = fText[fAt];
    token->kind = CommandTokenKind::String;
    Advance();
    for (; fAt < fText.size(); Advance()) {
      const char c = fText[fAt];
      if (IsControl(c)) {
        *fault = {"a control character", fLine, fColumn};
        return false;
      }
      if (c == quote) {  // the closing one, or the first of two, which are one quote in the text
        Advance();
        if (fAt == fText.size() || fText[fAt] != quote) return true;
      }
      token->text += c;
    }
    *fault = {"a quote that isn't closed", token->line, token->column};
    return false;
  }

  // Advances by one byte. The column counts a character at its last byte: when the byte that follows isn't a
  // UTF-8 continuation byte (10xxxxxx). In CR LF the CR still belongs to the old line.
  void Advance() {
    const char c = fText[fAt++];
    if (c == '\n' || (c == '\r' && (fAt == fText.size() || fText[fAt] != '\n'))) {
      ++fLine;
      fColumn = 1;
    } else if (fAt == fText.size() || (static_cast<unsigned char>(fText[fAt]) & 0xC0) != 0x80) {
      ++fColumn;
    }
  }

  std::string_view fText;
  std::size_t fAt = 0;
  std::int64_t fLine = 1;
  std::int64_t fColumn = 1;
};

}  // namespace

KORV_TokenSequence::KORV_TokenSequence(bool) {
  const SessionCommand& command = HostSession::Current().Layer<SessionCommand>();
  fSource = command.Source();
  Tokenizer tokenizer(Body(command.Text()));
  for (CommandToken token; tokenizer.Next(&token, &fFault);) fvTokens.push_back(std::move(token));
}
