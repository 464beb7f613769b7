#include "host/model/TableSchema.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "host/environment/HostErrors.h"
#include "host/model/Values.h"
#include "host/text/VariableNames.h"

namespace {

using Json = nlohmann::ordered_json;

// The published types. One that isn't among them is more likely a slip than a wish, and refused.
constexpr std::array<std::string_view, 16> kTypes = {
    "any",  "array",   "boolean", "date",   "datetime", "duration", "geojson", "geopoint",
    "list", "integer", "number",  "object", "string",   "time",     "year",    "yearmonth"};

constexpr std::array<std::pair<std::string_view, int>, 3> kLevels = {
    {{"nominal", kLevelNominal}, {"ordinal", kLevelOrdinal}, {"scale", kLevelScale}}};

constexpr std::array<std::pair<std::string_view, std::uint8_t>, 3> kFormatNames = {
    {{"A", kFormatA}, {"AHEX", kFormatAHex}, {"F", kFormatF}}};

// --- reading ---------------------------------------------------------------------------------------------

// Reads one schema: construct, Read(), discard. fPlace follows the field that is being read, so that Fail()
// can name it.
class SchemaReader {
public:
  explicit SchemaReader(const std::string& source) : fSource(source) {}

  TableSchema Read(std::string_view text) {
    Json root;
    try {
      root = Json::parse(text);
    } catch (const Json::parse_error& error) {
      const std::string_view before = text.substr(0, error.byte);
      const auto line = 1 + std::count(before.begin(), before.end(), '\n');
      throw DataError(fmt::format("{}, line {}: no valid JSON", fSource, line));
    } catch (const Json::exception&) {  // parse() has only one other failure: a number out of range
      Fail("a number is beyond 1.8e308");
    }
    if (!root.is_object()) Fail("no Table Schema: it must be an object with the member \"fields\"");
    const Json* fields = Member(root, "fields");
    if (fields == nullptr || !fields->is_array()) Fail("no Table Schema: \"fields\" must be a list");
    TableSchema schema;
    std::set<std::string> names;
    for (const Json& field : *fields) {
      schema.fields.push_back(ReadField(field, schema.fields.size() + 1));
      if (!names.insert(GetUpperVarName(schema.fields.back().name)).second) Fail("is named twice");
    }
    fPlace.clear();
    schema.missingValues = ReadMissingValues(root, nullptr);
    if (const Json* documents = Member(root, "documents")) schema.documents = ReadDocuments(*documents);
    return schema;
  }

private:
  [[noreturn]] void Fail(std::string_view what) const {
    throw DataError(fmt::format("{}: {}{}", fSource, fPlace, what));
  }

  // A member of an object; null where it is missing, or is JSON's null, which means the same here.
  static const Json* Member(const Json& object, const char* name) {
    const auto found = object.find(name);
    return found == object.end() || found->is_null() ? nullptr : &*found;
  }

  std::optional<std::string> TextMember(const Json& object, const char* name) const {
    const Json* member = Member(object, name);
    if (member == nullptr) return std::nullopt;
    if (!member->is_string()) Fail(fmt::format("\"{}\" must be a text", name));
    return member->get<std::string>();
  }

  SchemaField ReadField(const Json& json, std::size_t number) {
    fPlace = fmt::format("field {} ", number);
    if (!json.is_object()) Fail("must be an object");
    const std::optional<std::string> name = TextMember(json, "name");
    if (!name) Fail("has no name");
    fPlace = fmt::format("field {} ", *name);
    SchemaField field;
    field.name = *name;
    field.type = TextMember(json, "type");
    if (field.type && std::find(kTypes.begin(), kTypes.end(), *field.type) == kTypes.end()) {
      Fail(fmt::format("has the unknown type \"{}\"", *field.type));
    }
    field.title = TextMember(json, "title");
    if (const Json* categories = Member(json, "categories")) field.categories = ReadCategories(*categories);
    field.missingValues = ReadMissingValues(json, &field.categories);
    field.printFormat = ReadFormat(json, "printFormat");
    field.writeFormat = ReadFormat(json, "writeFormat");
    if (const Json* level = Member(json, "level")) field.level = ReadLevel(*level);
    if (const Json* width = Member(json, "width")) field.width = ReadWidth(*width);
    return field;
  }

  // The text of a category or missing value. A number gets the text that it would have as data.
  std::string ValueText(const Json& value) const {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number_float()) return NumberText(value.get<double>());
    if (value.is_number() || value.is_boolean()) return value.dump();
    Fail("has a value that is neither a text nor a number");
  }

  // An entry of a list of values: the value alone, or an object with the value and its label.
  SchemaCategory ReadCategory(const Json& entry) const {
    if (!entry.is_object()) return {ValueText(entry), std::string()};
    const Json* value = Member(entry, "value");
    if (value == nullptr) Fail("has a category or missing value without \"value\"");
    return {ValueText(*value), TextMember(entry, "label").value_or(std::string())};
  }

  std::vector<SchemaCategory> ReadCategories(const Json& json) const {
    if (!json.is_array()) Fail("\"categories\" must be a list");
    std::vector<SchemaCategory> categories;
    for (const Json& entry : json) {
      SchemaCategory category = ReadCategory(entry);
      // A category without a label says that the value occurs, which the dictionary has no place for.
      const bool isLabelled = entry.is_object() && entry.contains("label");
      if (isLabelled) categories.push_back(std::move(category));
    }
    return categories;
  }

  // Reads the missing values of a field or of the table. Labels of missing values are added to `labels`, the
  // categories of the field, since a variable has one list of value labels; null where there is no field.
  std::optional<std::vector<std::string>> ReadMissingValues(const Json& json,
                                                            std::vector<SchemaCategory>* labels) const {
    const Json* member = Member(json, "missingValues");
    if (member == nullptr) return std::nullopt;
    if (!member->is_array()) Fail("\"missingValues\" must be a list");
    std::vector<std::string> values;
    for (const Json& entry : *member) {
      SchemaCategory value = ReadCategory(entry);
      values.push_back(value.value);
      if (labels != nullptr && !value.label.empty()) labels->push_back(std::move(value));
    }
    return values;
  }

  // A format: a name, a width, and decimals after a full stop if there are any, as in "F8.2" and "A12".
  std::optional<KORV_Format> ReadFormat(const Json& json, const char* name) const {
    const std::optional<std::string> text = TextMember(json, name);
    if (!text) return std::nullopt;
    const std::size_t digits = std::min(text->find_first_of("0123456789"), text->size());
    KORV_Format format;
    const auto type = std::find_if(kFormatNames.begin(), kFormatNames.end(), [&](const auto& entry) {
      return entry.first == std::string_view(*text).substr(0, digits);
    });
    const char* const end = text->data() + text->size();
    auto read = std::from_chars(text->data() + digits, end, format.width);
    format.decimals = 0;
    if (read.ec == std::errc() && read.ptr != end && *read.ptr == '.') {
      read = std::from_chars(read.ptr + 1, end, format.decimals);
    }
    if (type == kFormatNames.end() || read.ec != std::errc() || read.ptr != end || format.width == 0) {
      Fail(fmt::format("\"{}\" is no format such as F8.2 or A12", name));
    }
    format.type = type->second;
    return format;
  }

  int ReadLevel(const Json& json) const {
    for (const auto& [name, level] : kLevels) {
      if (json == name || json == level) return level;
    }
    Fail("\"level\" must be nominal, ordinal or scale");
  }

  int ReadWidth(const Json& json) const {
    const bool isWhole = json.is_number_integer();
    if (!isWhole || json < 1 || json > kWidestByRequest) {
      Fail(fmt::format("\"width\" must be a whole number from 1 to {}", kWidestByRequest));
    }
    return json.get<int>();
  }

  std::vector<DocumentLines> ReadDocuments(const Json& json) const {
    const auto isListOfTexts = [](const Json& lines) {
      return lines.is_array() &&
             std::all_of(lines.begin(), lines.end(), [](const Json& line) { return line.is_string(); });
    };
    if (!json.is_array() || !std::all_of(json.begin(), json.end(), isListOfTexts)) {
      Fail("\"documents\" must be a list of lists of lines");
    }
    return json.get<std::vector<DocumentLines>>();
  }

  const std::string& fSource;
  std::string fPlace;  // "field x " in messages; empty while the table's own members are read
};

// --- writing ---------------------------------------------------------------------------------------------

std::string FormatText(const KORV_Format& format) {
  const auto name = std::find_if(kFormatNames.begin(), kFormatNames.end(),
                                 [&](const auto& entry) { return entry.second == format.type; });
  std::string text = fmt::format("{}{}", name == kFormatNames.end() ? "F" : name->first, format.width);
  return format.decimals == 0 ? text : fmt::format("{}.{}", text, format.decimals);
}

// A native file may have any number for a level; what we don't know is written as scale.
std::string_view LevelName(int level) {
  const auto found =
      std::find_if(kLevels.begin(), kLevels.end(), [&](const auto& entry) { return entry.second == level; });
  return found == kLevels.end() ? kLevels.back().first : found->first;
}

std::string ValueText(const KORV_Variable& variable, const DictionaryValue& value) {
  return variable.GetType() > 0 ? value.text : NumberText(value.number);
}

// The value of a category in JSON. The published rules want a value of the field's type there, while a
// missing value is always a text. Whole numbers are written as such: -5, not -5.0.
Json CategoryValue(const KORV_Variable& variable, const DictionaryValue& value) {
  if (variable.GetType() > 0) return value.text;
  const double number = value.number;
  if (SchemaFieldType(variable) == "boolean" && (number == 0.0 || number == 1.0)) return number == 1.0;
  if (std::fabs(number) > kExactIntegers || number != std::trunc(number)) return number;
  return static_cast<std::int64_t>(number);
}

Json FieldJson(const KORV_Variable& variable) {
  Json field;
  field["name"] = variable.GetName();
  field["type"] = SchemaFieldType(variable);
  if (!variable.GetLabel().empty()) field["title"] = variable.GetLabel();
  if (!variable.ValueLabels().empty()) {
    Json& categories = field["categories"] = Json::array();
    for (const ValueLabel& label : variable.ValueLabels()) {
      categories.push_back({{"value", CategoryValue(variable, label.value)}, {"label", label.label}});
    }
  }
  if (!variable.MissingValues().empty()) {
    Json& missing = field["missingValues"] =
        Json::array({""});  // the published default, which a list replaces
    for (const DictionaryValue& value : variable.MissingValues()) {
      missing.push_back(ValueText(variable, value));
    }
  }
  field["printFormat"] = FormatText(variable.GetFormat());
  field["writeFormat"] = FormatText(variable.GetWriteFormat());
  field["level"] = LevelName(variable.GetMeasurementLevel());
  if (0 < variable.GetType() && variable.GetType() <= kWidestByRequest) field["width"] = variable.GetType();
  return field;
}

}  // namespace

std::string_view SchemaFieldType(const KORV_Variable& variable) {
  const std::string& column = variable.ColumnType();
  if (variable.GetType() > 0) {
    if (column == "DATE") return "date";
    if (column.starts_with("TIMESTAMP")) return "datetime";
    return column.starts_with("TIME") ? "time" : "string";
  }
  if (column == "BOOLEAN") return "boolean";
  constexpr std::array<std::string_view, 10> kIntegers = {"TINYINT", "SMALLINT", "INTEGER",   "BIGINT",
                                                          "HUGEINT", "UTINYINT", "USMALLINT", "UINTEGER",
                                                          "UBIGINT", "UHUGEINT"};
  return std::find(kIntegers.begin(), kIntegers.end(), column) == kIntegers.end() ? "number" : "integer";
}

TableSchema ParseTableSchema(std::string_view json, const std::string& source) {
  return SchemaReader(source).Read(json);
}

std::string WriteTableSchema(const Dictionary& dictionary) {
  Json schema;
  Json& fields = schema["fields"] = Json::array();
  for (const KORV_Variable& variable : dictionary.variables) fields.push_back(FieldJson(variable));
  if (!dictionary.documents.empty()) schema["documents"] = dictionary.documents;
  // JSON is UTF-8. A text of other bytes, which a native file may have, gets replacement characters.
  return schema.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}
