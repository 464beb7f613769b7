#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "host/files/FileWriter.h"

struct OutputFile;

// ExtOutputStream is an output file stream whose file takes its place when the session commits its files.
class ExtOutputStream : public std::ostream {
public:
  ExtOutputStream();
  // Closes the file, if close() wasn't called.
  ~ExtOutputStream() override;

  bool is_open() const { return fpFile != nullptr; }

  // Finishes the file. When it isn't whole, the fail state is set and an error of the host names file and
  // reason. Without an open file the fail state is set.
  void close();

  // How many clauses the file holds, for the report of the session.
  void SetCount(std::int64_t count) { fCount = count; }

private:
  friend class ExtNameStr;

  // Hands everything over to the writer, which has the buffer.
  class Buffer : public std::streambuf {
  public:
    FileWriter writer;

  protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize count) override;
  };

  Buffer fBuffer;
  OutputFile* fpFile = nullptr;  // borrowed from SessionFiles; null unless open
  std::int64_t fCount = 0;
};

// ExtNameStr opens a stream on a file name in generic text.
class ExtNameStr {
public:
  void SetGeneric(const std::string& name) { fName = name; }

  // The mode is always 2: the file is written from its start. A file that can't be opened puts the stream
  // into its fail state, after an error of the host that names file and reason.
  bool Open(ExtOutputStream& stream, int mode);

private:
  std::string fName;
};
