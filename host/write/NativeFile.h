#pragma once

#include <string>

struct Dictionary;

// The native format, version 1. A native file is a DuckDB database, so any program with DuckDB can open it.
// It has these tables:
//
//   cases           the columns, named as the variables
//   variables       position, name, type (0 for a number, else the width of the string in bytes), print_type,
//                   print_width, print_decimals, write_type, write_width, write_decimals, level, label: one
//                   row a variable
//   value_labels    position (of the variable), ordinal, number, text, label
//   missing_values  position, ordinal, number, text: the user-missing values
//   documents       document, line, text
//   file_info       key, value: format_version '1'
//
// Positions, ordinals, documents and lines count from 0. Of `number` and `text` the one that doesn't fit the
// variable's type is null. A document without lines has one row, with a null line. A reader refuses any other
// format_version; host/read/NativeReader.h reads these tables.

// The statements that make all tables but `cases` in the attached database `database`.
std::string NativeDictionarySql(const Dictionary& dictionary, const std::string& database);
