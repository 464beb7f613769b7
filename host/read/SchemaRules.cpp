#include "host/read/SchemaRules.h"

#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>
#include <set>
#include <utility>

#include "host/environment/HostErrors.h"
#include "host/files/ReadableFile.h"
#include "host/model/Values.h"
#include "host/read/TextProfile.h"
#include "host/text/VariableNames.h"

namespace {

// Reads a value of a numeric variable from its text in a schema. Truth values are 1 and 0.
bool ReadSchemaNumber(const std::string& text, double* number) {
  if (ReadNumber(text, number)) return true;
  *number = text == "true" ? 1.0 : 0.0;
  return text == "true" || text == "false";
}

bool IsOneOf(const std::string& text, std::initializer_list<const char*> words) {
  return std::find(words.begin(), words.end(), text) != words.end();
}

}  // namespace

// Fields are looked up by upper-case names, as variables are.
SchemaRules::SchemaRules(const std::string& json, const std::string& source) : fSource(source) {
  fSchema = ParseTableSchema(json, source);
  for (std::size_t i = 0; i < fSchema.fields.size(); ++i) {
    fFields.emplace(GetUpperVarName(fSchema.fields[i].name), i);
  }
}

SchemaRules SchemaRules::FromFile(const std::string& path) {
  CheckReadableFile(path);
  std::string json;
  std::string why;
  if (!ReadWholeFile(path, &json, &why)) throw DataError(path + ": " + why);
  return SchemaRules(json, path);
}

// Null where the schema doesn't mention the column.
const SchemaField* SchemaRules::FieldOf(const std::string& name) const {
  const auto found = fFields.find(GetUpperVarName(name));
  return found == fFields.end() ? nullptr : &fSchema.fields[found->second];
}

SchemaRules::Wish SchemaRules::WishFor(const std::string& name) const {
  const SchemaField* field = FieldOf(name);
  if (field == nullptr || !field->type || *field->type == "any") return Wish::kAsItIs;
  if (IsOneOf(*field->type, {"number", "integer", "year"})) return Wish::kNumber;
  return *field->type == "boolean" ? Wish::kBoolean : Wish::kString;
}

// A field's own list replaces the table's, even where it is empty.
const std::vector<std::string>& SchemaRules::MissingTexts(const std::string& name) const {
  static const std::vector<std::string> kNone;
  const SchemaField* field = FieldOf(name);
  if (field != nullptr && field->missingValues) return *field->missingValues;
  return fSchema.missingValues ? *fSchema.missingValues : kNone;
}

bool SchemaRules::SettlesAll(const std::string& name) const {
  const SchemaField* field = FieldOf(name);
  if (field == nullptr) return false;
  const Wish wish = WishFor(name);
  // A number needs its formats, which depend on its widest value; a string its width.
  if (wish == Wish::kString) return field->width.has_value();
  return wish != Wish::kAsItIs && field->printFormat && field->writeFormat;
}

void SchemaRules::CheckNames(const std::vector<std::string>& columns, const std::string& file) const {
  std::set<std::string> known;
  for (const std::string& column : columns) known.insert(GetUpperVarName(column));
  for (const SchemaField& field : fSchema.fields) {
    if (!known.contains(GetUpperVarName(field.name))) {
      throw DataError(fmt::format("{}: {} has no column \"{}\"", fSource, file, field.name));
    }
  }
}

// Formats and level come last: making a variable sets the defaults of its type.
KORV_Variable SchemaRules::VariableFor(const ColumnFacts& facts) const {
  const Wish wish = WishFor(facts.name);
  KORV_Variable variable = wish == Wish::kAsItIs   ? VariableOf(facts)
                           : wish == Wish::kString ? StringVariable(facts)
                                                   : NumericVariable(facts);
  SetMissing(&variable);
  const SchemaField* field = FieldOf(facts.name);
  if (field == nullptr) return variable;
  // A width can only make a string wider: a narrower one would cut texts.
  if (variable.GetType() > 0 && field->width && *field->width > variable.GetType()) {
    variable.SetType(*field->width);
    variable.SetFormat(kFormatA, *field->width, 0);
    variable.SetWriteFormat(kFormatA, *field->width, 0);
  }
  if (field->title) variable.SetLabel(field->title->data(), static_cast<int>(field->title->size()));
  if (field->level) variable.SetMeasurementLevel(*field->level);
  if (const auto& print = field->printFormat) variable.SetFormat(print->type, print->width, print->decimals);
  if (const auto& write = field->writeFormat) {
    variable.SetWriteFormat(write->type, write->width, write->decimals);
  }
  SetCategories(*field, &variable);
  return variable;
}

// The user-missing values. In a numeric column a missing text that isn't a number was read as system-missing,
// and in a string column a blank one is missing anyway: neither needs an entry.
void SchemaRules::SetMissing(KORV_Variable* variable) const {
  std::vector<DictionaryValue> values;
  for (const std::string& text : MissingTexts(variable->GetName())) {
    DictionaryValue value;
    if (variable->GetType() == 0) {
      if (ReadSchemaNumber(text, &value.number)) values.push_back(value);
    } else {
      value.text = TrimRight(text);
      if (!value.text.empty()) values.push_back(value);
    }
  }
  variable->SetMissingValues(std::move(values));
}

// Labels of missing values are among the categories: see ParseTableSchema().
void SchemaRules::SetCategories(const SchemaField& field, KORV_Variable* variable) const {
  std::vector<ValueLabel> labels;
  for (const SchemaCategory& category : field.categories) {
    ValueLabel label;
    label.label = category.label;
    if (variable->GetType() > 0) {
      label.value.text = TrimRight(category.value);  // cases have no trailing blanks either
    } else if (!ReadSchemaNumber(category.value, &label.value.number)) {
      throw DataError(fmt::format("{}: field \"{}\": the category \"{}\" of a numeric column is no number",
                                  fSource, field.name, category.value));
    }
    labels.push_back(std::move(label));
  }
  variable->SetValueLabels(std::move(labels));
}
