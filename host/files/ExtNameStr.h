#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "host/files/FileWriter.h"

class SessionFiles;
struct OutputFile;

// ExtOutputStream is the output stream of a file that takes its place when the session commits its files.
//
// Use:        open it with ExtNameStr, write, close(). Before the commit the file is under a temporary name.
// Ownership:  borrows the file from the session, which must outlive an open stream.
// Failures:   the fail state, as for any stream, after an error of the host that names file and reason. The
//             run is then broken, unless the file could not even be opened.
class ExtOutputStream : public std::ostream {
public:
  ExtOutputStream();
  // Closes the file if it is open.
  ~ExtOutputStream() override;

  bool is_open() const { return fpFile != nullptr; }

  // Finishes the file. Without an open file the fail state is set.
  void close();

  // Number of clauses in the file, for the report of the session.
  void SetCount(std::int64_t count) { fCount = count; }

private:
  friend class ExtNameStr;

  // Has no buffer of its own: the writer has one.
  class Buffer : public std::streambuf {
  public:
    FileWriter writer;

  protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize count) override;
  };

  Buffer fBuffer;
  SessionFiles* fpSession = nullptr;  // borrowed; set while the file is open
  OutputFile* fpFile = nullptr;       // borrowed from the session; null unless open
  std::int64_t fCount = 0;
};

// ExtNameStr is a file name in generic text that a stream can be opened on, in the living session.
class ExtNameStr {
public:
  void SetGeneric(const std::string& name) { fName = name; }

  // The mode is always 2: the file is written from its start. False, with the stream in its fail state, after
  // an error of the host that names file and reason.
  bool Open(ExtOutputStream& stream, int mode);

private:
  std::string fName;
};
