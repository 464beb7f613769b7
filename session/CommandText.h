#pragma once

#include <string>
#include <vector>

// The parts of an SVSELECT command. An empty text or list, or false, leaves a part out of the command.
struct CommandParts {
  std::string plan;                 // file; always written
  std::vector<std::string> stages;  // "1", "2", "3"
  std::string seed;                 // a whole number or "random"
  bool includeUserMissing = false;
  bool rename = false;
  bool presorted = false;  // the draw is the same with and without it
  std::string sample;      // file
  std::vector<std::string> keep;
  std::vector<std::string> drop;
  std::string joint;               // file
  std::string rule;                // file
  std::vector<std::string> print;  // "selection", "cps"
};

// The command that these parts make: one line for each subcommand, ended by a full stop. File names are
// quoted, and so are names of variables that can't be words of a command; other texts are written as they are.
// REQUIRES: no name has a control character; no text but these and file names holds a blank or one of
//           , = / ( ) ' ".
std::string CommandText(const CommandParts& parts);
