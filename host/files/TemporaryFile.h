#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/files/FileLock.h"

// What the system says of the last failure, by errno.
std::string SystemReason();

// The file that a path stands for: absolute, without symbolic links. It need not exist, nor need the target
// of a link.
std::string PlainPath(const std::string& path);

// The hidden name of a file's helper: "dir/.name" + suffix for "dir/name".
std::string BesideName(const std::string& path, std::string_view suffix);

// Room for what BesideName() adds to a name, the dot in front included, in bytes: so much shorter than the
// file system's limit must a name be.
inline constexpr std::size_t kBesideRoom = 24;

// TemporaryFile is a file that is written beside its target and takes its place when it is whole, so that the
// target is at any moment the old file or the new one.
//
// Use:        Open(), write TemporaryPath() by whatever means, Finish(), KeepOldFile(), Replace(),
//             SyncPlace(), Settle(). Until Settle(), Restore() brings the old file back. Destroyed without
//             Settle(), it leaves the old file alone (after Restore() where it was replaced) and removes what
//             it wrote.
// Ownership:  holds the lock of the target for its life.
// Failures:   false, with the reason in `why`.
class TemporaryFile {
public:
  // Takes the target's lock and removes what killed runs left beside it. A target that is a symbolic link
  // stands for what it points to. Null on failure.
  static std::unique_ptr<TemporaryFile> Open(const std::string& target, std::string* why);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const std::string& TemporaryPath() const { return fTemporary; }

  // The file is written: it gets the permissions of the file that it replaces and goes to the disk.
  bool Finish(std::string* why);
  // Gives the old file a second name, to come back from.
  bool KeepOldFile(std::string* why);
  // Puts the file in the target's place: one rename. REQUIRES: finished, the old file kept.
  bool Replace(std::string* why);
  // Brings the new name to the disk.
  bool SyncPlace(std::string* why) const;
  // Undoes Replace(), or nothing. Where the old file couldn't be kept, the new one stays.
  void Restore();
  // The old file is no longer wanted.
  void Settle();

private:
  TemporaryFile(std::string target, std::unique_ptr<FileLock> lock);
  void RemoveHelpers();

  std::string fTarget;
  std::string fTemporary;
  std::string fOld;  // a second name of the old file, while it can come back
  std::unique_ptr<FileLock> fpLock;
  bool fbHasOld = false;  // fOld is there
  bool fbIsNew = false;   // there was no old file
  bool fbReplaced = false;
};

// Writes or replaces a file as a whole.
bool WriteWholeFile(const std::string& path, std::string_view content, std::string* why);
