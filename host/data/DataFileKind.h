#pragma once

#include <string>

// The kinds of data files, told by the extension of the name without regard to case.
enum class DataFileKind { kNative, kParquet, kCsv, kTsv, kJson, kNdJson, kUnknown };

// A name without an extension is a native file's.
DataFileKind KindOfFile(const std::string& path);

// The Table Schema file that stands beside a text file: frame.csv has frame.schema.json.
std::string SchemaPathBeside(const std::string& path);

// Whether a name is taken: a file, a folder or anything else.
bool FileExists(const std::string& path);

// The file that a name stands for when it is read: a name without an extension is the file itself if that
// exists, else the one with .sav.
std::string PathToRead(const std::string& path);

// Checks that a path names a regular file that may be read, and names what is wrong with it.
// Errors: DataError.
void CheckReadableFile(const std::string& path);
