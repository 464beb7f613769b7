#include "host/files/ExtNameStr.h"

#include <utility>

#include "host/environment/HostErrors.h"
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
  OutputFile* const file = std::exchange(fpFile, nullptr);
  file->cases = fCount;
  try {
    if (!fBuffer.writer.Close()) throw CannotWrite(file->path, fBuffer.writer.Reason());
    fpSession->Finish(file);
  } catch (const DataError& error) {
    IssueHostMessage(error.what(), kErrorLevel);
    fpSession->Abandon(file);
    setstate(failbit);
  }
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
  OutputFile* file = nullptr;
  try {
    file = session.Start(FileRole::kRule, fName, fName);
    if (!stream.fBuffer.writer.Open(file->parts.back()->TemporaryPath())) {
      throw CannotWrite(fName, stream.fBuffer.writer.Reason());
    }
    stream.fpSession = &session;
    stream.fpFile = file;
    stream.clear();
    return true;
  } catch (const DataError& error) {
    IssueHostMessage(error.what(), kErrorLevel);
    if (file != nullptr) session.Abandon(file);
    stream.fpFile = nullptr;
    stream.clear(std::ios::failbit);
    return false;
  }
}
