#pragma once

#include <string>

// Where the host finds its own files: the library beside which the procedure is installed, and the data files
// that come with the product, such as the grammar of plans. Nothing is configured at build time, so an
// installation can be moved as a whole.

// Finds folders relative to the loaded library. Every result ends in a separator.
class PathFinder {
public:
  virtual ~PathFinder();

  // The folder of the host's shared library, or of the executable when the host is linked into it statically;
  // "/" when the system can't say. Symbolic links are resolved.
  virtual std::string LibraryFolder();

  // The folder of the data files: $SVSELECT_DATADIR when it is set and not empty, else share/svselect in the
  // nearest folder up to three levels above the library that has one. That covers an installation
  // (<prefix>/lib/<architecture>) as well as the build tree, whatever the working folder. The result may name
  // a folder that doesn't exist: opening a file in it then gives the error.
  virtual std::string DataFolder();
};

class PathFactory {
public:
  static constexpr int kApplicationData = 3;

  // The finder of a kind of path, valid for the life of the process. Null for every kind except
  // kApplicationData.
  static PathFinder* getPathInstance(int kind);
};

// The repository of shared files that some hosts have. This host has none: no path is ever found in it, and
// the caller falls back to treating its path as a path of the file system.
class BEDepotRepos {
public:
  // Sets `local` to the local copy of a repository file, or to the empty string when there is no such file:
  // in this host always.
  static void BEDepotGetInputPath(const std::string& path, std::string& local);

  // Releases a local copy. An empty path is ignored.
  static void BEDepotRemoveInputEntry(const std::string& local);
};
