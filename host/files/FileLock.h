#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/files/CommitJournal.h"
#include "host/files/FileDescriptor.h"

// Locks between processes. The kernel drops a lock with the process that holds it, so none is ever stale.

// Whether another process holds a lock on a regular file (flock or fcntl) that keeps us from reading it, or,
// with `forWriting`, from replacing it; also whether another run of ours is writing a file of that name. A
// file that can't be opened counts as free: the code that uses it next finds the real reason.
// REQUIRES: this process holds no fcntl lock on the file. POSIX drops all of them as soon as any descriptor
//           of the file is closed, and looking closes one.
bool IsLockedByOthers(const std::string& path, bool forWriting);

// The lock file beside a target.
std::string LockPath(const std::string& target);

// Whether an open lock file is still the one under that name. Between opening a lock file and locking it, its
// former owner may have removed it: a lock on a file without a name would be worth nothing, since the next
// run would make and lock another one.
bool IsStillNamed(int file, const std::string& path);

// FileLock is the right to write one target: while it lives, no other run of ours writes that file. It is a
// lock file beside the target. Other accounts may put something under its name. A link is never followed,
// a pipe never waited for, and nothing is written but a lock file that the object made itself.
//
// The file holds the key of the folder that the run writes in, see PrivateFolder, and from the commit on the
// place of the journal. So a run that finds the lock file of a killed run can finish that run, or clear away
// what it left, without searching; see KilledRun.h.
//
// Use:        Take(), hold it until the target is in its place.
// Ownership:  owns the lock file, which is removed with the object, unless it was told to leave it.
// Failures:   null or false, with the reason in `why`.
class FileLock {
public:
  // Notes `key` in the lock file. Never waits: a lock that another run holds is a failure.
  static std::unique_ptr<FileLock> Take(const std::string& target, std::string_view key, std::string* why);
  // Brings to the disk what the file says from now on.
  bool Note(const LockNote& note, std::string* why);
  // From now on the file stays when the object goes, without a lock, as if this process had been killed.
  void Leave() { fbLeft = true; }
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

private:
  FileLock(std::string path, FileDescriptor file) : fPath(std::move(path)), fFile(std::move(file)) {}

  std::string fPath;     // of the lock file
  FileDescriptor fFile;  // holds the lock
  bool fbLeft = false;
};
