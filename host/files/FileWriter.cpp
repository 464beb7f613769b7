#include "host/files/FileWriter.h"

#include <cerrno>

#include "host/files/TemporaryFile.h"

namespace {
constexpr std::size_t kBufferSize = std::size_t{1} << 18;  // bytes
}

bool FileWriter::Fail() {
  if (fReason.empty()) fReason = SystemReason();
  return false;
}

bool FileWriter::Open(const std::string& path) {
  fFile = FileDescriptor(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW);
  const bool isOpen = fFile.IsOpen() || Fail();  // before anything else can change errno
  fBuffer.reserve(kBufferSize);
  return isOpen;
}

bool FileWriter::Write(std::string_view text) {
  if (!IsGood()) return false;
  fBuffer += text;
  return fBuffer.size() < kBufferSize || Flush();
}

bool FileWriter::Flush() {
  std::string_view left = fBuffer;
  while (!left.empty()) {
    const ssize_t written = write(fFile.Get(), left.data(), left.size());
    if (written < 0 && errno == EINTR) continue;  // a signal came first, nothing was written
    if (written < 0) return Fail();
    left.remove_prefix(static_cast<std::size_t>(written));
  }
  fBuffer.clear();
  return true;
}

bool FileWriter::Close() {
  if (!fFile.IsOpen()) return false;
  if (fReason.empty()) Flush();
  if (!fFile.Close()) Fail();
  return fReason.empty();
}
