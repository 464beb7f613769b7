#pragma once

#include <string>
#include <string_view>

#include "host/files/FileDescriptor.h"

// FileWriter writes a file from its start, through a buffer.
//
// Use:       Open(), Write() any number of times, Close(). The file is whole only if Close() says so.
// Failures:  false; Reason() has the system's reason for the first failure. After that nothing more is
//            written, so that a caller may check once at the end. It remembers instead of throwing because a
//            stream buffer writes through it.
// Cost:      one system call for each 256 KiB.
class FileWriter {
public:
  FileWriter() = default;

  // Makes the file. Fails where something has its name already.
  bool Open(const std::string& path);
  // Appends to the file. True doesn't mean that the text is on the disk: it may still fail in the buffer.
  bool Write(std::string_view text);
  // Writes the rest of the buffer and closes the file. False when the file isn't whole or was never open.
  bool Close();

  bool IsGood() const { return fFile.IsOpen() && fReason.empty(); }
  const std::string& Reason() const { return fReason; }

private:
  bool Flush();
  bool Fail();

  FileDescriptor fFile;
  std::string fBuffer;
  std::string fReason;  // empty while nothing has failed
};
