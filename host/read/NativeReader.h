#pragma once

#include <string>

#include "host/engine/DuckCaseEngine.h"

class WorkDatabase;

// Opens a native file for reading, as the database that it is: attached read-only under a name of its own.
// The dictionary is read at once; cases are read in place, without a copy, whenever a cursor asks for them.
// While the relation or an engine of it lives, the file stays attached, and DuckDB's lock keeps writers away.
//
// Tables and versions of the format are described in host/write/NativeFile.h. Variables keep the SQL types of
// their columns, so that a copy of the file has the same ones.
//
// The file may come from anybody. The database is shut off from all other files before it is attached; one
// whose tables are more than values, or that has a log beside it, is refused before anything is read from it.
//
// Ownership:  the relation borrows the work database.
// Errors:     DataError that names the file: "in use by another process" when someone writes it, else "no
//             native data file" with the reason in brackets.
CaseRelation OpenNativeFile(WorkDatabase& work, const std::string& path);
