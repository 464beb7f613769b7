#include "host/files/FileLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "host/files/TemporaryFile.h"

namespace {

constexpr std::string_view kLockSuffix = ".svselect-lock";
static_assert(1 + kLockSuffix.size() <= kBesideRoom);

// An open file, closed with the object.
class Descriptor {
public:
  Descriptor(const std::string& path, int flags) : fFile(open(path.c_str(), flags | O_CLOEXEC, 0666)) {}
  ~Descriptor() {
    if (fFile >= 0) close(fFile);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int Get() const { return fFile; }
  int Release() {
    const int file = fFile;
    fFile = -1;
    return file;
  }

private:
  int fFile;
};

bool CannotFlock(int file, int operation) {
  if (flock(file, operation | LOCK_NB) != 0) return errno == EWOULDBLOCK;
  flock(file, LOCK_UN);
  return false;
}

bool IsFcntlLocked(int file, bool forWriting) {
  struct flock probe {};
  probe.l_type = forWriting ? F_WRLCK : F_RDLCK;
  probe.l_whence = SEEK_SET;
  return fcntl(file, F_GETLK, &probe) == 0 && probe.l_type != F_UNLCK;
}

// Between opening a lock file and locking it, its former owner may have removed it.
bool IsStillNamed(int file, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return fstat(file, &opened) == 0 && stat(path.c_str(), &named) == 0 && opened.st_ino == named.st_ino;
}

}  // namespace

bool IsLockedByOthers(const std::string& path, bool forWriting) {
  const Descriptor file(path, O_RDONLY | O_NONBLOCK);
  if (file.Get() >= 0) {
    if (CannotFlock(file.Get(), forWriting ? LOCK_EX : LOCK_SH)) return true;
    if (IsFcntlLocked(file.Get(), forWriting)) return true;
  }
  const Descriptor ours(BesideName(path, kLockSuffix), O_RDONLY | O_NONBLOCK);
  return ours.Get() >= 0 && CannotFlock(ours.Get(), LOCK_EX);
}

std::unique_ptr<FileLock> FileLock::Take(const std::string& target, std::string* why) {
  const std::string path = BesideName(target, kLockSuffix);
  for (;;) {
    Descriptor file(path, O_RDWR | O_CREAT | O_NOFOLLOW);
    if (file.Get() < 0) {
      *why = SystemReason();
      return nullptr;
    }
    if (flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
      *why = errno == EWOULDBLOCK ? "another process is writing it" : SystemReason();
      return nullptr;
    }
    if (IsStillNamed(file.Get(), path)) {
      return std::unique_ptr<FileLock>(new FileLock(path, file.Release()));
    }
  }
}

FileLock::~FileLock() {
  unlink(fPath.c_str());  // while we still hold it: whoever waits opens a new one
  close(fFile);
}
