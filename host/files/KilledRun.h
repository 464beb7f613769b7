#pragma once

#include <string>
#include <string_view>

// Finishes or clears away what a killed run left beside its files. See CommitJournal.h for what that is.
//
// A lock file that no process has locked belongs to a killed run. The process that finds it locks it and looks
// for the journal of the commit. If there is a journal, the commit is finished: every part that isn't in its
// place yet is renamed, the folders are synced to the disk, and all helpers of all parts are removed, those of
// the first part last. Otherwise only the helpers of this part are removed; the old file is still untouched.
//
// Every step can be repeated, so this process may be killed at any point, too. Two processes can't do it at
// once: only the holder of the first part's lock checks and moves any part of that commit. Only files of this
// account are trusted, and links are never followed.

enum class Settled {
  kDone,
  kBusy,    // another process is at it
  kLitter,  // no commit was begun, but the helpers can't be removed
  kFailed   // a commit was begun, and can't be finished now
};

// REQUIRES: the caller holds the lock of the lock file beside `target`, which has this text. It removes the
// lock file afterwards if the answer is kDone.
// Failures: kLitter and kFailed, with the reason in `why`.
Settled SettleKilledRun(const std::string& target, std::string_view lockText, std::string* why);

// For a reader of `path`, before it looks whether the file is there. Without a lock file beside the file, or
// with that of a living run, nothing is done.
// Failures: false, with the reason in `why`, when a commit isn't finished: the file may then not fit the
// other files of its run.
bool FinishKilledRun(const std::string& path, std::string* why);
