#pragma once

#include <map>
#include <memory>

#include "host/engine/ArrowTable.h"
#include "host/files/PathClaims.h"

// MemoryTables has the outputs of a session that are kept in memory instead of in files, by their roles. Which
// outputs these are is said with PathClaims::KeepInMemory() before the run.
//
// Use:        a layer of HostSession; the stores fill it, whoever runs the session takes the tables at its end.
class MemoryTables {
public:
  void Keep(FileRole role, std::shared_ptr<const ArrowTable> table) { fTables[role] = std::move(table); }

  // Null if the run has made no such table.
  std::shared_ptr<const ArrowTable> Get(FileRole role) const {
    const auto found = fTables.find(role);
    return found == fTables.end() ? nullptr : found->second;
  }

private:
  std::map<FileRole, std::shared_ptr<const ArrowTable>> fTables;
};
