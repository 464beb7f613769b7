#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/environment/HostErrors.h"
#include "host/files/PathClaims.h"
#include "host/files/TemporaryFile.h"

// A file that a run writes, with what is written beside it.
struct OutputFile {
  FileRole role;
  std::string path;         // as the user wrote it
  std::string target;       // where it goes
  std::int64_t cases = 0;   // cases of a data file, clauses of a rule file
  bool isFinished = false;  // whole and on the disk, under the temporary name
  // In the order in which they are put in their places; the last is the file itself. A schema comes before
  // its data: a new schema beside old data is refused when it doesn't fit, data without its schema would be
  // read with other types and nobody would know. Empty for a table that the session keeps in memory.
  std::vector<std::unique_ptr<TemporaryFile>> parts;
};

// SessionFiles knows the files of a session: what it reads and writes, and what it has written. The files of
// a run, its reports among them, appear together when the run ends well, or not at all.
//
// CommitFiles() takes each step for all files before the next step: keep every old file, note in every lock
// file where the journal will be, write the journal (CommitJournal.h), rename every new file, bring every
// folder to the disk, remove the helpers. So everything that can fail for lack of space, rights or folders
// has failed before the first rename. What is in the folders when the process is killed or the power fails:
//
//   before the journal       all old files, with helpers beside them
//   after it                 some new files and some old ones, each of them whole; helpers and the journal
//   after the last rename    all new files, with what is left of the helpers
//
// A file system can't rename several files at once, so the middle state exists on the disk. But when this
// program opens one of the files, to read or to write it, it finishes the commit first (KilledRun.h), and then
// all are new. Other programs can see the middle state.
//
// A failure, in contrast to a kill, has no such state, since the files renamed so far are restored. Where
// even that fails, as on a disk that takes nothing any more, the journal stays, as after a kill.
//
// Use:        a layer of HostSession. Claim paths; Start() and Finish() each output; CommitFiles() or
//             DiscardFiles() at the end of the run. Destruction discards what isn't committed.
// Ownership:  owns the output files; pointers to them live until CommitFiles(), DiscardFiles(), Withdraw() or
//             Abandon().
// Threads:    that of the session.
// Failures:   Start() and Finish() throw DataError; CommitFiles() ends the run and answers with a bool.
class SessionFiles {
public:
  // Of the living session: for what the procedure constructs without arguments.
  static SessionFiles& Current();
  ~SessionFiles();

  PathClaims& Claims() { return fClaims; }

  // Starts an output file, with the schema file beside it if its kind has one. Never null. `target` is where
  // the file goes, `path` how the user wrote it. Errors: DataError with file and reason.
  OutputFile* Start(FileRole role, const std::string& path, const std::string& target);

  // Brings an output file to the disk. Errors: DataError with file and reason; the caller then abandons it.
  void Finish(OutputFile* file);

  // Removes an output file that nothing was put in; the run goes on without it.
  void Withdraw(OutputFile* file);
  // Removes one that was begun. The run is then broken: none of its files is put in its place.
  void Abandon(OutputFile* file);
  bool IsBroken() const { return fbBroken; }

  // Puts all finished files in their places. False when the old files are all that there is: after a failure,
  // which it reports as an error of the host, and, in silence, for a broken run.
  bool CommitFiles();
  // Removes all files that aren't in their places.
  void DiscardFiles();

  // The files that are finished, in the order in which they were started; still under their temporary names
  // before the commit.
  std::vector<const OutputFile*> FinishedFiles() const;
  // The files that CommitFiles() has put in their places, without their parts.
  const std::vector<OutputFile>& CommittedFiles() const { return fvCommitted; }
  // The files that were claimed to be written and are neither finished nor committed.
  std::vector<PathClaims::Output> MissingFiles() const;

private:
  using Step = std::function<bool(TemporaryFile&, std::string* why)>;
  // One step of the commit, for every part of every file. Errors: DataError with file and reason.
  void ForEachPart(const Step& step);
  void WriteJournalOfAll();
  const OutputFile* FirstOnDisk() const;  // null if all outputs are tables in memory
  void SyncFolders();
  // Takes a commit back that has failed. False where that failed too; the helpers are then left.
  bool TakeBack();

  PathClaims fClaims;
  std::vector<std::unique_ptr<OutputFile>> fvFiles;  // in the order in which they were started
  std::vector<OutputFile> fvCommitted;
  bool fbBroken = false;
};

// The failure of an output file, as all messages about one are worded.
DataError CannotWrite(const std::string& path, const std::string& why);

// Ends the run of the living session; the program calls one of them after the procedure.
bool CommitFiles();
void DiscardFiles();
