#pragma once

#include <CLI/App.hpp>
#include <string>
#include <string_view>
#include <vector>

// What the program says to whom calls it wrongly: a line that names what was found and, where there is one,
// what may have been meant.

// A word of the user within a line: in quotes, printable, cut when it is long.
std::string QuotedWord(std::string_view word);

// The candidate that `word` is likely a slip of: one that it begins, or that few letters part from it; empty
// when none is near.
std::string NearestWord(const std::string& word, const std::vector<std::string>& candidates);

// What stood on the command line and is neither an option nor an argument of `app`; empty when nothing did.
std::string UnexpectedWords(const CLI::App& app);

// What is wrong with the value of an option, as the parser of the options has thrown it.
std::string ParseErrorWords(const CLI::App& app, const CLI::ParseError& error);

// The subcommand that the first word of the command line names; `app` itself when it names none.
const CLI::App& NamedSubcommand(const CLI::App& app, int argc, const char* const* argv);

// What the parser would overlook in a call of `app`: an option that is given as `--name=` with nothing
// behind, which it would take the next word for, and a `--` where no argument can follow; empty when there is
// none.
std::string OverlookedWords(const CLI::App& app, int argc, const char* const* argv);
