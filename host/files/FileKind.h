#pragma once

#include <string>

// The kinds of data files. The extension alone decides, without regard to case: kinds aren't guessed from the
// contents, so that a name says how a file will be read, and an output can be named before it exists.
//
//   .sav, no extension       native: a DuckDB database with our dictionary     read and written
//   .parquet                 Parquet, with our dictionary in its metadata      read and written
//   .csv, .tsv               delimited text, with a Table Schema beside it     read and written
//   .json, .ndjson           a list of objects, one object a line              read
//   .csv.gz, ...             one of the text files, compressed                 read
//
// kMemory is no kind of file: a table that a session keeps in memory, see PathClaims::KeepInMemory(). No name
// has it.
enum class FileKind { kNative, kParquet, kCsv, kTsv, kJson, kNdJson, kMemory, kUnknown };

FileKind KindOf(const std::string& path);

// Whether a data file of that name can be written.
bool CanBeWritten(const std::string& path);

// Whether the dictionary of such a file is in a Table Schema file beside it.
bool HasSchemaFile(FileKind kind);

// The schema file beside a data file: "dir/frame.schema.json" for "dir/frame.csv" and "dir/frame.csv.gz".
std::string SchemaPath(const std::string& path);
