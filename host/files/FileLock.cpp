#include "host/files/FileLock.h"

#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

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
  return fstat(file, &opened) == 0 && stat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino;
}

}  // namespace

bool IsLockedByOthers(const std::string& path, bool forWriting) {
  // O_NONBLOCK: opening a pipe must not wait for its other end.
  const FileDescriptor file(path, O_RDONLY | O_NONBLOCK);
  if (file.IsOpen()) {
    if (CannotFlock(file.Get(), forWriting ? LOCK_EX : LOCK_SH)) return true;
    if (IsFcntlLocked(file.Get(), forWriting)) return true;
  }
  const FileDescriptor ours(BesideName(path, kLockSuffix), O_RDONLY | O_NONBLOCK);
  return ours.IsOpen() && CannotFlock(ours.Get(), LOCK_EX);
}

std::unique_ptr<FileLock> FileLock::Take(const std::string& target, std::string* why) {
  const std::string path = BesideName(target, kLockSuffix);
  for (;;) {
    FileDescriptor file(path, O_RDWR | O_CREAT | O_NOFOLLOW);
    if (!file.IsOpen()) {
      *why = SystemReason();
      return nullptr;
    }
    if (flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
      *why = errno == EWOULDBLOCK ? "another process is writing it" : SystemReason();
      return nullptr;
    }
    if (IsStillNamed(file.Get(), path)) {
      return std::unique_ptr<FileLock>(new FileLock(path, std::move(file)));
    }
  }
}

FileLock::~FileLock() {
  // Removed while still locked: a run that opened the old file meanwhile sees in IsStillNamed() that it must
  // open a new one.
  unlink(fPath.c_str());
}
