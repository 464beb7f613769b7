#include "host/files/ExtNameStr.h"

#include "host/files/SessionFiles.h"

ExtOutputStream::ExtOutputStream() : std::ostream(nullptr) {
  rdbuf(&fBuffer);
}

ExtOutputStream::~ExtOutputStream() {
  if (is_open()) close();
}

void ExtOutputStream::close() {
  if (!is_open()) {
    setstate(failbit);
    return;
  }
  OutputFile* file = fpFile;
  fpFile = nullptr;
  file->cases = fCount;
  const bool isWhole = fBuffer.writer.Close();
  if (!isWhole) {
    IssueFileError(file->path, fBuffer.writer.Reason());
  }
  if (isWhole && SessionFiles::Current().Finish(*file)) return;
  SessionFiles::Current().Abandon(file);
  setstate(failbit);
}

ExtOutputStream::Buffer::int_type ExtOutputStream::Buffer::overflow(int_type c) {
  if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
  const char one = traits_type::to_char_type(c);
  return writer.Write({&one, 1}) ? c : traits_type::eof();
}

std::streamsize ExtOutputStream::Buffer::xsputn(const char* text, std::streamsize count) {
  return writer.Write({text, static_cast<std::size_t>(count)}) ? count : 0;
}

bool ExtNameStr::Open(ExtOutputStream& stream, int) {
  SessionFiles& session = SessionFiles::Current();
  OutputFile* file = session.Start(FileRole::kRule, fName, fName);
  if (file != nullptr && !stream.fBuffer.writer.Open(file->parts.back()->TemporaryPath())) {
    IssueFileError(fName, stream.fBuffer.writer.Reason());
    session.Abandon(file);
    file = nullptr;
  }
  stream.fpFile = file;
  stream.clear(file == nullptr ? std::ios::failbit : std::ios::goodbit);
  return file != nullptr;
}
