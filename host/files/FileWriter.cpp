#include "host/files/FileWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "host/files/TemporaryFile.h"

namespace {
constexpr std::size_t kBufferSize = std::size_t{1} << 18;  // bytes
}

FileWriter::~FileWriter() {
  if (fFile >= 0) close(fFile);
}

bool FileWriter::Fail() {
  if (fReason.empty()) fReason = SystemReason();
  return false;
}

bool FileWriter::Open(const std::string& path) {
  fFile = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  fBuffer.reserve(kBufferSize);
  return fFile >= 0 || Fail();
}

bool FileWriter::Write(std::string_view text) {
  if (!IsGood()) return false;
  fBuffer += text;
  return fBuffer.size() < kBufferSize || Flush();
}

bool FileWriter::Flush() {
  std::string_view left = fBuffer;
  while (!left.empty()) {
    const ssize_t written = write(fFile, left.data(), left.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return Fail();
    left.remove_prefix(static_cast<std::size_t>(written));
  }
  fBuffer.clear();
  return true;
}

bool FileWriter::Close() {
  if (fFile < 0) return false;
  if (fReason.empty()) Flush();
  if (close(fFile) != 0) Fail();
  fFile = -1;
  return fReason.empty();
}
