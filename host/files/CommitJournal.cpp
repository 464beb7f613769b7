#include "host/files/CommitJournal.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "host/files/PrivateFolder.h"
#include "host/files/TemporaryFile.h"

namespace {

constexpr std::string_view kHead = "svselect journal 1";
constexpr const char* kUnfinishedName = "journal-new";
constexpr std::size_t kMostBytes = std::size_t{1} << 20;  // of a journal or lock file

// KEY TARGET. The target is absolute, so that it means the same in every process.
JournalPart ReadPart(std::string_view text) {
  const std::size_t blank = text.find(' ');
  if (blank == std::string_view::npos || !PrivateFolder::IsKey(text.substr(0, blank))) return {};
  const std::string_view target = text.substr(blank + 1);
  if (!target.starts_with('/')) return {};
  return {std::string(target), std::string(text.substr(0, blank))};
}

bool WriteAndSync(const FileDescriptor& folder, std::string_view text, std::string* why) {
  const int made =
      openat(folder.Get(), kUnfinishedName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  bool isGood = made >= 0;
  while (isGood && !text.empty()) {
    const ssize_t written = write(made, text.data(), text.size());
    isGood = written >= 0 || errno == EINTR;
    if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
  }
  isGood = isGood && fsync(made) == 0;
  if (!isGood) *why = SystemReason();
  if (made >= 0) close(made);
  return isGood;
}

}  // namespace

std::string NewName(const std::string& target) {
  return "new" + std::filesystem::path(target).extension().string();
}

// Each entry ends in a null byte, which no path has.
bool WriteJournal(const FileDescriptor& folder, const std::vector<JournalPart>& parts, std::string* why) {
  std::string text(kHead);
  text += '\0';
  for (const JournalPart& part : parts) {
    text += fmt::format("{} {}", part.key, part.target);
    text += '\0';
  }
  bool isGood = WriteAndSync(folder, text, why);
  if (isGood && renameat(folder.Get(), kUnfinishedName, folder.Get(), kJournalName) != 0) {
    *why = SystemReason();
    isGood = false;
  }
  if (isGood && fsync(folder.Get()) == 0) return true;
  if (isGood) *why = SystemReason();
  unlinkat(folder.Get(), kJournalName, 0);
  return false;
}

bool ReadJournal(const FileDescriptor& folder, std::vector<JournalPart>* parts, std::string* why) {
  parts->clear();
  const int file = openat(folder.Get(), kJournalName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) {
    *why = SystemReason();
    return errno == ENOENT;
  }
  std::string text;
  const bool isRead = ReadOwnText(file, &text, why);
  close(file);
  if (!isRead || !text.starts_with(kHead)) return isRead;
  std::string_view left = std::string_view(text).substr(kHead.size() + 1);
  for (std::size_t end = left.find('\0'); end != std::string_view::npos; end = left.find('\0')) {
    const JournalPart part = ReadPart(left.substr(0, end));
    if (!part.key.empty()) parts->push_back(part);
    left.remove_prefix(end + 1);
  }
  return true;
}

std::string TextOf(const LockNote& note) {
  return note.first.key.empty() ? note.key
                                : fmt::format("{}\n{} {}", note.key, note.first.key, note.first.target);
}

LockNote ReadLockNote(std::string_view text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  LockNote note;
  if (!PrivateFolder::IsKey(text.substr(0, end))) return note;
  note.key = text.substr(0, end);
  if (end < text.size()) note.first = ReadPart(text.substr(end + 1));
  return note;
}

bool ReadOwnText(int file, std::string* text, std::string* why) {
  text->clear();
  struct stat found {};
  if (fstat(file, &found) != 0) {
    *why = SystemReason();
    return false;
  }
  const auto bytes = static_cast<std::size_t>(found.st_size);
  if (!S_ISREG(found.st_mode) || found.st_uid != geteuid() || bytes > kMostBytes) return true;
  text->resize(bytes);
  std::size_t done = 0;
  while (done < bytes) {
    const ssize_t count = pread(file, text->data() + done, bytes - done, static_cast<off_t>(done));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) *why = SystemReason();
    if (count <= 0) break;
    done += static_cast<std::size_t>(count);
  }
  const bool isWhole = done == bytes;
  if (!isWhole) text->clear();
  return isWhole;
}
