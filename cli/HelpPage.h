#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

// The help of a subcommand, laid out like a manual page: NAME, SYNOPSIS, DESCRIPTION, then the subcommands or
// the options by their groups, then what follows. Names and descriptions of options come from the parser of
// the options; the rest is here.
struct HelpPage {
  std::vector<std::string> synopsis;  // one way to call it each, without the name of the program
  std::string description;            // one paragraph; folded to the width of the page
  std::string after;                  // sections after the options, already laid out
};

// Makes `--help` of `app` print that page. Options must be declared with a group and a value name, but may be
// added after this call: the page is made when it is asked for.
void SetHelpPage(CLI::App& app, const HelpPage& page);
