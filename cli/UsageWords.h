#pragma once

#include <CLI/App.hpp>
#include <string>
#include <string_view>
#include <vector>

// Usage errors: what the user typed that can't be, in one line, and what may have been meant instead. The
// parser of the options has messages of its own, but they don't quote, don't suggest, and name things that a
// user of this program doesn't know.
//
// A call is checked in three stages: OverlookedWords() before parsing, since the parser would accept those
// words in a sense that wasn't meant; ParseErrorWords() when it throws; UnexpectedWords() after it, for words
// that belong to nothing. Each returns one line, or an empty text if all is well.

// The first word on the command line that is neither an option nor an argument of `app` or its subcommand.
// REQUIRES: `app` has parsed the command line and allows extras.
std::string UnexpectedWords(const CLI::App& app);

// Describes a wrong value or number of values of an option, from the exception that the parser threw.
std::string ParseErrorWords(const CLI::App& app, const CLI::ParseError& error);

// The subcommand that the first word of the command line names; `app` itself if it names none. Needed before
// the command line is parsed.
const CLI::App& NamedSubcommand(const CLI::App& app, int argc, const char* const* argv);

// Words that the parser would accept without the user meaning it: `--name=`, for which it would take the next
// word as the value, and `--` in a subcommand that has no arguments to follow it.
std::string OverlookedWords(const CLI::App& app, int argc, const char* const* argv);
