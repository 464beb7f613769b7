#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <utility>

// FileDescriptor owns one open file of the system and closes it at the end of its life. With the file goes
// every lock that was taken through it.
//
// Failures:  a file that can't be opened leaves the object without one, and errno holds the reason.
class FileDescriptor {
public:
  FileDescriptor() = default;
  // `flags` as for open(2). Every file here is closed on exec, so that a child process never keeps a lock.
  FileDescriptor(const std::string& path, int flags)
      : fFile(open(path.c_str(), flags | O_CLOEXEC, kPermissions)) {}
  ~FileDescriptor() { Close(); }
  FileDescriptor(FileDescriptor&& other) noexcept : fFile(std::exchange(other.fFile, kNone)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(fFile, other.fFile);
    return *this;
  }

  bool IsOpen() const { return fFile != kNone; }
  int Get() const { return fFile; }

  // Closes the file now. False when the system reports a write that failed only then, as over a network.
  bool Close() { return !IsOpen() || close(std::exchange(fFile, kNone)) == 0; }

private:
  static constexpr int kNone = -1;           // what open(2) answers on failure
  static constexpr int kPermissions = 0666;  // of a new file, before the user's umask

  int fFile = kNone;
};
