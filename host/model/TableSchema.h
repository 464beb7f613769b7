#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "host/model/Dictionary.h"

// A Table Schema of the Frictionless Data project, with our own members beside the published ones. It is the
// form in which a dictionary stands beside a text file and in the metadata of a Parquet file.

// A label of a value, as the schema writes it: the value's text.
struct SchemaCategory {
  std::string value;
  std::string label;
};

// What a schema says of one field. What it leaves out keeps what the file says.
struct SchemaField {
  std::string name;
  std::optional<std::string> type;                        // "number", "integer", "string", "date", ...
  std::optional<std::string> title;                       // the label
  std::optional<std::vector<std::string>> missingValues;  // in place of the table's
  std::vector<SchemaCategory> categories;
  std::optional<KORV_Format> printFormat;
  std::optional<KORV_Format> writeFormat;
  std::optional<int> level;
  std::optional<int> width;  // to make a string wider
};

struct TableSchema {
  std::vector<SchemaField> fields;
  std::optional<std::vector<std::string>> missingValues;  // of the whole table
  std::vector<DocumentLines> documents;
};

// A schema that can't be used. The text names the source and what is wrong with it.
struct SchemaError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Reads a schema from its JSON text. `source` names it in errors.
// Errors: SchemaError when the text is no JSON or no Table Schema.
TableSchema ParseTableSchema(std::string_view json, const std::string& source);

// The field type that says what a variable's column holds: "boolean", "integer", "number", "date",
// "datetime", "time", "string". A string that isn't text in its file (digits that a double would lose) is a
// string here.
std::string_view SchemaFieldType(const KORV_Variable& variable);

// The schema of a dictionary as JSON text. Parsed and applied again it gives the same dictionary.
std::string WriteTableSchema(const Dictionary& dictionary);
