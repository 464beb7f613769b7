#pragma once

#include <memory>
#include <string>

// Locks between processes. The kernel drops a lock with the process that holds it, so none is ever stale.

// Whether another process holds a lock on a regular file (flock or fcntl) that keeps us from reading it, or
// from replacing it with `forWriting`; also when another run of ours is writing a file of that name.
// REQUIRES: this process holds no fcntl lock on the file: looking would drop it.
bool IsLockedByOthers(const std::string& path, bool forWriting);

// FileLock is the right to write a target: a lock file beside it, gone with the object.
class FileLock {
public:
  // Null when another run holds the lock or the lock file can't be made; `why` then has the reason.
  static std::unique_ptr<FileLock> Take(const std::string& target, std::string* why);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

private:
  FileLock(std::string path, int file) : fPath(std::move(path)), fFile(file) {}

  std::string fPath;
  int fFile;  // open descriptor that holds the lock
};
