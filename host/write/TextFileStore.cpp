#include "host/write/TextFileStore.h"

#include <charconv>
#include <cmath>

#include "host/environment/HostErrors.h"
#include "host/files/SessionFiles.h"
#include "host/model/KORV_Case.h"
#include "host/model/TableSchema.h"
#include "host/model/Values.h"
#include "host/numeric/Obs.h"

namespace {

// A field with any of these is quoted. A semicolon is among them since a reader, ours too, takes it for the
// delimiter if the header has semicolons and no comma.
constexpr std::string_view kQuotedFor = "\",;\t\r\n";

constexpr std::size_t kLongestWhole = 310;  // 309 digits of the largest double, and a sign

}  // namespace

TextFileStore::TextFileStore(HostSession& session, OutputFile* file, char delimiter)
    : IndependentDataStore(session, file), fDelimiter(delimiter) {}

// Appends a field of text, quoted if it must be.
void TextFileStore::AddText(std::string_view text) {
  if (text.find_first_of(kQuotedFor) == std::string_view::npos) {
    fLine += text;
    return;
  }
  fLine += '"';
  for (const char c : text) {
    if (c == '"') fLine += c;
    fLine += c;
  }
  fLine += '"';
}

// Appends a field of a number. A column of truth values may hold other numbers too, which are written as
// such.
void TextFileStore::AddNumber(double number, Form form) {
  if (number == MCMV::gMissingValue || !std::isfinite(number)) return;
  if (form == Form::kTruth && (number == 0.0 || number == 1.0)) {
    fLine += number == 0.0 ? "false" : "true";
    return;
  }
  char digits[kLongestWhole];
  // Fixed notation has no exponent, whatever the size.
  char* end = form == Form::kWholeNumber
                  ? std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed).ptr
                  : WriteNumberText(number, digits);
  fLine.append(digits, end);
}

// Failures may show a few lines late, when the buffer is written.
void TextFileStore::EndLine() {
  if (fLine.empty()) fLine = "\"\"";  // readers pass over an empty line
  fLine += '\n';
  if (!fWriter.Write(fLine)) throw DataError(fWriter.Reason());
  fLine.clear();
}

void TextFileStore::Begin() {
  if (!fWriter.Open(File().parts.back()->TemporaryPath())) throw DataError(fWriter.Reason());
  for (const KORV_Variable& variable : GetDictionary().variables) {
    const std::string_view type = SchemaFieldType(variable);
    const Form form = variable.GetType() > 0 ? Form::kText
                      : type == "boolean"    ? Form::kTruth
                      : type == "integer"    ? Form::kWholeNumber
                                             : Form::kNumber;
    if (!fvColumns.empty()) fLine += fDelimiter;
    fvColumns.push_back({form, variable.GetType()});
    AddText(variable.GetName());
  }
  if (!fvColumns.empty()) EndLine();  // without columns the file has no bytes, and is read back as such
}

// Collects the line as a whole, so that one call hands it to the writer.
void TextFileStore::Append(const KORV_Case& values) {
  for (std::size_t i = 0; i < fvColumns.size(); ++i) {
    if (i > 0) fLine += fDelimiter;
    const OBS* cells = values.GetObsPointer(static_cast<int>(i));
    const Column& column = fvColumns[i];
    if (column.width == 0) {
      AddNumber(cells->number, column.form);
    } else {
      AddText(TrimRight({reinterpret_cast<const char*>(cells), static_cast<std::size_t>(column.width)}));
    }
  }
  if (!fvColumns.empty()) EndLine();
}

// Closing reports what the buffers hid, for the data first: it is the larger file.
void TextFileStore::End() {
  if (!fWriter.Close()) throw DataError(fWriter.Reason());
  FileWriter schema;  // the first part of the output, see OutputFile
  const bool written =
      schema.Open(File().parts.front()->TemporaryPath()) && schema.Write(WriteTableSchema(GetDictionary()));
  if (!schema.Close() || !written) throw DataError(schema.Reason());
}
