#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "host/model/Dictionary.h"
#include "host/model/TableSchema.h"
#include "host/read/ColumnFacts.h"

// SchemaRules is a Table Schema as it bears on the columns of one file: the type that the user gives a
// column, its missing values, and what else stands in the dictionary.
//
// A default-made one has no rules: every column keeps what the file says.
class SchemaRules {
public:
  SchemaRules() = default;
  // `source` names the schema in errors.
  // Errors: DataError when the text is no schema.
  SchemaRules(const std::string& json, const std::string& source);
  static SchemaRules FromFile(const std::string& path);

  // What the schema wants a column to be.
  enum class Wish { kAsItIs, kNumber, kBoolean, kString };
  Wish WishFor(const std::string& name) const;

  // The texts that stand for a missing value in a column: its own, else the table's.
  const std::vector<std::string>& MissingTexts(const std::string& name) const;

  // Whether the schema leaves nothing of the column to be found out from its cases.
  bool SettlesAll(const std::string& name) const;

  // Errors: DataError when the schema names a column that `file` doesn't have.
  void CheckNames(const std::vector<std::string>& columns, const std::string& file) const;

  // The variable of a column: what the facts say, overruled by the schema.
  // Errors: DataError when a category of a numeric column is no number.
  KORV_Variable VariableFor(const ColumnFacts& facts) const;

  const std::vector<DocumentLines>& Documents() const { return fSchema.documents; }

private:
  const SchemaField* FieldOf(const std::string& name) const;
  void SetMissing(KORV_Variable* variable) const;
  void SetCategories(const SchemaField& field, KORV_Variable* variable) const;

  std::string fSource;
  TableSchema fSchema;
  std::map<std::string, std::size_t> fFields;  // places of the fields by their names in upper case
};
