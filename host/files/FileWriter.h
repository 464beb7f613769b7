#pragma once

#include <string>
#include <string_view>

// FileWriter writes a file from its start through a buffer, and remembers the first failure with its reason;
// after that nothing more is written.
class FileWriter {
public:
  FileWriter() = default;
  ~FileWriter();
  FileWriter(const FileWriter&) = delete;
  FileWriter& operator=(const FileWriter&) = delete;

  // Makes the file, or empties it. False when it can't be written.
  bool Open(const std::string& path);
  // Appends to the file. False when this or anything before it failed; a text still in the buffer may fail
  // later.
  bool Write(std::string_view text);
  // Writes what is left. False when the file isn't whole.
  bool Close();

  bool IsGood() const { return fFile >= 0 && fReason.empty(); }
  const std::string& Reason() const { return fReason; }

private:
  bool Flush();
  bool Fail();

  int fFile = -1;
  std::string fBuffer;
  std::string fReason;  // empty while nothing failed
};
