#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "host/model/Dictionary.h"
#include "host/model/TableSchema.h"
#include "host/read/ColumnFacts.h"

// SchemaRules is a Table Schema applied to the columns of one file. For each column it says what type the
// user wants, which values are missing, and what else goes into the dictionary: label, formats, level, value
// labels. Columns that the schema doesn't mention stay as the file has them. Names compare without regard to
// case.
//
// Use:        from a schema's text or file; a default-constructed object has no rules. First WishFor() and
//             MissingTexts() while the facts of the columns are found out, then VariableFor().
// Failures:   DataError that names the schema.
class SchemaRules {
public:
  SchemaRules() = default;
  // `source` is the schema's name in messages.
  SchemaRules(const std::string& json, const std::string& source);
  static SchemaRules FromFile(const std::string& path);

  // What the schema wants a column to be. kString also stands for dates, times and all other types of a Table
  // Schema that are strings here.
  enum class Wish { kAsItIs, kNumber, kBoolean, kString };
  Wish WishFor(const std::string& name) const;

  // The texts that are missing values in a column: its own if the field has any, else those of the table.
  const std::vector<std::string>& MissingTexts(const std::string& name) const;

  // Whether the column's dictionary entry follows from the schema alone, without a look at its values.
  bool SettlesAll(const std::string& name) const;

  // Refuses a schema with a field that `file` has no column for: more likely a slip than a wish.
  void CheckNames(const std::vector<std::string>& columns, const std::string& file) const;

  // The variable of a column by its facts, with everything that the schema says on top.
  // Errors: DataError when a category of a numeric column isn't a number.
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
