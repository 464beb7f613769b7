#include "host/files/TemporaryFile.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "host/files/FileDescriptor.h"
#include "host/files/FileWriter.h"

namespace {

namespace fs = std::filesystem;

bool Sync(const std::string& path, int flags, std::string* why) {
  const FileDescriptor file(path, flags);
  if (file.IsOpen() && fsync(file.Get()) == 0) return true;
  *why = SystemReason();
  return false;
}

// What a path leads to.
struct Followed {
  std::string path;
  bool isForeign = false;  // a link on the way isn't one that may be followed, see WhyLinkIsRefused()
};

// The rule by which Linux itself protects links in sticky folders that everybody can write to, such as /tmp:
// a link there counts only if it belongs to the caller or to the owner of the folder. The system applies it
// where it opens a file, but not where a link is read.
bool IsForeign(const fs::path& link) {
  struct stat found {};
  struct stat folder {};
  if (lstat(link.c_str(), &found) != 0 || stat(FolderOf(link.string()).c_str(), &folder) != 0) return false;
  const bool isShared = (folder.st_mode & S_ISVTX) != 0 && (folder.st_mode & S_IWOTH) != 0;
  return isShared && found.st_uid != geteuid() && found.st_uid != folder.st_uid;
}

// Links are followed by hand, since the last one may lead to a file that isn't there yet.
Followed Follow(const std::string& path) {
  constexpr int kMostLinks = 40;  // as the system's own limit
  Followed followed;
  std::error_code error;
  fs::path plain = fs::absolute(path, error);
  for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(plain, error)); ++i) {
    followed.isForeign = followed.isForeign || IsForeign(plain);
    plain = plain.parent_path() / fs::read_symlink(plain, error);
  }
  const fs::path whole = fs::weakly_canonical(plain, error);
  followed.path = error ? path : whole.string();  // what can't be resolved fails where it is opened
  return followed;
}

}  // namespace

std::string SystemReason() {
  return std::system_category().message(errno);
}

std::string FolderOf(const std::string& path) {
  const std::string folder = fs::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

// A new name is an entry of its folder: a power cut can lose it until the folder is on the disk.
bool SyncFolder(const std::string& folder, std::string* why) {
  return Sync(folder, O_RDONLY | O_DIRECTORY, why);
}

std::string PlainPath(const std::string& path) {
  return Follow(path).path;
}

std::string WhyLinkIsRefused(const std::string& path) {
  return Follow(path).isForeign
             ? "a symbolic link of another account, in a folder that everybody can write to"
             : "";
}

std::string BesideName(const std::string& path, std::string_view suffix) {
  const fs::path whole(path);
  return (whole.parent_path() / fmt::format(".{}{}", whole.filename().string(), suffix)).string();
}

TemporaryFile::TemporaryFile(std::string target, std::string key, std::unique_ptr<FileLock> lock,
                             std::unique_ptr<PrivateFolder> folder)
    : fTarget(std::move(target)),
      fKey(std::move(key)),
      fpLock(std::move(lock)),
      fpFolder(std::move(folder)),
      fName(NewName(fTarget)),
      fTemporary(fpFolder->PathOf(fName)) {}

// The lock file names the folder before there is one, so that a kill in between leaves nothing unnamed.
std::unique_ptr<TemporaryFile> TemporaryFile::Open(const std::string& target, std::string* why) {
  *why = WhyLinkIsRefused(target);
  if (!why->empty()) return nullptr;
  const std::string file = PlainPath(target);
  const std::string key = PrivateFolder::MakeKey();
  std::unique_ptr<FileLock> lock = FileLock::Take(file, key, why);
  if (lock == nullptr) return nullptr;
  std::unique_ptr<PrivateFolder> folder = PrivateFolder::Make(file, key, why);
  if (folder == nullptr) {
    std::string ignored;
    if (!PrivateFolder::Remove(file, key, &ignored)) lock->Leave();
    return nullptr;
  }
  return std::unique_ptr<TemporaryFile>(new TemporaryFile(file, key, std::move(lock), std::move(folder)));
}

TemporaryFile::~TemporaryFile() {
  Restore();  // failures are ignored: it is part of giving up, and the cause has been reported
  if (!fpFolder->Remove()) Leave();
}

bool TemporaryFile::Finish(std::string* why) {
  struct stat old {};
  const bool hasOld = lstat(fTarget.c_str(), &old) == 0;
  bool isGood = hasOld || errno == ENOENT;
  if (hasOld && S_ISREG(old.st_mode)) {
    // EPERM: some file systems know no permissions.
    isGood = fchmodat(fpFolder->Get(), fName.c_str(), old.st_mode & 07777, 0) == 0 || errno == EPERM;
  }
  if (!isGood) *why = SystemReason();
  return isGood && Sync(fTemporary, O_RDONLY, why) && SyncFolder(FolderOf(fTemporary), why);
}

// Some file systems have no hard links (EPERM, EOPNOTSUPP, ENOSYS). There the run goes on without a way back,
// rather than refuse to write at all.
bool TemporaryFile::KeepOldFile(std::string* why) {
  std::error_code error;
  if (fs::is_directory(fTarget, error)) {  // link(2) would say EPERM, as where there are no hard links
    *why = std::system_category().message(EISDIR);
    return false;
  }
  fbHasOld = linkat(AT_FDCWD, fTarget.c_str(), fpFolder->Get(), kOldName, 0) == 0;
  fbIsNew = !fbHasOld && errno == ENOENT;
  if (fbHasOld || fbIsNew || errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS) return true;
  *why = SystemReason();
  return false;
}

bool TemporaryFile::Replace(std::string* why) {
  if (renameat(fpFolder->Get(), fName.c_str(), AT_FDCWD, fTarget.c_str()) != 0) {
    *why = SystemReason();
    return false;
  }
  return fbReplaced = true;
}

bool TemporaryFile::SyncPlace(std::string* why) const {
  return SyncFolder(FolderOf(fTarget), why);
}

bool TemporaryFile::Restore() {
  if (!fbReplaced) return true;
  bool isGood = false;  // if the old file couldn't be kept
  if (fbHasOld) {
    isGood = linkat(AT_FDCWD, fTarget.c_str(), fpFolder->Get(), fName.c_str(), 0) == 0 &&
             renameat(fpFolder->Get(), kOldName, AT_FDCWD, fTarget.c_str()) == 0;
  } else if (fbIsNew) {
    isGood = renameat(AT_FDCWD, fTarget.c_str(), fpFolder->Get(), fName.c_str()) == 0;
  }
  fbReplaced = !isGood;
  return isGood;
}

void TemporaryFile::Leave() {
  fbReplaced = false;
  fpFolder->Leave();
  fpLock->Leave();
}

void TemporaryFile::Settle() {
  unlinkat(fpFolder->Get(), kOldName, 0);
  fbReplaced = false;
  fbHasOld = false;
}

bool WriteWholeFile(const std::string& path, std::string_view content, std::string* why) {
  const std::unique_ptr<TemporaryFile> file = TemporaryFile::Open(path, why);
  if (file == nullptr) return false;
  FileWriter writer;
  const bool written = writer.Open(file->TemporaryPath()) && writer.Write(content);
  if (!writer.Close() || !written) {
    *why = writer.Reason();
    return false;
  }
  const bool isInPlace =
      file->Finish(why) && file->KeepOldFile(why) && file->Replace(why) && file->SyncPlace(why);
  if (!isInPlace) return false;
  file->Settle();
  return true;
}
