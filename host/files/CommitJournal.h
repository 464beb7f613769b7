#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/files/FileDescriptor.h"

// The journal of a commit: what makes several renames one step.
//
// A run that puts several files in their places writes a journal first: a list of all parts, in the private
// folder of the first part. The journal is created by a rename, and that rename is the commit: before it the
// run has changed nothing, after it any later run that finds the journal can finish the commit. The lock file
// of every other part says where the journal is. So it is found from any of the files:
//
//   .s.csv.svselect-lock         KEY1
//   .s.csv.svselect-KEY1/        new.csv, old, journal (KEY1 /dir/s.csv, KEY2 /dir/j.csv)
//   .j.csv.svselect-lock         KEY2, and: the journal is with KEY1 /dir/s.csv
//   .j.csv.svselect-KEY2/        new.csv, old
//
// The living run holds the locks of all parts. When it has finished, it removes the first part's helpers
// last; when a rename fails, it restores the old files and then removes the journal, which takes the commit
// back. At any moment a journal therefore means that each part is in its place or still `new` in its folder.

// A part of a commit: where its file goes, and the key of its private folder.
struct JournalPart {
  std::string target;  // a plain path
  std::string key;
};

// Names in a private folder. The new file keeps its extension, since that says how it is read.
std::string NewName(const std::string& target);
inline constexpr const char* kOldName = "old";
inline constexpr const char* kJournalName = "journal";

// Writes the journal into the open folder of the first part, and brings it to the disk.
// Failures: false, with the system's reason in `why`; the folder then has no journal.
bool WriteJournal(const FileDescriptor& folder, const std::vector<JournalPart>& parts, std::string* why);

// Reads the journal of a folder; `parts` is empty if the folder has no journal. False, with the reason in `why`,
// when the journal can't be read.
bool ReadJournal(const FileDescriptor& folder, std::vector<JournalPart>* parts, std::string* why);

// What a lock file says: the key of the part's own folder, and the first part of its commit. The latter is
// empty until the commit, and in the first part's own lock file.
struct LockNote {
  std::string key;
  JournalPart first;
};
std::string TextOf(const LockNote& note);
// A text that no run has written gives an empty note.
LockNote ReadLockNote(std::string_view text);

// The text of a regular file of this account. False, with the reason in `why`, when it can't be read; the
// text of anything else is empty.
bool ReadOwnText(int file, std::string* text, std::string* why);
