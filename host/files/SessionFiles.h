#pragma once

#include <cstdint>
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
  // read with other types and nobody would know.
  std::vector<std::unique_ptr<TemporaryFile>> parts;
};

// SessionFiles knows the files of a session: what it reads and writes, and what it has written. The files of
// a run appear together when the run ends well, or not at all.
//
// CommitFiles() takes each step for all files before the next step: keep every old file, rename every new
// one, bring every folder to the disk, forget the old files. So everything that can fail for lack of space,
// rights or folders has failed before the first rename; and between the first and the last rename there are
// only renames. What is in the folders when the process is killed or the power fails:
//
//   before the commit        all old files; helpers beside them, which the next run removes
//   among the renames        some new files and some old ones, each of them whole
//   after the last rename    all new files; helpers as above
//
// The middle state can't be avoided: a file system has no rename of several files. A
// failure, in contrast to a kill, has no such state, since the files renamed so far are restored.
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

  // The files that CommitFiles() has put in their places, without their parts.
  const std::vector<OutputFile>& CommittedFiles() const { return fvCommitted; }
  // The files that were claimed to be written and weren't.
  std::vector<PathClaims::Output> MissingFiles() const;

private:
  // One step of the commit, for every part of every file. Errors: DataError with file and reason.
  void ForEachPart(bool (*step)(TemporaryFile&, std::string* why));

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
