#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/command/KORV_TokenSequence.h"

class CommandSpec;
class KORV_TokenSequence;
class SubComObj;

// UniversalParser cuts a command into subcommands and these into parameters, by the host's grammar and
// without any table of keywords:
//
//   command     [SVSELECT] [parameters] { / [name [=]] body }
//   body        ( parameters )  or  parameters
//   parameters  { keyword } { name = { value } }
//
// A word followed by = opens a parameter; a word or string before the first of these is a parameter of its
// own.
//
// Ownership:  borrows both; the CommandSpec may outlive it.
class UniversalParser {
public:
  UniversalParser(const KORV_TokenSequence& tokens, CommandSpec& spec);

  // Fills the specification. 0 on success; otherwise the one error has been issued, with its line and column.
  int getCommandSpecifications();

private:
  bool ReadSubcommand();
  bool ReadBody(SubComObj* subcommand);
  void ReadParameters(SubComObj* subcommand);
  bool Is(CommandTokenKind kind, std::size_t ahead = 0) const;
  bool AtEndOfBody() const;
  // Issue the error and answer false.
  bool FailAtCurrent() const;
  bool Fail(const std::string& text, std::int64_t line, std::int64_t column) const;

  const KORV_TokenSequence& fTokens;
  CommandSpec& fSpec;
  std::size_t fAt = 0;  // the next token
};
