#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/command/KORV_TokenSequence.h"

class CommandSpec;
class KORV_TokenSequence;
class SubComObj;

// UniversalParser turns tokens into subcommands and parameters. It is called universal because it knows no
// keyword: any command of this shape can be read, and the procedure decides afterwards what it accepts.
//
//   command     [SVSELECT] [parameters] { / [name [=]] body }
//   body        ( parameters )  |  parameters
//   parameters  { keyword }  { name = { value } }
//
// name, keyword and value are words; keyword and value may also be strings. One token of lookahead decides
// everything: a word followed by = starts a new parameter. Hence
//
//   - the value of a parameter extends to the next "word =", to a slash, or to the end. "A=1 B C=2" gives A
//     the two values 1 and B; there is no way to write a keyword after a parameter with a value.
//   - a keyword is a word or string before the first "name =". Each is a parameter of its own.
//   - parentheses enclose the whole body. They don't nest, and a value can't be in parentheses.
//   - the command's name is optional; the program that calls us has dealt with it. Followed by = it is a
//     parameter like any other. Any other leading word is kept as a parameter of a nameless subcommand, and
//     it is the procedure that objects to it.
//
// The loop has no recursion and never goes back, so a command of any length is read in linear time with a
// stack of constant depth. Reading stops at the first error.
//
// Ownership:  borrows both arguments, which must outlive it. The CommandSpec holds copies of the tokens.
// Failures:   the one error is issued as a message of the host: source, line, column, what was found.
class UniversalParser {
public:
  UniversalParser(const KORV_TokenSequence& tokens, CommandSpec& spec);

  // Fills the specification and returns 0. Nonzero after an error; the specification then has the subcommands
  // before the one with the error and must not be used. Call it once.
  int getCommandSpecifications();

private:
  bool ReadSubcommand();
  bool ReadBody(SubComObj* subcommand);
  void ReadParameters(SubComObj* subcommand);
  bool Is(CommandTokenKind kind, std::size_t ahead = 0) const;
  bool AtEndOfBody() const;
  // Both issue the error and return false.
  bool FailAtCurrent() const;
  bool Fail(const std::string& text, std::int64_t line, std::int64_t column) const;

  const KORV_TokenSequence& fTokens;
  CommandSpec& fSpec;
  std::size_t fAt = 0;  // index of the next token
};
