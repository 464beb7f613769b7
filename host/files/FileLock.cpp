#include "host/files/FileLock.h"

#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "host/files/KilledRun.h"
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

// --- taking a lock ---------------------------------------------------------------------------------------

enum class Step { kDone, kAgain, kFailed };

Step Fail(std::string reason, std::string* why) {
  *why = std::move(reason);
  return Step::kFailed;
}

std::string Busy() {
  return errno == EWOULDBLOCK ? "another process is writing it" : SystemReason();
}

// Removes a lock file that we made and can't use. Returns the reason, which is in errno.
std::string RemovedFile(const std::string& path) {
  std::string reason = SystemReason();
  unlink(path.c_str());
  return reason;
}

// Makes the lock file. Fails for whatever has its name, so that nothing else is ever written to.
Step MakeFile(const std::string& path, std::string_view key, FileDescriptor* file, std::string* why) {
  *file = FileDescriptor(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW);
  if (!file->IsOpen()) return errno == EEXIST ? Step::kAgain : Fail(SystemReason(), why);
  if (flock(file->Get(), LOCK_EX | LOCK_NB) != 0) {
    // A process that looks whether we are alive may hold it for a moment.
    return errno == EWOULDBLOCK ? Step::kAgain : Fail(RemovedFile(path), why);
  }
  if (!IsStillNamed(file->Get(), path)) return Step::kAgain;
  const ssize_t written = pwrite(file->Get(), key.data(), key.size(), 0);
  if (written == static_cast<ssize_t>(key.size())) return Step::kDone;
  return Fail(RemovedFile(path), why);
}

// Removes the lock file of a killed run, after what that run left is settled. A file of another account may
// go too, but what it says isn't believed. Reading the file takes no right to write it.
Step RemoveStale(const std::string& target, const std::string& path, std::string* why) {
  const FileDescriptor file(path, O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
  if (!file.IsOpen() && errno == ENOENT) return Step::kAgain;
  struct stat found {};
  const bool isSeen = file.IsOpen() ? fstat(file.Get(), &found) == 0 : lstat(path.c_str(), &found) == 0;
  if (isSeen && !S_ISREG(found.st_mode)) return Fail(path + " is in the way and no file; remove it", why);
  if (!file.IsOpen()) return Fail(fmt::format("{}: {}", path, SystemReason()), why);
  if (flock(file.Get(), LOCK_EX | LOCK_NB) != 0) return Fail(Busy(), why);
  if (!IsStillNamed(file.Get(), path)) return Step::kAgain;
  std::string text;
  if (!ReadOwnText(file.Get(), &text, why)) return Step::kFailed;
  const Settled settled = SettleKilledRun(target, text, why);
  if (settled == Settled::kBusy) return Fail("another process is finishing what a killed run has begun", why);
  if (settled != Settled::kDone) return Step::kFailed;
  if (!IsStillNamed(file.Get(), path)) return Step::kAgain;
  if (unlink(path.c_str()) == 0 || errno == ENOENT) return Step::kAgain;
  return Fail(fmt::format("{} is in the way, a file of another account ({})", path, SystemReason()), why);
}

}  // namespace

std::string LockPath(const std::string& target) {
  return BesideName(target, kLockSuffix);
}

bool IsStillNamed(int file, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return fstat(file, &opened) == 0 && lstat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino &&
         opened.st_dev == named.st_dev;
}

bool IsLockedByOthers(const std::string& path, bool forWriting) {
  // O_NONBLOCK: opening a pipe must not wait for its other end.
  const FileDescriptor file(path, O_RDONLY | O_NONBLOCK);
  if (file.IsOpen()) {
    if (CannotFlock(file.Get(), forWriting ? LOCK_EX : LOCK_SH)) return true;
    if (IsFcntlLocked(file.Get(), forWriting)) return true;
  }
  const FileDescriptor ours(LockPath(path), O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
  return ours.IsOpen() && CannotFlock(ours.Get(), LOCK_EX);
}

std::unique_ptr<FileLock> FileLock::Take(const std::string& target, std::string_view key, std::string* why) {
  constexpr int kMostTries = 100;  // somebody who keeps making the file could keep us here
  const std::string path = LockPath(target);
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

bool FileLock::Note(const LockNote& note, std::string* why) {
  const std::string text = TextOf(note);
  errno = 0;  // a short write leaves it alone
  if (pwrite(fFile.Get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()) &&
      fsync(fFile.Get()) == 0) {
    return true;
  }
  *why = errno == 0 ? std::system_category().message(ENOSPC) : SystemReason();
  return false;
}

FileLock::~FileLock() {
  if (fbLeft) return;
  // Removed while still locked: a run that opened the old file meanwhile sees in IsStillNamed() that it must
  // open a new one.
  if (IsStillNamed(fFile.Get(), fPath)) unlink(fPath.c_str());
}
