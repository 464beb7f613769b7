#pragma once

#include <cstdint>
#include <string>

#include "host/files/FileDescriptor.h"

// What is compared of a file. A file that isn't there has a state of its own.
struct FileState {
  // Errors: DataError without the name of the file if it can't be looked at.
  static FileState Of(const std::string& path);

  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::int64_t bytes = 0;
  std::int64_t written[2] = {};  // seconds and nanoseconds of the mtime
  std::int64_t changed[2] = {};  // of the ctime

  bool operator==(const FileState&) const = default;
};

// FileWatch notices when a file that is read several times isn't the same any more: replaced by another file,
// grown, cut, or written to in place, even if its old time was set back afterwards.
//
// The time of the last change of the inode (ctime) is part of what is compared, and no program can set that
// one. It also changes with the rights and links of a file, which counts as a change here: nobody can tell
// whether it was all. The file is kept open, so that no other file gets its inode number meanwhile.
//
// Limits:     two changes within one tick of the file system's clock (4 ms at most on Linux) look like one,
// so
//             a change right after the construction can be missed. A program that has mapped the file to
//             memory changes it without a new time until the system writes it back.
// Failures:   DataError without the name of the file, which callers put in front.
class FileWatch {
public:
  // Errors: DataError if the file can't be opened.
  explicit FileWatch(std::string path);

  // Throws DataError if the path doesn't lead to the file as it was at the construction.
  void Check() const;

private:
  std::string fPath;
  FileDescriptor fFile;
  FileState fState;
};
