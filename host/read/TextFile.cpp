#include "host/read/TextFile.h"

#include <filesystem>
#include <optional>

#include "host/engine/WorkDatabase.h"
#include "host/environment/HostErrors.h"
#include "host/files/ReadableFile.h"
#include "host/read/CsvReader.h"
#include "host/read/JsonReader.h"
#include "host/read/SchemaRules.h"
#include "host/read/TextForm.h"
#include "host/read/TextSource.h"
#include "host/read/TextTable.h"

namespace {

bool IsJson(FileKind kind) {
  return kind == FileKind::kJson || kind == FileKind::kNdJson;
}

// Without a delimiter the header decides.
char DelimiterOf(FileKind kind) {
  return kind == FileKind::kTsv ? '\t' : '\0';
}

CaseRelation LoadText(WorkDatabase& work, const std::string& path, FileKind kind, const TextForm& form,
                      const SchemaRules& rules) {
  TextTable table(work, path, IsJson(kind) ? "object" : "line", rules);
  if (IsJson(kind)) {
    LoadJson(path, form, &table);
  } else {
    LoadCsv(path, form, DelimiterOf(kind), &table);
  }
  CaseRelation relation = table.Finish();
  relation.remark = TextFormRemark(path, form);
  return relation;
}

// Nothing where our own reader has to decide, and to say what is wrong.
std::optional<CaseRelation> LoadByDuckDb(WorkDatabase& work, const std::string& path, FileKind kind,
                                         const SchemaRules& rules) {
  TextTable table(work, path, "line", rules);
  try {
    return LoadPlainCsv(path, DelimiterOf(kind), work.Threads(), &table);
  } catch (const DataError&) {
    return std::nullopt;
  }
}

}  // namespace

// A text is read as UTF-8 first, and only one that isn't is looked at as a whole, so that plain files cost
// nothing more.
CaseRelation OpenTextFile(WorkDatabase& work, const std::string& path, FileKind kind,
                          const std::string& schema, TextReader reader) {
  const std::string beside = SchemaPath(path);
  SchemaRules rules;
  if (!schema.empty()) {
    rules = SchemaRules::FromFile(schema);
  } else if (FileExists(beside)) {
    rules = SchemaRules::FromFile(beside);
  }
  TextForm form;
  try {
    form = FindTextForm(path);
    if (reader == TextReader::kFastest && form == TextForm() && !IsJson(kind)) {
      if (auto relation = LoadByDuckDb(work, path, kind, rules)) return *std::move(relation);
    }
    return LoadText(work, path, kind, form, rules);
  } catch (const EncodingError&) {
    if (form.encoding != TextEncoding::kUtf8 || !IsWindows1252(path, form.isGzip)) throw;
    form.encoding = TextEncoding::kWindows1252;
  }
  return LoadText(work, path, kind, form, rules);
}
