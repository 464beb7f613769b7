#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A table in a CSV file: a number for each combination of categories. Its first line has the names of the
// variables, in any case and the order asked for, then a name for the numbers.
struct StratumTable {
  struct Row {
    std::vector<std::string> categories;  // as written
    double number = 0.0;
    std::int64_t line = 0;  // in the file, from 1
  };
  std::string path;
  std::vector<Row> rows;
};

// Whether the text names such a file: it ends in .csv, in any case.
bool IsTableFile(std::string_view text);

// Reads a table of numbers by these variables. Fields are separated by commas, or by semicolons where the
// first line has no comma; the decimal character is a full stop.
// Errors: DataError that names the file and the line. A combination that is there twice is none: the caller
// knows which texts are the same category.
StratumTable ReadStratumTable(const std::string& path, const std::vector<std::string>& by);
