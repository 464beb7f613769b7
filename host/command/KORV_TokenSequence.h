#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// From the text of a command to its tokens. The next step, from tokens to subcommands and parameters, is
// UniversalParser.h; what the parameters mean is the procedure's business.
//
//   text         [byte order mark] { separator | token } [.] { blank, tab or line end }
//   separator    blank, tab, comma or line end (LF, CR, or CR LF)
//   token        = | / | ( | ) | word | string
//   word         one or more characters, up to a separator, a sign or a quote
//   string       '...' or "...", with the enclosing quote doubled inside
//
// A few consequences:
//
//   - Separators have no meaning beyond separating. A command may be one line or a hundred, and "A,,B" is "A
//     B". A line ends nothing, so a string may run over several lines.
//   - A string needs no separator around it: a'b' is a word and a string.
//   - Only the very last full stop of the text is dropped, and only when it is the last character apart from
//     blanks. "1.5." is therefore the number 1.5, and a file name can end in a full stop within quotes.
//   - There are no comments, no escapes and no line continuation.
//   - Keywords and numbers don't exist at this level: ALL, 5 and -.5e3 are words. A string is the only token
//     that can never be taken for a keyword, which is how 'ALL' can be a value.
//   - Bytes from 0x80 on are parts of words, valid UTF-8 or not.
//   - Two things can't be read: a control character other than a tab or a line end (it would be invisible in
//     any message about it), and a string without its closing quote. Tokens before the fault are kept.
//
// Lines and columns count from 1; columns are characters, not bytes, so that they agree with an editor.

enum class CommandTokenKind : std::uint8_t { Word, String, Slash, Equals, LeftParenthesis, RightParenthesis };

struct CommandToken {
  CommandTokenKind kind = CommandTokenKind::Word;
  std::string text;       // as written; of a string the contents, with doubled quotes made single
  std::int64_t line = 1;  // where the token starts
  std::int64_t column = 1;
};

// Why a command can't be read, and where.
struct CommandFault {
  std::string text;  // empty: no fault
  std::int64_t line = 0;
  std::int64_t column = 0;
};

// The session layer with the current command. The program sets it before it calls the procedure.
class SessionCommand {
public:
  // `source` starts the host's own error messages about the command: the name of its file, or "Command".
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

// KORV_TokenSequence is the tokens of a command.
//
// Ownership:  owns copies of all texts; the command may change afterwards.
// Failures:   none are issued. The caller, UniversalParser, checks Fault().
// Cost:       time and memory linear in the length of the command.
class KORV_TokenSequence {
public:
  // Reads the session's command. It takes no command as an argument because the procedure constructs it; the
  // flag is always true and unused.
  explicit KORV_TokenSequence(bool);

  // All tokens, or those before the fault.
  const std::vector<CommandToken>& Tokens() const { return fvTokens; }
  const CommandFault& Fault() const { return fFault; }
  const std::string& Source() const { return fSource; }

private:
  std::string fSource;
  std::vector<CommandToken> fvTokens;
  CommandFault fFault;
};
