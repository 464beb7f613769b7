#pragma once

#include <string>

#include "host/engine/DuckCaseEngine.h"
#include "host/files/FileKind.h"

class WorkDatabase;

// Which reader splits a delimited text. The frame is the same in every respect; but plain texts are loaded many
// times faster by DuckDB.
enum class TextReader {
  kFastest,  // DuckDB's where the text is plain, else our own
  kOwn
};

// Opens a CSV, TSV or JSON file as a relation in the work database. A schema that the user names replaces the one
// beside the file, which is then not even read; `schema` is empty without one.
// Errors: DataError that names the file or the schema.
CaseRelation OpenTextFile(WorkDatabase& work, const std::string& path, FileKind kind,
                          const std::string& schema, TextReader reader = TextReader::kFastest);
