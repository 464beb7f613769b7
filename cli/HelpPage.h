#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

// How a subcommand is called, beyond what its options say of themselves.
struct HelpPage {
  std::vector<std::string> synopsis;  // each a line after the program's name
  std::string description;            // a paragraph
  std::string after;                  // sections that follow the options, laid out as they shall stand
};

// Makes `--help` of `app` read like a manual page: name, synopsis, description, the subcommands or the
// options by their groups, and what follows them.
void SetHelpPage(CLI::App& app, const HelpPage& page);
