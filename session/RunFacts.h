#pragma once

#include <string>
#include <vector>

#include "host/files/FileWatch.h"
#include "host/output/RunOutcome.h"

class HostSession;
struct RunRequest;

// Tells whether a file is still what it was.
struct FileStamp {
  explicit FileStamp(std::string file);
  bool IsSame() const;

  std::string path;  // empty if there is no file
  FileState state;
};

// The stamp of the file that is read for the name of a frame; an empty name has none.
FileStamp StampOfFrame(const std::string& name);

// The stamps of the plan that the session's command names, and of its tables in files of their own; none if it
// can't be read.
std::vector<FileStamp> StampsOfPlan();

// Everything that it takes to repeat a run, apart from the frame itself, and the date. Options that weren't
// used are left out, and so is the command if the run didn't reach it. The plan is there with its checksum and
// text if it can be read.
std::vector<RunFact> FactsOf(HostSession& session, const RunRequest& request);

// The same after a draw, with what it takes to recognise frame and plan: their checksums and the text of the
// plan. `frame` is the frame's stamp before it was opened. Reads the frame once more, from its first byte to
// its last: about 3 s of processor time for 1 GB.
// Errors: DataError if frame or plan can't be read a second time.
std::vector<RunFact> FactsOfDraw(HostSession& session, const RunRequest& request, const FileStamp& frame);
