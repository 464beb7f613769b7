#include "host/files/FileLock.h"

#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "host/files/PrivateFolder.h"
#include "host/files/TemporaryFile.h"

namespace {

constexpr std::string_view kLockSuffix = ".svselect-lock";
static_assert(1 + kLockSuffix.size() <= kBesideRoom);

// Tries the lock and gives it back at once.
bool CannotFlock(int file, int operation) {
  if (flock(file, operation | LOCK_NB) != 0) return errno == EWOULDBLOCK;
  flock(file, LOCK_UN);
  return false;
}

// fcntl locks are a second kind that flock doesn't see; databases use them.
bool IsFcntlLocked(int file, bool forWriting) {
  struct flock probe {};
  probe.l_type = forWriting ? F_WRLCK : F_RDLCK;
  probe.l_whence = SEEK_SET;
  return fcntl(file, F_GETLK, &probe) == 0 && probe.l_type != F_UNLCK;
}

// Between our opening a lock file and locking it, its former owner may have removed it. We would then hold a
// lock on a file without a name, and the next run would make and lock another one.
bool IsStillNamed(int file, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return fstat(file, &opened) == 0 && lstat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino &&
         opened.st_dev == named.st_dev;
}

// --- taking a lock ---------------------------------------------------------------------------------------

enum class Step { kDone, kAgain, kFailed };

Step Fail(std::string reason, std::string* why) {
  *why = std::move(reason);
  return Step::kFailed;
}

std::string Busy() {
  return errno == EWOULDBLOCK ? "another process is writing it" : SystemReason();
}

// Makes the lock file. Fails for whatever has its name, so that nothing else is ever written to.
Step MakeFile(const std::string& path, std::string_view key, FileDescriptor* file, std::string* why) {
  *file = FileDescriptor(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW);
  if (!file->IsOpen()) return errno == EEXIST ? Step::kAgain : Fail(SystemReason(), why);
  if (flock(file->Get(), LOCK_EX | LOCK_NB) != 0) return Fail(Busy(), why);
  if (!IsStillNamed(file->Get(), path)) return Step::kAgain;
  const ssize_t written = pwrite(file->Get(), key.data(), key.size(), 0);
  if (written == static_cast<ssize_t>(key.size())) return Step::kDone;
  const std::string reason = SystemReason();
  unlink(path.c_str());
  return Fail(reason, why);
}

// Removes the lock file of a killed run with the folder that it names. A file of another account may go too,
// but what it says isn't believed. Reading the file takes no right to write it.
Step RemoveStale(const std::string& target, const std::string& path, std::string* why) {
  const FileDescriptor file(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file.IsOpen() && errno == ENOENT) return Step::kAgain;
  struct stat found {};
  const bool isSeen = file.IsOpen() ? fstat(file.Get(), &found) == 0 : lstat(path.c_str(), &found) == 0;
  if (isSeen && !S_ISREG(found.st_mode)) return Fail(path + " is in the way and no file; remove it", why);
  if (!file.IsOpen()) return Fail(fmt::format("{}: {}", path, SystemReason()), why);
  if (flock(file.Get(), LOCK_EX | LOCK_NB) != 0) return Fail(Busy(), why);
  if (!IsStillNamed(file.Get(), path)) return Step::kAgain;
  char key[64];
  const ssize_t bytes = found.st_uid == geteuid() ? pread(file.Get(), key, sizeof key, 0) : 0;
  if (bytes > 0) PrivateFolder::Remove(target, {key, static_cast<std::size_t>(bytes)});
  if (unlink(path.c_str()) == 0 || errno == ENOENT) return Step::kAgain;
  return Fail(fmt::format("{} is in the way, a file of another account ({})", path, SystemReason()), why);
}

}  // namespace

bool IsLockedByOthers(const std::string& path, bool forWriting) {
  // O_NONBLOCK: opening a pipe must not wait for its other end.
  const FileDescriptor file(path, O_RDONLY | O_NONBLOCK);
  if (file.IsOpen()) {
    if (CannotFlock(file.Get(), forWriting ? LOCK_EX : LOCK_SH)) return true;
    if (IsFcntlLocked(file.Get(), forWriting)) return true;
  }
  const FileDescriptor ours(BesideName(path, kLockSuffix), O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  return ours.IsOpen() && CannotFlock(ours.Get(), LOCK_EX);
}

std::unique_ptr<FileLock> FileLock::Take(const std::string& target, std::string_view key, std::string* why) {
  constexpr int kMostTries = 100;  // somebody who keeps making the file could keep us here
  const std::string path = BesideName(target, kLockSuffix);
  *why = "another process is writing it";
  for (int i = 0; i < kMostTries; ++i) {
    FileDescriptor file;
    Step step = MakeFile(path, key, &file, why);
    if (step == Step::kDone) return std::unique_ptr<FileLock>(new FileLock(path, std::move(file)));
    if (step == Step::kAgain) step = RemoveStale(target, path, why);
    if (step == Step::kFailed) return nullptr;
  }
  return nullptr;
}

FileLock::~FileLock() {
  // Removed while still locked: a run that opened the old file meanwhile sees in IsStillNamed() that it must
  // open a new one.
  if (IsStillNamed(fFile.Get(), fPath)) unlink(fPath.c_str());
}
