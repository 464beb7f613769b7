#include "host/files/FileKind.h"

#include <filesystem>

#include "host/text/VariableNames.h"

namespace {

std::string UpperExtension(const std::filesystem::path& path) {
  return GetUpperString(path.extension().string());
}

bool IsCompressed(const std::string& path) {
  return UpperExtension(path) == ".GZ";
}

// Without the .gz of a compressed file.
std::filesystem::path PlainName(const std::string& path) {
  const std::filesystem::path name = path;
  return IsCompressed(path) ? name.parent_path() / name.stem() : name;
}

}  // namespace

FileKind KindOf(const std::string& path) {
  const std::string extension = UpperExtension(PlainName(path));
  if (extension == ".CSV") return FileKind::kCsv;
  if (extension == ".TSV") return FileKind::kTsv;
  if (extension == ".JSON") return FileKind::kJson;
  if (extension == ".NDJSON") return FileKind::kNdJson;
  if (IsCompressed(path)) return FileKind::kUnknown;
  if (extension.empty() || extension == ".SAV") return FileKind::kNative;
  return extension == ".PARQUET" ? FileKind::kParquet : FileKind::kUnknown;
}

bool CanBeWritten(const std::string& path) {
  const FileKind kind = KindOf(path);
  return !IsCompressed(path) && kind != FileKind::kUnknown && kind != FileKind::kJson &&
         kind != FileKind::kNdJson;
}

bool HasSchemaFile(FileKind kind) {
  return kind != FileKind::kUnknown && kind != FileKind::kNative && kind != FileKind::kParquet;
}

std::string SchemaPath(const std::string& path) {
  return PlainName(path).replace_extension(".schema.json").string();
}
