#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "host/output/RunOutcome.h"

class HostSession;
struct RunRequest;

// When a file was changed last, and its size: tells whether it is still what it was.
struct FileStamp {
  // Of the file that is read for the name of a frame; an empty name has none.
  explicit FileStamp(const std::string& name);
  bool operator==(const FileStamp&) const = default;

  bool isKnown = false;  // else there is no file, or it can't be looked at
  std::string path;
  std::filesystem::file_time_type changed{};
  std::uintmax_t bytes = 0;
};

// Everything that it takes to repeat a run, apart from the frame itself, and the date. Options that weren't
// used are left out, and so is the command if the run didn't reach it.
std::vector<RunFact> FactsOf(HostSession& session, const RunRequest& request);

// The same after a draw, with what it takes to recognise frame and plan: their checksums and the text of the
// plan. `frame` is the frame's stamp before it was opened. Reads the frame once more, from its first byte to
// its last: about 3 s of processor time for 1 GB.
// Errors: DataError if frame or plan can't be read a second time.
std::vector<RunFact> FactsOfDraw(HostSession& session, const RunRequest& request, const FileStamp& frame);
