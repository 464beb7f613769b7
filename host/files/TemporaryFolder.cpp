#include "host/files/TemporaryFolder.h"

#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "host/environment/HostErrors.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFolderStem = "svselect-work-";

// Opens and locks a folder. Returns 0 or an errno: ENOENT and EWOULDBLOCK mean that the folder is another
// process's, or was until just now. No link is followed.
int LockFolder(const std::string& path, FileDescriptor* lock) {
  FileDescriptor folder(path, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
  if (!folder.IsOpen()) return errno;
  struct stat opened {};
  struct stat named {};
  if (flock(folder.Get(), LOCK_EX | LOCK_NB) != 0 || fstat(folder.Get(), &opened) != 0 ||
      lstat(path.c_str(), &named) != 0) {
    return errno;
  }
  if (opened.st_ino != named.st_ino) return ENOENT;  // removed and made anew since we opened it
  *lock = std::move(folder);
  return 0;
}

// Whether this account made the folder. Others write into the system's temporary folder too.
bool IsOwn(const fs::path& path) {
  struct stat found {};
  return lstat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode) && found.st_uid == geteuid();
}

void RemoveStaleFolders(const fs::path& parent) {
  std::error_code ignored;  // another process may be at the same
  for (const fs::directory_entry& entry : fs::directory_iterator(parent, ignored)) {
    if (!entry.path().filename().string().starts_with(kFolderStem) || !IsOwn(entry.path())) continue;
    FileDescriptor lock;
    if (LockFolder(entry.path().string(), &lock) == 0) fs::remove_all(entry.path(), ignored);
  }
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  std::error_code error;
  const fs::path parent = fs::temp_directory_path(error);
  if (error) throw DataError(fmt::format("no temporary folder, see TMPDIR: {}", error.message()));
  RemoveStaleFolders(parent);
  int fault = 0;
  // Tried again where another process took the new folder for a stale one before we could lock it.
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
}
