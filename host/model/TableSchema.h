#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/model/Dictionary.h"

// Table Schemas. A Table Schema (of the Frictionless Data project) is a JSON object that describes the fields
// of a table. It is the form that a dictionary has beside a text file and in the metadata of a Parquet file.
//
// Of a field these published members are read: name, type, title (the label), missingValues, categories (the
// value labels). Others, such as constraints, are ignored. What a dictionary has beyond that is in members of
// our own: printFormat, writeFormat ("F8.2"), level ("nominal", "ordinal", "scale"), width (bytes of a
// string), and documents at the table. Programs that don't know them skip them.
//
// In a schema every value is a text, or as good as one: 7 and "7" are the same category. Whether it means a
// number depends on the field's column, which only host/read/SchemaRules knows.

// A value with its label. The value is a text, also where the schema has a number.
struct SchemaCategory {
  std::string value;
  std::string label;
};

// What a schema says about one field. An empty member leaves the choice to the file.
struct SchemaField {
  std::string name;
  std::optional<std::string> type;                        // "number", "integer", "string", "date", ...
  std::optional<std::string> title;                       // the label
  std::optional<std::vector<std::string>> missingValues;  // instead of the table's
  std::vector<SchemaCategory> categories;                 // also the missing values that have labels
  std::optional<KORV_Format> printFormat;
  std::optional<KORV_Format> writeFormat;
  std::optional<int> level;
  std::optional<int> width;  // in bytes; makes a string wider, never narrower
};

struct TableSchema {
  std::vector<SchemaField> fields;
  std::optional<std::vector<std::string>> missingValues;  // of the whole table
  std::vector<DocumentLines> documents;
};

// Reads a schema from its JSON text. `source` is its name in messages. The schema is checked as a whole
// before anything of it is used. Errors: DataError with the source, and the line where the text isn't JSON or
// the field that is at fault.
TableSchema ParseTableSchema(std::string_view json, const std::string& source);

// The type of the field for a variable, by the SQL type of its column: "boolean", "integer", "number",
// "date", "datetime", "time" or "string". A string variable is a "string" even if its column is numeric: it
// has digits that a double would lose, and must be read as text again.
std::string_view SchemaFieldType(const KORV_Variable& variable);

// The schema of a dictionary as JSON text. Parsed and applied to the same data it gives the same dictionary.
std::string WriteTableSchema(const Dictionary& dictionary);
