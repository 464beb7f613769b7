#include "host/write/NativeFile.h"

#include <fmt/format.h>

#include "host/engine/DuckDb.h"
#include "host/model/Dictionary.h"
#include "host/model/Values.h"

namespace {

// Collects the rows of one INSERT. One statement for all rows: a file may have thousands of labels.
class Rows {
public:
  template <class... Values>
  void Add(const char* format, const Values&... values) {
    fText += fText.empty() ? "(" : ",\n(";
    fText += fmt::format(fmt::runtime(format), values...);
    fText += ')';
  }

  // The statements that make the table and fill it. Without rows there is only the table.
  std::string Sql(const std::string& table, const char* columns) const {
    const std::string create = fmt::format("CREATE TABLE {} ({});\n", table, columns);
    return fText.empty() ? create : fmt::format("{}INSERT INTO {} VALUES {};\n", create, table, fText);
  }

private:
  std::string fText;
};

// The columns `number, text` of a value in SQL. A number is written as text and cast, which keeps every bit;
// a literal such as 0.1 would be a decimal.
std::string ValueSql(const KORV_Variable& variable, const DictionaryValue& value) {
  if (variable.GetType() > 0) return fmt::format("NULL, {}", QuoteLiteral(value.text));
  return fmt::format("{}::DOUBLE, NULL", QuoteLiteral(NumberText(value.number)));
}

std::string FormatSql(const KORV_Format& format) {
  return fmt::format("{}, {}, {}", format.type, format.width, format.decimals);
}

}  // namespace

// Numbers of rows are small, so the statements are put together as one text and run at once.
std::string NativeDictionarySql(const Dictionary& dictionary, const std::string& database) {
  // One walk over the dictionary fills the rows of three tables.
  Rows variables;
  Rows labels;
  Rows missing;
  for (std::size_t i = 0; i < dictionary.variables.size(); ++i) {
    const KORV_Variable& variable = dictionary.variables[i];
    variables.Add("{}, {}, {}, {}, {}, {}, {}", i, QuoteLiteral(variable.GetName()), variable.GetType(),
                  FormatSql(variable.GetFormat()), FormatSql(variable.GetWriteFormat()),
                  variable.GetMeasurementLevel(), QuoteLiteral(variable.GetLabel()));
    int ordinal = 0;
    for (const ValueLabel& label : variable.ValueLabels()) {
      labels.Add("{}, {}, {}, {}", i, ordinal++, ValueSql(variable, label.value), QuoteLiteral(label.label));
    }
    ordinal = 0;
    for (const DictionaryValue& value : variable.MissingValues()) {
      missing.Add("{}, {}, {}", i, ordinal++, ValueSql(variable, value));
    }
  }
  Rows documents;
  for (std::size_t i = 0; i < dictionary.documents.size(); ++i) {
    if (dictionary.documents[i].empty()) documents.Add("{}, NULL, NULL", i);
    int line = 0;
    for (const std::string& text : dictionary.documents[i]) {
      documents.Add("{}, {}, {}", i, line++, QuoteLiteral(text));
    }
  }
  Rows info;
  info.Add("'format_version', '1'");
  return variables.Sql(
             database + ".variables",
             "position INTEGER, name VARCHAR, type INTEGER, print_type INTEGER, print_width INTEGER, "
             "print_decimals INTEGER, write_type INTEGER, write_width INTEGER, "
             "write_decimals INTEGER, level INTEGER, label VARCHAR") +
         labels.Sql(database + ".value_labels",
                    "position INTEGER, ordinal INTEGER, number DOUBLE, text VARCHAR, label VARCHAR") +
         missing.Sql(database + ".missing_values",
                     "position INTEGER, ordinal INTEGER, number DOUBLE, text VARCHAR") +
         documents.Sql(database + ".documents", "document INTEGER, line INTEGER, text VARCHAR") +
         info.Sql(database + ".file_info", "key VARCHAR, value VARCHAR");
}
