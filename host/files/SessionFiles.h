#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/files/PathClaims.h"
#include "host/files/TemporaryFile.h"

// A file that a run writes, with what belongs to it.
struct OutputFile {
  FileRole role;
  std::string path;         // as the user wrote it
  std::string target;       // where it goes
  std::int64_t cases = 0;   // cases of a data file, clauses of a rule file
  bool isFinished = false;  // whole and on the disk, under the temporary name
  // In the order in which they take their places; the last is the file itself.
  std::vector<std::unique_ptr<TemporaryFile>> parts;
};

// SessionFiles knows the files of a session: what it reads and writes, and what it has written. The files of
// a run appear together when it ends well, or not at all. A session layer.
class SessionFiles {
public:
  static SessionFiles& Current();
  ~SessionFiles();

  PathClaims& Claims() { return fClaims; }

  // Starts an output file; with it the schema file beside it, if its kind has one, as the first part. Null
  // when it can't be, after an error of the host that names file and reason. Lives until CommitFiles() or
  // DiscardFiles(). `target` is where the file goes, `path` how the user wrote it.
  OutputFile* Start(FileRole role, const std::string& path, const std::string& target);

  // Brings an output file to the disk. False after an error of the host.
  bool Finish(OutputFile& file);

  // Takes an output file back that nothing was put in; the run goes on without it.
  void Withdraw(OutputFile* file);
  // Takes back one that was begun; what was written of it is removed. The run is then broken: none of its
  // files is put in its place.
  void Abandon(OutputFile* file);
  bool IsBroken() const { return fbBroken; }

  // Puts all finished files in their places, a schema before its data. On a failure the old files come back,
  // an error of the host names file and reason, and the answer is false, as for a broken run.
  bool CommitFiles();
  // Removes all files that aren't in their places.
  void DiscardFiles();

  // The files that CommitFiles() has put in their places, without their parts.
  const std::vector<OutputFile>& CommittedFiles() const { return fvCommitted; }
  // The files that were claimed to be written and haven't come into being.
  std::vector<PathClaims::Output> MissingFiles() const;

private:
  PathClaims fClaims;
  std::vector<std::unique_ptr<OutputFile>> fvFiles;  // in the order in which they were started
  std::vector<OutputFile> fvCommitted;
  bool fbBroken = false;
};

// Issues an error of the host that names an output file and the reason why it can't be written.
void IssueFileError(const std::string& path, const std::string& why);

// What the program calls when the procedure has returned.
bool CommitFiles();
void DiscardFiles();
