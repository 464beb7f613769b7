#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/engine/CaseEngine.h"

class HostSession;
class WorkDatabase;
struct TypedSource;

// Opening data files and queries as frames. How cases reach the engine depends on the kind of file:
//
//   native          attached read-only; cases are read in place
//   Parquet         scanned by each query; cases are read in place
//   CSV, TSV, JSON  loaded once and typed over all rows (TextTable); plain CSV and TSV by DuckDB (PlainText)
//   query           run once; its rows are kept in a table
//   Arrow stream    read once into a table, see ArrowFrame.h
//   sorted          any of them, copied once into a table in the new order
//
// A file is watched while it is read: one that is read in place from here to the end of the run, any other
// until its cases are copied. If it changes meanwhile, that is an error. The dictionary comes from the schema
// that the user names, else from the file or the schema beside it, else from the columns.
//
// The frame borrows the session's work database and must be destroyed before it.

// How the cases of a frame are to be read.
struct FrameRules {
  std::string schema{};  // Table Schema file in place of the one beside the data; empty for none
  // Variables to sort by, with a minus sign in descending order; empty keeps the order of the file.
  std::vector<std::string> sort{};
  bool serpentine = false;  // reverses every second run of cases that are equal in the variables before
};

// Opens a data file; its extension decides how it is read, see FileKind. A file of no bytes has no variables
// and no cases.
// Errors: DataError that names the file, the schema or the variable at fault.
DataFrame OpenDataFile(HostSession& session, const std::string& path, const FrameRules& rules = {});

// A table that is in that work database already.
// Errors: DataError that names the source.
DataFrame OpenTable(std::shared_ptr<WorkDatabase> work, const TypedSource& source, const FrameRules& rules);

// Runs a query once and keeps its rows in the order in which they come. The frame is named "query".
// Errors: DataError, also for anything but a single query.
DataFrame OpenQuery(HostSession& session, const std::string& sql, const FrameRules& rules = {});
