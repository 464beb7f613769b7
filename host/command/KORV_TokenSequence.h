#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

enum class CommandTokenKind : std::uint8_t { Word, String, Slash, Equals, LeftParenthesis, RightParenthesis };

struct CommandToken {
  CommandTokenKind kind = CommandTokenKind::Word;
  std::string text;         // as written; of a string what stands between the quotes, doubled ones single
  std::int64_t line = 1;    // where it begins
  std::int64_t column = 1;  // in characters
};

// The session's current command, a layer of the session.
class SessionCommand {
public:
  // `source` is the word for the command in the host's own errors, such as the name of the command file.
  void SetCommand(std::string text, std::string source = "Command") {
    fText = std::move(text);
    fSource = std::move(source);
  }

  const std::string& Text() const { return fText; }
  const std::string& Source() const { return fSource; }

private:
  std::string fText;
  std::string fSource = "Command";
};

// Something in a command that can't be read, and where; lines and columns from 1, columns in characters.
struct CommandFault {
  std::string text;  // empty when there is none
  std::int64_t line = 0;
  std::int64_t column = 0;
};

// KORV_TokenSequence is the token stream of the session's current command. Blanks, line ends and commas
// separate words; a word runs to the next of them, = / ( ) or a quote; a string stands in single or double
// quotes, doubled inside. The command's last character is left out if it is a full stop.
//
// Cost:       time and memory in proportion to the command's length.
class KORV_TokenSequence {
public:
  // Takes the command as it stands now. The flag is always true.
  explicit KORV_TokenSequence(bool);

  // The tokens before the first fault, or all.
  const std::vector<CommandToken>& Tokens() const { return fvTokens; }
  // A control character, or a quote that isn't closed.
  const CommandFault& Fault() const { return fFault; }
  const std::string& Source() const { return fSource; }

private:
  std::string fSource;
  std::vector<CommandToken> fvTokens;
  CommandFault fFault;
};
