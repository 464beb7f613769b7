#pragma once

#include <string>

#include "host/engine/DuckCaseEngine.h"

class WorkDatabase;

// Opens a Parquet file as a relation that scans it in place. A schema that the user names replaces the dictionary
// in the file's metadata; `schema` is empty without one.
//
// Errors: DataError that names the file or the schema.
// Cost:   the metadata gives the bounds of most columns of numbers and dates; only the others, and texts, are
//         scanned (see MakeTypedRelation()).
CaseRelation OpenParquetFile(WorkDatabase& work, const std::string& path, const std::string& schema);
