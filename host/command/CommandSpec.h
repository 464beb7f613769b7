#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "host/command/SubComObj.h"

// CommandSpec is a command cut into its subcommands, in the order of the command.
class CommandSpec {
public:
  std::size_t getSubComListSize() const { return fvSubcommands.size(); }
  // Null past the end.
  const SubComObj* getSubComObj(std::size_t i) const {
    return i < fvSubcommands.size() ? &fvSubcommands[i] : nullptr;
  }

  void Add(SubComObj subcommand) { fvSubcommands.push_back(std::move(subcommand)); }

private:
  std::vector<SubComObj> fvSubcommands;
};
