#include "host/data/ReadableFile.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "host/data/DataError.h"

namespace {

namespace fs = std::filesystem;

std::string ReasonOf(int error) {
  return std::generic_category().message(error);
}

}  // namespace

bool FileExists(const std::string& path) {
  std::error_code ignored;
  return fs::exists(path, ignored);
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
