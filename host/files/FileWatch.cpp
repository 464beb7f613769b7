#include "host/files/FileWatch.h"

#include <sys/stat.h>

#include <cerrno>
#include <utility>

#include "host/environment/HostErrors.h"
#include "host/files/TemporaryFile.h"

FileWatch::FileWatch(std::string path) : fPath(std::move(path)), fFile(fPath, O_RDONLY) {
  if (!fFile.IsOpen()) throw DataError(SystemReason());
  fState = FileState::Of(fPath);
  Check();
}

// Any failure but a missing file is one: it would look like a change.
FileState FileState::Of(const std::string& path) {
  struct stat found {};
  if (stat(path.c_str(), &found) != 0) {
    if (errno == ENOENT) return {};
    throw DataError(SystemReason());
  }
  FileState state;
  state.device = found.st_dev;
  state.inode = found.st_ino;
  state.bytes = found.st_size;
  state.written[0] = found.st_mtim.tv_sec;
  state.written[1] = found.st_mtim.tv_nsec;
  state.changed[0] = found.st_ctim.tv_sec;
  state.changed[1] = found.st_ctim.tv_nsec;
  return state;
}

void FileWatch::Check() const {
  struct stat opened {};
  const bool isOpened = fstat(fFile.Get(), &opened) == 0 && opened.st_ino == fState.inode;
  if (isOpened && FileState::Of(fPath) == fState) return;
  throw DataError("the file was changed while it was being read");
}
