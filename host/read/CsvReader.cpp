#include "host/read/CsvReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <ios>
#include <utility>

#include "host/environment/HostErrors.h"
#include "host/read/TextTable.h"
#include "host/text/TextConversion.h"
#include "host/text/VariableNames.h"

namespace {
constexpr std::size_t kBufferBytes = 1 << 18;  // 256 KiB a read
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
}  // namespace

CsvReader::CsvReader(std::string path, const TextForm& form)
    : fPath(std::move(path)), fForm(form), fFile(fPath, form), fBuffer(kBufferBytes) {
  Peek();
  if (std::string_view(fBuffer.data(), fCount).starts_with(kByteOrderMark)) fAt = kByteOrderMark.size();
}

// Fills the buffer when it is used up. At the end of the file it may be called again and again.
int CsvReader::Peek() {
  if (fAt == fCount) {
    fAt = fCount = 0;
    try {
      fCount =
          static_cast<std::size_t>(fFile.sgetn(fBuffer.data(), static_cast<std::streamsize>(fBuffer.size())));
    } catch (const std::ios_base::failure&) {
      throw DataError(fmt::format("{}, line {}: can't be read on", fPath, fLine));
    }
    if (fCount == 0) return kEnd;
  }
  return static_cast<unsigned char>(fBuffer[fAt]);
}

int CsvReader::Take() {
  const int next = Peek();
  if (next != kEnd) ++fAt;
  return next;
}

std::string_view CsvReader::Field(std::size_t index) const {
  const std::size_t begin = index == 0 ? 0 : fvEnds[index - 1];
  return std::string_view(fBytes).substr(begin, fvEnds[index] - begin);
}

// Reads one record into fBytes. Its memory is kept for the next one.
bool CsvReader::NextRecord() {
  fBytes.clear();
  fvEnds.clear();
  fbAnyQuoted = false;
  fFile.EndPiece();
  if (Peek() == kEnd) return false;
  fRecordLine = fLine;
  while (ReadField()) {
  }
  CheckEncoding();
  return true;
}

// Reads a field and the delimiter or line end after it. False when it was the last one of the record.
bool CsvReader::ReadField() {
  if (Peek() == '"') ReadQuoted();
  for (;;) {
    // Everything up to the field's end or the buffer's end in one go: most of a file is read here.
    const char* const begin = fBuffer.data() + fAt;
    const char* const end = std::find_if(begin, static_cast<const char*>(fBuffer.data()) + fCount,
                                         [&](char c) { return c == fDelimiter || c == '\n' || c == '\r'; });
    fBytes.append(begin, end);
    fAt += static_cast<std::size_t>(end - begin);
    if (fAt < fCount || Peek() == kEnd) break;
  }
  fvEnds.push_back(fBytes.size());
  return EndField(Take());
}

// Whether another field of the record follows what was taken as a field's end. CR LF counts as one end, and
// so does the end of the file.
bool CsvReader::EndField(int next) {
  if (next == static_cast<unsigned char>(fDelimiter)) return true;
  if (next == '\r' && Peek() == '\n') Take();
  ++fLine;
  return false;
}

// Reads a quoted field up to its closing quote. The field's end must follow.
void CsvReader::ReadQuoted() {
  const std::int64_t openLine = fLine;  // a quote that is never closed is reported where it opens
  fbAnyQuoted = true;
  Take();
  for (;;) {
    const int next = Take();
    if (next == kEnd) throw DataError(fmt::format("{}, line {}: a quote isn't closed", fPath, openLine));
    if (next == '"') {  // the closing one, or the first of a doubled one
      if (Peek() != '"') break;
      Take();
    }
    if (next == '\n') ++fLine;
    fBytes += static_cast<char>(next);
  }
  const int end = Peek();
  if (end != kEnd && end != static_cast<unsigned char>(fDelimiter) && end != '\n' && end != '\r') {
    throw DataError(fmt::format("{}, line {}: text behind a closing quote", fPath, fLine));
  }
}

// Once a record, over all its fields together.
void CsvReader::CheckEncoding() const {
  const std::size_t bad = FindInvalidUtf8(fBytes);
  if (bad == std::string_view::npos) return;
  // A quoted field may span lines: the bad byte's own line is reported.
  const auto lineEnds = std::count(fBytes.begin(), fBytes.begin() + static_cast<std::ptrdiff_t>(bad), '\n');
  throw EncodingError(
      fmt::format("{}, line {}: invalid {}", fPath, fRecordLine + lineEnds, EncodingName(fForm.encoding)));
}

namespace {

// The characters of a text one by one, after a byte order mark.
class FirstLines {
public:
  FirstLines(const std::string& path, const TextForm& form) : fText(path, form) {
    std::string mark(kByteOrderMark.size(), '\0');
    mark.resize(
        static_cast<std::size_t>(fText.sgetn(mark.data(), static_cast<std::streamsize>(mark.size()))));
    if (mark != kByteOrderMark) fBegin = mark;
  }
  // False at the end.
  bool Next(char* c) {
    if (fAt < fBegin.size()) {
      *c = fBegin[fAt++];
      return true;
    }
    const auto next = fText.sbumpc();
    *c = static_cast<char>(next);
    return next != TextSource::traits_type::eof();
  }

private:
  TextSource fText;
  std::string fBegin;  // taken while looking for the mark
  std::size_t fAt = 0;
};

// How the fields of a file are split, and what comes before its header.
struct Layout {
  char delimiter = ',';
  bool hasSeparatorLine = false;
};

// Semicolons, if the header has these and no comma outside of quotes.
char DelimiterOfHeader(const std::string& path, const TextForm& form) {
  FirstLines lines(path, form);
  bool isBlank = true;
  bool isQuoted = false;
  bool hasSemicolon = false;
  for (char c = 0; lines.Next(&c);) {
    const bool isLineEnd = c == '\n' || c == '\r';
    if (isLineEnd && isBlank) continue;
    isBlank = false;
    if (c == '"') isQuoted = !isQuoted;  // a doubled quote switches twice
    if (isQuoted) continue;
    if (c == ',') return ',';
    if (isLineEnd) break;
    hasSemicolon = hasSemicolon || c == ';';
  }
  return hasSemicolon ? ';' : ',';
}

// Opens the file beside the reader, which needs the delimiter before the first record.
Layout LayoutOf(const std::string& path, const TextForm& form, char delimiter) {
  constexpr std::size_t kSeparatorBytes = 8;
  try {
    FirstLines lines(path, form);
    std::string begin;
    for (char c = 0; begin.size() < kSeparatorBytes && lines.Next(&c);) begin += c;
    if (const char named = SeparatorLine(begin); named != '\0') return {named, true};
    return {delimiter == '\0' ? DelimiterOfHeader(path, form) : delimiter, false};
  } catch (const std::ios_base::failure&) {
    throw DataError(fmt::format("{}, line 1: can't be read on", path));
  }
}

// Names must differ, but several columns may have none. The first of them keeps the empty name; the others
// get their place in brackets, (5), which no command or plan can name by accident either.
void AddColumns(const CsvReader& header, TextTable* table) {
  bool hasNameless = false;
  for (std::size_t i = 0; i < header.Fields(); ++i) {
    std::string name(header.Field(i));
    if (name.empty() && hasNameless) name = fmt::format("({})", i + 1);
    hasNameless = hasNameless || name.empty();
    table->AddColumn(name, header.Line());
  }
}

}  // namespace

char SeparatorLine(std::string_view begin) {
  const bool isQuoted = begin.starts_with('"');
  if (isQuoted) begin.remove_prefix(1);
  constexpr std::string_view kWord = "sep=";
  constexpr std::string_view kNoDelimiter = "\"\r\n ";
  if (begin.size() <= kWord.size() || GetUpperString(std::string(begin.substr(0, kWord.size()))) != "SEP=")
    return '\0';
  const char delimiter = begin[kWord.size()];
  begin.remove_prefix(kWord.size() + 1);
  if (isQuoted) {
    if (!begin.starts_with('"')) return '\0';
    begin.remove_prefix(1);
  }
  const auto code = static_cast<unsigned char>(delimiter);
  const bool isDelimiter = code < 0x80 && std::isalnum(code) == 0 &&
                           kNoDelimiter.find(delimiter) == std::string_view::npos &&
                           (std::iscntrl(code) == 0 || delimiter == '\t');
  const bool isWholeLine = begin.empty() || begin.front() == '\n' || begin.front() == '\r';
  return isDelimiter && isWholeLine ? delimiter : '\0';
}

std::optional<CaseRelation> LoadPlainCsv(const std::string& path, char delimiter, int threads,
                                         TextTable* table) {
  const Layout layout = LayoutOf(path, {}, delimiter);
  CsvReader reader(path);
  reader.SetDelimiter(layout.delimiter);
  if (layout.hasSeparatorLine || !reader.NextRecord() || reader.IsBlank()) return std::nullopt;
  AddColumns(reader, table);
  std::optional<PlainText> text = ScanPlainText(path, layout.delimiter, table->MissingTexts(), threads);
  if (!text) return std::nullopt;
  return table->FinishPlain(*std::move(text));
}

void LoadCsv(const std::string& path, const TextForm& form, char delimiter, TextTable* table) {
  CsvReader reader(path, form);
  const Layout layout = LayoutOf(path, form, delimiter);
  reader.SetDelimiter(layout.delimiter);
  if (layout.hasSeparatorLine) reader.NextRecord();
  do {
    if (!reader.NextRecord()) return;
  } while (reader.IsBlank());
  AddColumns(reader, table);
  while (reader.NextRecord()) {
    if (reader.IsBlank() && table->Columns() > 1) continue;
    if (reader.Fields() != table->Columns()) {
      throw DataError(fmt::format("{}, line {}: {} field{}, expected {}", path, reader.Line(),
                                  reader.Fields(), reader.Fields() == 1 ? "" : "s", table->Columns()));
    }
    for (std::size_t i = 0; i < reader.Fields(); ++i) table->Set(i, reader.Field(i), false);
    table->EndRow(reader.Line());
  }
}
