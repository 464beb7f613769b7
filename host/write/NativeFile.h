#pragma once

#include <string>

struct Dictionary;

// The native file: a DuckDB database with the tables
//
//   cases           the columns, named as the variables
//   variables       position, name, type, print_type, print_width, print_decimals, write_type, write_width,
//                   write_decimals, level, label: one row a variable
//   value_labels    position (of the variable), ordinal, number, text, label
//   missing_values  position, ordinal, number, text: the user-missing values
//   documents       document, line, text
//   file_info       key, value: format_version '1'
//
// Positions, ordinals, documents and lines count from 0. Of `number` and `text` the one that the variable
// doesn't have is null.

// The statements that make all tables but `cases` in the attached database `database`.
std::string NativeDictionarySql(const Dictionary& dictionary, const std::string& database);
