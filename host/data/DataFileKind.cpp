#include "host/data/DataFileKind.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "host/data/DataError.h"
#include "host/text/VariableNames.h"

namespace {

namespace fs = std::filesystem;

constexpr std::array<std::pair<const char*, DataFileKind>, 7> kExtensions = {{
    {"", DataFileKind::kNative},
    {".SAV", DataFileKind::kNative},
    {".PARQUET", DataFileKind::kParquet},
    {".CSV", DataFileKind::kCsv},
    {".TSV", DataFileKind::kTsv},
    {".JSON", DataFileKind::kJson},
    {".NDJSON", DataFileKind::kNdJson},
}};

std::string ReasonOf(int error) {
  return std::generic_category().message(error);
}

}  // namespace

DataFileKind KindOfFile(const std::string& path) {
  const std::string extension = GetUpperString(fs::path(path).extension().string());
  for (const auto& [known, kind] : kExtensions) {
    if (extension == known) return kind;
  }
  return DataFileKind::kUnknown;
}

std::string SchemaPathBeside(const std::string& path) {
  return fs::path(path).replace_extension(".schema.json").string();
}

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
