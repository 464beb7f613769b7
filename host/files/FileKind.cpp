#include "host/files/FileKind.h"

#include <filesystem>

#include "host/text/VariableNames.h"

FileKind KindOf(const std::string& path) {
  const std::string extension = GetUpperString(std::filesystem::path(path).extension().string());
  if (extension.empty() || extension == ".SAV") return FileKind::kNative;
  if (extension == ".PARQUET") return FileKind::kParquet;
  if (extension == ".CSV") return FileKind::kCsv;
  if (extension == ".TSV") return FileKind::kTsv;
  if (extension == ".JSON") return FileKind::kJson;
  if (extension == ".NDJSON") return FileKind::kNdJson;
  return FileKind::kUnknown;
}

bool CanBeWritten(FileKind kind) {
  return kind != FileKind::kUnknown && kind != FileKind::kJson && kind != FileKind::kNdJson;
}

bool HasSchemaFile(FileKind kind) {
  return kind != FileKind::kUnknown && kind != FileKind::kNative && kind != FileKind::kParquet;
}

std::string SchemaPath(const std::string& path) {
  return std::filesystem::path(path).replace_extension(".schema.json").string();
}
