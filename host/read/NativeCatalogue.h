#pragma once

#include <string>
#include <string_view>

class DuckConnection;

// Checks that all that a reader asks for in an attached native file are tables of values, which DuckDB reads
// without running anything: no view in the place of a table, which could read any file of the user who opens it,
// and no generated column, default, index or constraint but NOT NULL. What else the database has, such as
// other views or macros, is never asked for. Nothing of it but its catalogue is read here.
//
// Errors: DataError, without the file's name, that names the first such thing.
void CheckTablesOfValues(DuckConnection& connection, const std::string& database);

// Whether the name of a column's type can be put into a statement of another database as it is. A type may
// have an alias, which is any text, and DuckDB shows it in place of the type. Only quotes and brackets that
// are closed again keep a text from reaching beyond `CAST(value AS type)`.
bool IsTypeName(std::string_view text);
