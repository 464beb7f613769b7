#include "host/files/KilledRun.h"

#include <fmt/format.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <set>
#include <utility>
#include <vector>

#include "host/files/CommitJournal.h"
#include "host/files/FileLock.h"
#include "host/files/PrivateFolder.h"
#include "host/files/TemporaryFile.h"

namespace {

constexpr int kToLook = O_RDONLY | O_NOFOLLOW | O_NONBLOCK;

Settled Fail(const std::string& path, const std::string& reason, std::string* why) {
  *why = fmt::format("a run was killed while it put its files in their places, and {} can't be: {}", path,
                     reason);
  return Settled::kFailed;
}

bool CanLock(const FileDescriptor& file) {
  return flock(file.Get(), LOCK_EX | LOCK_NB) == 0;
}

// Locks the lock file of the part that the journal is with. It stays closed where that part is gone: then its
// run never came to the commit, or has taken it back.
Settled LockFirst(const JournalPart& first, FileDescriptor* lock, std::string* why) {
  const std::string path = LockPath(first.target);
  FileDescriptor file(path, kToLook);
  if (!file.IsOpen()) return errno == ENOENT ? Settled::kDone : Fail(first.target, SystemReason(), why);
  std::string text;
  if (!ReadOwnText(file.Get(), &text, why)) return Fail(first.target, *why, why);
  if (ReadLockNote(text).key != first.key) return Settled::kDone;  // of a later run, this one's perhaps
  if (!CanLock(file)) return Settled::kBusy;
  if (IsStillNamed(file.Get(), path)) *lock = std::move(file);
  return Settled::kDone;
}

// Renames the new file if it is still there. Without its folder the part is done.
bool PutInPlace(const JournalPart& part, std::string* why) {
  FileDescriptor folder;
  if (!PrivateFolder::OpenLeft(part.target, part.key, &folder, why)) return false;
  if (!folder.IsOpen()) return true;
  const std::string name = NewName(part.target);
  if (renameat(folder.Get(), name.c_str(), AT_FDCWD, part.target.c_str()) == 0) return true;
  *why = SystemReason();
  return errno == ENOENT;
}

// Where the caller holds the lock file itself, it can't be locked a second time and stays.
void RemoveLock(const JournalPart& part) {
  const std::string path = LockPath(part.target);
  const FileDescriptor file(path, kToLook);
  std::string text;
  std::string ignored;
  if (!file.IsOpen() || !CanLock(file) || !ReadOwnText(file.Get(), &text, &ignored)) return;
  if (ReadLockNote(text).key == part.key && IsStillNamed(file.Get(), path)) unlink(path.c_str());
}

Settled FinishCommit(const std::vector<JournalPart>& parts, std::string* why) {
  for (const JournalPart& part : parts) {
    if (!PutInPlace(part, why)) return Fail(part.target, *why, why);
  }
  std::set<std::string> folders;
  for (const JournalPart& part : parts) folders.insert(FolderOf(part.target));
  for (const std::string& folder : folders) {
    if (!SyncFolder(folder, why)) return Fail(folder, *why, why);
  }
  for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
    if (!PrivateFolder::Remove(part->target, part->key, why)) return Fail(part->target, *why, why);
    RemoveLock(*part);
  }
  return Settled::kDone;
}

}  // namespace

Settled SettleKilledRun(const std::string& target, std::string_view lockText, std::string* why) {
  const LockNote note = ReadLockNote(lockText);
  if (note.key.empty()) return Settled::kDone;
  JournalPart first{target, note.key};
  FileDescriptor firstLock;  // held to the end of this call
  if (!note.first.key.empty() && note.first.target != target) {
    const Settled locked = LockFirst(note.first, &firstLock, why);
    if (locked != Settled::kDone) return locked;
    if (firstLock.IsOpen()) first = note.first;
  }
  FileDescriptor folder;
  std::vector<JournalPart> parts;
  if (!PrivateFolder::OpenLeft(first.target, first.key, &folder, why)) return Fail(first.target, *why, why);
  if (folder.IsOpen() && !ReadJournal(folder, &parts, why)) return Fail(first.target, *why, why);
  if (!parts.empty()) {
    const Settled settled = FinishCommit(parts, why);
    // The last of all, since this call holds it. The caller removes its own.
    if (settled == Settled::kDone && firstLock.IsOpen()) unlink(LockPath(first.target).c_str());
    return settled;
  }
  return PrivateFolder::Remove(target, note.key, why) ? Settled::kDone : Settled::kLitter;
}

// A reader may have no right to write here; helpers then stay for the next one who has.
bool FinishKilledRun(const std::string& path, std::string* why) {
  const std::string target = PlainPath(path);
  const std::string lock = LockPath(target);
  const FileDescriptor file(lock, kToLook);
  std::string text;
  if (!file.IsOpen() || !CanLock(file) || !IsStillNamed(file.Get(), lock)) return true;
  if (!ReadOwnText(file.Get(), &text, why)) return false;
  if (ReadLockNote(text).key.empty()) return true;  // another account's, or just made
  const Settled settled = SettleKilledRun(target, text, why);
  if (settled == Settled::kBusy) *why = "another process is putting the files of its run in their places";
  if (settled == Settled::kDone && IsStillNamed(file.Get(), lock)) unlink(lock.c_str());
  return settled == Settled::kDone || settled == Settled::kLitter;
}
