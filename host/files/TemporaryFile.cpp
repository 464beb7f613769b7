#include "host/files/TemporaryFile.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "host/files/FileDescriptor.h"
#include "host/files/FileWriter.h"

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kTemporarySuffix = ".svselect-new";
constexpr std::string_view kOldSuffix = ".svselect-old";
// DuckDB keeps a log under this suffix beside a database file that it hasn't closed.
constexpr std::string_view kLogSuffix = ".wal";
static_assert(1 + kTemporarySuffix.size() + kLogSuffix.size() <= kBesideRoom);
static_assert(1 + kOldSuffix.size() <= kBesideRoom);

bool Sync(const std::string& path, int flags, std::string* why) {
  const FileDescriptor file(path, flags);
  if (file.IsOpen() && fsync(file.Get()) == 0) return true;
  *why = SystemReason();
  return false;
}

// A new name is an entry of its folder: a power cut can lose it until the folder is on the disk.
bool SyncFolderOf(const std::string& path, std::string* why) {
  const std::string folder = fs::path(path).parent_path().string();
  return Sync(folder.empty() ? "." : folder, O_RDONLY | O_DIRECTORY, why);
}

}  // namespace

std::string SystemReason() {
  return std::system_category().message(errno);
}

std::string PlainPath(const std::string& path) {
  // Links are followed by hand, since the last one may lead to a file that isn't there yet.
  constexpr int kMostLinks = 40;  // as the system's own limit
  std::error_code error;
  fs::path plain = fs::absolute(path, error);
  for (int i = 0; i < kMostLinks && fs::is_symlink(fs::symlink_status(plain, error)); ++i) {
    plain = plain.parent_path() / fs::read_symlink(plain, error);
  }
  const fs::path whole = fs::weakly_canonical(plain, error);
  return error ? path : whole.string();  // what can't be resolved fails where it is opened
}

std::string BesideName(const std::string& path, std::string_view suffix) {
  const fs::path whole(path);
  return (whole.parent_path() / fmt::format(".{}{}", whole.filename().string(), suffix)).string();
}

TemporaryFile::TemporaryFile(std::string target, std::unique_ptr<FileLock> lock)
    : fTarget(std::move(target)),
      fTemporary(BesideName(fTarget, kTemporarySuffix)),
      fOld(BesideName(fTarget, kOldSuffix)),
      fpLock(std::move(lock)) {}

std::unique_ptr<TemporaryFile> TemporaryFile::Open(const std::string& target, std::string* why) {
  const std::string file = PlainPath(target);
  std::unique_ptr<FileLock> lock = FileLock::Take(file, why);
  if (lock == nullptr) return nullptr;
  std::unique_ptr<TemporaryFile> temporary(new TemporaryFile(file, std::move(lock)));
  temporary->RemoveHelpers();
  return temporary;
}

TemporaryFile::~TemporaryFile() {
  Restore();
  RemoveHelpers();
}

void TemporaryFile::RemoveHelpers() {
  unlink(fTemporary.c_str());
  unlink((fTemporary + std::string(kLogSuffix)).c_str());
  unlink(fOld.c_str());
}

bool TemporaryFile::Finish(std::string* why) {
  struct stat old {};
  if (stat(fTarget.c_str(), &old) == 0 && S_ISREG(old.st_mode)) {
    chmod(fTemporary.c_str(), old.st_mode & 07777);  // may fail where the old file is another user's
  }
  return Sync(fTemporary, O_RDONLY, why) && SyncFolderOf(fTemporary, why);
}

// Some file systems have no hard links (EPERM, EOPNOTSUPP, ENOSYS). There the run goes on without a way back,
// rather than refuse to write at all.
bool TemporaryFile::KeepOldFile(std::string* why) {
  std::error_code error;
  if (fs::is_directory(fTarget, error)) {  // link(2) would say EPERM, as where there are no hard links
    *why = std::system_category().message(EISDIR);
    return false;
  }
  fbHasOld = link(fTarget.c_str(), fOld.c_str()) == 0;
  fbIsNew = !fbHasOld && errno == ENOENT;
  if (fbHasOld || fbIsNew || errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS) return true;
  *why = SystemReason();
  return false;
}

bool TemporaryFile::Replace(std::string* why) {
  if (std::rename(fTemporary.c_str(), fTarget.c_str()) != 0) {
    *why = SystemReason();
    return false;
  }
  return fbReplaced = true;
}

bool TemporaryFile::SyncPlace(std::string* why) const {
  return SyncFolderOf(fTarget, why);
}

// Failures are ignored: it is part of giving up, and the cause has been reported.
void TemporaryFile::Restore() {
  if (!fbReplaced) return;
  if (fbHasOld) {
    std::rename(fOld.c_str(), fTarget.c_str());
  } else if (fbIsNew) {
    unlink(fTarget.c_str());
  }
  fbReplaced = false;
}

void TemporaryFile::Settle() {
  unlink(fOld.c_str());
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
