#include "host/files/PrivateFolder.h"

#include <dirent.h>
#include <fmt/format.h>
#include <sys/random.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "host/files/TemporaryFile.h"

namespace {

constexpr std::string_view kStem = ".svselect-";
constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyz234567";  // 5 bits each
constexpr std::size_t kKeyLetters = 12;                                    // 60 bits
static_assert(1 + kStem.size() + kKeyLetters <= kBesideRoom);

constexpr mode_t kOwnerOnly = 0700;
constexpr int kAsFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW;

std::string FolderPath(const std::string& target, std::string_view key) {
  return BesideName(target, fmt::format("{}{}", kStem, key));
}

// Whether a folder that we have just made and opened is still that one. Its owner must be that of a file
// which we make in it; on some file systems this isn't the owner of the process.
bool IsOurs(const FileDescriptor& folder) {
  constexpr const char* kProbe = "probe";
  const int probe = openat(folder.Get(), kProbe, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (probe < 0) return false;
  struct stat file {};
  struct stat around {};
  const bool isSame =
      fstat(probe, &file) == 0 && fstat(folder.Get(), &around) == 0 && file.st_uid == around.st_uid;
  close(probe);
  unlinkat(folder.Get(), kProbe, 0);
  errno = isSame ? 0 : EPERM;
  return isSame;
}

// Removes the files in a folder. It has no folders.
void Empty(const FileDescriptor& folder) {
  const int again = openat(folder.Get(), ".", kAsFolder | O_CLOEXEC);  // closedir() closes what it is given
  DIR* const entries = again < 0 ? nullptr : fdopendir(again);
  if (entries == nullptr && again >= 0) close(again);
  if (entries == nullptr) return;
  while (const dirent* const entry =
             readdir(entries)) {               // NOLINT(concurrency-mt-unsafe): a stream of our own
    unlinkat(folder.Get(), entry->d_name, 0);  // fails for "." and ".."
  }
  closedir(entries);
}

// Removes the files in a folder, which has no folders, and then the folder itself: only an empty one,
// whatever has its name now.
bool RemoveAll(const FileDescriptor& folder, const std::string& path) {
  Empty(folder);
  return rmdir(path.c_str()) == 0 || errno == ENOENT || errno == ENOTDIR;
}

}  // namespace

std::string PrivateFolder::MakeKey() {
  std::array<unsigned char, kKeyLetters> bytes{};
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) return "";
  std::string key;
  for (const unsigned char byte : bytes) key += kLetters[byte % kLetters.size()];
  return key;
}

// The object is made first: if there were no memory for it afterwards, nobody would remove the folder.
std::unique_ptr<PrivateFolder> PrivateFolder::Make(const std::string& target, std::string_view key,
                                                   std::string* why) {
  std::unique_ptr<PrivateFolder> made(new PrivateFolder(FolderPath(target, key)));
  if (!IsKey(key) || mkdir(made->fPath.c_str(), kOwnerOnly) != 0) {  // fails for whatever is there, links too
    *why = SystemReason();
    return nullptr;
  }
  made->fbLeft = false;
  made->fFolder = FileDescriptor(made->fPath, kAsFolder);
  if (made->fFolder.IsOpen() && IsOurs(made->fFolder)) return made;
  *why = SystemReason();
  return nullptr;
}

bool PrivateFolder::IsKey(std::string_view text) {
  return text.size() == kKeyLetters && text.find_first_not_of(kLetters) == std::string_view::npos;
}

bool PrivateFolder::OpenLeft(const std::string& target, std::string_view key, FileDescriptor* folder,
                             std::string* why) {
  if (!IsKey(key)) return true;
  FileDescriptor left(FolderPath(target, key), kAsFolder);
  const bool isNone = !left.IsOpen() && (errno == ENOENT || errno == ENOTDIR || errno == ELOOP);
  struct stat found {};
  if (isNone) return true;
  if (!left.IsOpen() || fstat(left.Get(), &found) != 0) {
    // What another account has put there may be closed to us.
    const bool isOthers =
        errno == EACCES && lstat(FolderPath(target, key).c_str(), &found) == 0 && found.st_uid != geteuid();
    *why = SystemReason();
    return isOthers;
  }
  if (found.st_uid == geteuid()) *folder = std::move(left);
  return true;
}

bool PrivateFolder::Remove(const std::string& target, std::string_view key, std::string* why) {
  FileDescriptor folder;
  if (!OpenLeft(target, key, &folder, why)) return false;
  if (!folder.IsOpen() || RemoveAll(folder, FolderPath(target, key))) return true;
  *why = SystemReason();
  return false;
}

bool PrivateFolder::Remove() {
  if (!fbLeft && !RemoveAll(fFolder, fPath)) return false;
  fbLeft = true;
  return true;
}

PrivateFolder::~PrivateFolder() {
  Remove();
}

// Through the process's own table of open files. Where that isn't mounted, by the folder's name.
std::string PrivateFolder::PathOf(std::string_view name) const {
  const std::string open = fmt::format("/proc/self/fd/{}", Get());
  const bool isThere = access(open.c_str(), F_OK) == 0;
  return fmt::format("{}/{}", isThere ? open : fPath, name);
}
