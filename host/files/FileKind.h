#pragma once

#include <string>

// What a data file is, by its extension without regard to case.
enum class FileKind { kNative, kParquet, kCsv, kTsv, kJson, kNdJson, kUnknown };

// A name without an extension is a native file's.
FileKind KindOf(const std::string& path);

bool CanBeWritten(FileKind kind);

// Whether a file of that kind has its dictionary in a Table Schema file beside it.
bool HasSchemaFile(FileKind kind);

// The schema file beside a data file: "dir/frame.schema.json" for "dir/frame.csv".
std::string SchemaPath(const std::string& path);
