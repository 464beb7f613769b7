#pragma once

#include <string>

// The host's repository of shared files. This host has none, so every path is a path of the file system.
class BEDepotRepos {
public:
  // The local path for a path in the repository; `local` is left empty when the repository doesn't hold it.
  static void BEDepotGetInputPath(const std::string& path, std::string& local);

  // Forgets an entry that BEDepotGetInputPath gave. An empty path is none.
  static void BEDepotRemoveInputEntry(const std::string& local);
};
