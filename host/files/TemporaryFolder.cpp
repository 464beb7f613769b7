#include "host/files/TemporaryFolder.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "host/environment/HostErrors.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFolderStem = "svselect-work-";

// Gives 0, or the errno that tells why the folder can't be locked: ENOENT or EWOULDBLOCK when it is another
// process's. One that another process is making is locked a moment after it appears; its owner notices when
// it was taken for a stale one, see TemporaryFolder.
int LockFolder(const std::string& path, int* lock) {
  const int file = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (file < 0) return errno;
  struct stat opened {};
  struct stat named {};
  int fault = 0;
  if (flock(file, LOCK_EX | LOCK_NB) != 0 || fstat(file, &opened) != 0 || stat(path.c_str(), &named) != 0) {
    fault = errno;
  } else if (opened.st_ino != named.st_ino) {
    fault = ENOENT;
  }
  fault == 0 ? * lock = file : close(file);
  return fault;
}

void RemoveStaleFolders(const fs::path& parent) {
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::directory_iterator(parent, ignored)) {
    if (!entry.path().filename().string().starts_with(kFolderStem)) continue;
    int lock = -1;
    if (LockFolder(entry.path().string(), &lock) != 0) continue;
    fs::remove_all(entry.path(), ignored);
    close(lock);
  }
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  std::error_code error;
  const fs::path parent = fs::temp_directory_path(error);
  if (error) throw DataError(fmt::format("no temporary folder, see TMPDIR: {}", error.message()));
  RemoveStaleFolders(parent);
  int fault = 0;
  do {
    fPath = (parent / (std::string(kFolderStem) + "XXXXXX")).string();
    fault = mkdtemp(fPath.data()) == nullptr ? errno : LockFolder(fPath, &fLock);
    if (fault == 0) return;
  } while (fs::is_directory(parent, error) && (fault == ENOENT || fault == EWOULDBLOCK));
  fs::remove(fPath, error);
  throw DataError(fmt::format("no temporary folder can be made in {}, see TMPDIR: {}", parent.string(),
                              std::generic_category().message(fault)));
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  fs::remove_all(fPath, ignored);
  close(fLock);
}
