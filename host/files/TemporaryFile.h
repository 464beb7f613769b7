#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "host/files/CommitJournal.h"
#include "host/files/FileLock.h"
#include "host/files/PrivateFolder.h"

// The system's reason for the last failure, from errno.
std::string SystemReason();

// The folder of a path, "." for one without.
std::string FolderOf(const std::string& path);
// Brings the names in a folder to the disk.
bool SyncFolder(const std::string& folder, std::string* why);

// The file that a path leads to: absolute, without symbolic links. Neither the file nor the target of a link
// need exist.
std::string PlainPath(const std::string& path);
// Why a path must not be written through the symbolic links that it ends in; empty if it may. In a sticky
// folder that everybody can write to, another account could have planted the link, to have a file of the
// caller's overwritten.
std::string WhyLinkIsRefused(const std::string& path);

// The hidden name of a file's helper: "dir/.name" + suffix for "dir/name".
std::string BesideName(const std::string& path, std::string_view suffix);

// Room that BesideName() needs for what it adds to a name, the dot in front included, in bytes. A name must
// be shorter than the file system's limit by this.
inline constexpr std::size_t kBesideRoom = 24;

// TemporaryFile is a file that is written beside its target and takes the target's place once it is whole.
// The target is the old file or the new one at any moment, never half of one. For "dir/s.csv" these helpers
// are beside it while the object lives, with twelve random letters and digits for KEY:
//
//   .s.csv.svselect-KEY/new.csv  what is being written (DuckDB may add a log with .wal behind the name)
//   .s.csv.svselect-KEY/old      a second name (hard link) of the old file, from KeepOldFile() to Settle()
//   .s.csv.svselect-KEY/journal  in the first of several files, while they are put in their places
//   .s.csv.svselect-lock         the lock that keeps other runs away, see FileLock; KEY is written in it
//
// Others may write into the target's folder: PrivateFolder and FileLock say what keeps them out.
//
// What a kill or a power cut leaves:
//
//   before Replace()       the old file under its name. The helpers stay until the next run that reads or
//                          writes this target finds the lock file and removes them. Where there is a journal,
//                          it finishes the commit first, see CommitJournal.h.
//   after Replace()        the new file, whole: Finish() had brought its contents to the disk. Until
//                          SyncPlace() a power cut may bring the old file back, also whole.
//
// The helpers are in the target's folder because a rename is atomic only within a file system.
//
// Use:        Open(), write TemporaryPath() by whatever means, then Finish(), KeepOldFile(), Replace(),
//             SyncPlace() and Settle() in this order. SessionFiles takes each step for all files of a run
//             before the next one. Until Settle(), Restore() brings the old file back.
// Ownership:  owns the helpers and the lock. Destroyed before Settle(), it restores the old file and removes
//             what it wrote. Where a helper can't be removed, the lock file stays too, so that it's found.
// Failures:   false or null, with the system's reason in `why`.
class TemporaryFile {
public:
  // Takes the target's lock and removes what a killed run left beside it. Where the target is a symbolic
  // link, the file that it leads to is replaced, not the link.
  static std::unique_ptr<TemporaryFile> Open(const std::string& target, std::string* why);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  // Only this process can use the path. Nothing is there at first.
  const std::string& TemporaryPath() const { return fTemporary; }

  // Gives the written file the permissions of the file that it is to replace, and flushes it.
  bool Finish(std::string* why);
  // Gives the old file a second name, for Restore().
  bool KeepOldFile(std::string* why);
  // Puts the file in the target's place: one rename. REQUIRES: Finish() and KeepOldFile() were true.
  bool Replace(std::string* why);
  // Flushes the folder, so that the rename survives a power cut.
  bool SyncPlace(std::string* why) const;
  // Undoes Replace(); without one it does nothing. The new file gets its temporary name back first, so that
  // it isn't lost for who finishes the commit if this process is killed here. Where the old file couldn't be
  // kept, that is a failure, and the new one stays.
  // Takes no memory.
  bool Restore();
  // Deletes the old file; Restore() is no longer possible.
  void Settle();

  // For a commit of several files; JournalPart is what it knows of each.
  JournalPart Part() const { return {fTarget, fKey}; }
  // Notes in the lock file, on the disk, where the journal of the commit is.
  bool NoteJournal(const JournalPart& first, std::string* why) { return fpLock->Note({fKey, first}, why); }
  // The folder that the first part's journal is in.
  const FileDescriptor& Folder() const { return fpFolder->Folder(); }
  // Leaves everything as if this process had been killed here; the next run that finds the journal goes on.
  void Leave();

private:
  TemporaryFile(std::string target, std::string key, std::unique_ptr<FileLock> lock,
                std::unique_ptr<PrivateFolder> folder);

  std::string fTarget;
  std::string fKey;
  std::unique_ptr<FileLock> fpLock;         // never null; goes after the folder that its file names
  std::unique_ptr<PrivateFolder> fpFolder;  // never null
  std::string fName;                        // of the new file in the folder
  std::string fTemporary;
  bool fbHasOld = false;  // the old file has its second name
  bool fbIsNew = false;   // there was no old file
  bool fbReplaced = false;
};

// Writes or replaces a file as a whole. False, with the reason in `why`, when it can't be written; the old
// file is then untouched.
bool WriteWholeFile(const std::string& path, std::string_view content, std::string* why);
