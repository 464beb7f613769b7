#pragma once

#include <string>

// Where the host's own files are. Each folder ends in a separator.
class PathFinder {
public:
  virtual ~PathFinder();

  // The folder of the host's library, or of the program that the host is linked into.
  virtual std::string LibraryFolder();

  // The folder of the files that the product brings along: the environment variable SVSELECT_DATADIR, else
  // share/svselect beside the library's folder or a little above it. That finds it in an installation and
  // in the build tree alike, from any working folder.
  virtual std::string DataFolder();
};

class PathFactory {
public:
  static constexpr int kApplicationData = 3;

  // The finder of a kind; the host has one, for its application data, and null for every other kind. It lives
  // as long as the process.
  static PathFinder* getPathInstance(int kind);
};

// The host's repository of shared files. This host has none, so every path is a path of the file system.
class BEDepotRepos {
public:
  // The local path for a path in the repository; `local` is left empty when the repository doesn't hold it.
  static void BEDepotGetInputPath(const std::string& path, std::string& local);

  // Forgets an entry that BEDepotGetInputPath gave. An empty path is none.
  static void BEDepotRemoveInputEntry(const std::string& local);
};
