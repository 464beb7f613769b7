#include "host/files/ReadableFile.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <vector>

#include "host/environment/HostErrors.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kPieceBytes = 1 << 16;

std::string ReasonOf(int error) {
  return std::generic_category().message(error);
}

}  // namespace

bool FileExists(const std::string& path) {
  struct stat found {};
  if (stat(path.c_str(), &found) == 0) return true;
  if (errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG || errno == ELOOP) return false;
  throw DataError(fmt::format("{}: {}", path, ReasonOf(errno)));
}

std::string PathToRead(const std::string& path) {
  const bool isNamedInFull = fs::path(path).has_extension() || FileExists(path);
  return isNamedInFull ? path : path + ".sav";
}

void CheckReadableFile(const std::string& path) {
  struct stat found {};
  if (stat(path.c_str(), &found) != 0) {
    throw DataError(fmt::format("{}: {}", path, errno == ENOENT ? "there is no such file" : ReasonOf(errno)));
  }
  if (S_ISDIR(found.st_mode)) throw DataError(fmt::format("{}: a folder, expected a file", path));
  if (!S_ISREG(found.st_mode)) throw DataError(fmt::format("{}: a pipe or device, expected a file", path));
  if (access(path.c_str(), R_OK) != 0) throw DataError(fmt::format("{}: {}", path, ReasonOf(errno)));
}

bool ReadWholeFile(const std::string& path, std::string* text, std::string* why) {
  text->clear();
  errno = 0;  // the stream says that it failed, and errno, mostly, why
  std::ifstream file(path, std::ios::binary);
  std::vector<char> piece(kPieceBytes);
  bool isRead = file.is_open();
  while (isRead && !file.eof()) {
    file.read(piece.data(), static_cast<std::streamsize>(piece.size()));
    text->append(piece.data(), static_cast<std::size_t>(file.gcount()));
    isRead = !file.bad();
  }
  if (!isRead) *why = errno == 0 ? "can't be read" : ReasonOf(errno);
  return isRead;
}
