#pragma once

#include <string>

// A folder under the system's temporary folder, gone with the object. Folders that a killed process left
// behind are removed by the next one that is made.
class TemporaryFolder {
public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& Path() const { return fPath; }

private:
  std::string fPath;
  int fLock = -1;  // descriptor that holds the folder's lock: it is in use
};
