#pragma once

#include <string>

#include "host/files/FileDescriptor.h"

// TemporaryFolder is a folder of this process under the system's temporary folder (TMPDIR).
//
// A killed process can't remove its folder. So each folder is locked by its owner for as long as it lives,
// and making a new one removes those with our name that no process has locked. Making and locking are two
// calls: a folder that another process removes in between is made anew.
//
// Ownership:  owns the folder and all that is put into it; both go with the object.
// Failures:   the constructor throws DataError.
class TemporaryFolder {
public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& Path() const { return fPath; }

private:
  std::string fPath;
  FileDescriptor fLock;  // of the folder itself; holds its lock
};
