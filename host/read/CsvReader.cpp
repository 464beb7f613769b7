#include "host/read/CsvReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "host/environment/HostErrors.h"
#include "host/read/TextTable.h"
#include "host/text/TextConversion.h"

namespace {
constexpr std::size_t kBufferBytes = 1 << 18;  // 256 KiB a read
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
}  // namespace

CsvReader::CsvReader(std::string path)
    : fPath(std::move(path)), fFile(fPath, std::ios::binary), fBuffer(kBufferBytes) {
  if (!fFile) throw DataError(fmt::format("{}: can't be opened", fPath));
  Peek();
  if (std::string_view(fBuffer.data(), fCount).starts_with(kByteOrderMark)) fAt = kByteOrderMark.size();
}

// Fills the buffer when it is used up. At the end of the file it may be called again and again.
int CsvReader::Peek() {
  if (fAt == fCount) {
    fFile.read(fBuffer.data(), static_cast<std::streamsize>(fBuffer.size()));
    fCount = static_cast<std::size_t>(fFile.gcount());
    fAt = 0;
    if (fFile.bad()) throw DataError(fmt::format("{}, line {}: can't be read on", fPath, fLine));
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
  throw DataError(fmt::format("{}, line {}: invalid UTF-8", fPath, fRecordLine + lineEnds));
}

namespace {

// Whether the header has semicolons and no comma, outside of quotes. It opens the file a second time, since
// the reader needs the delimiter before the first record.
bool IsSplitAtSemicolons(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  char mark[kByteOrderMark.size()];
  if (!file.read(mark, sizeof mark) || std::string_view(mark, sizeof mark) != kByteOrderMark) {
    file.clear();
    file.seekg(0);
  }
  bool isBlank = true;
  bool isQuoted = false;
  bool hasSemicolon = false;
  for (char c = 0; file.get(c);) {
    const bool isLineEnd = c == '\n' || c == '\r';
    if (isLineEnd && isBlank) continue;
    isBlank = false;
    if (c == '"') isQuoted = !isQuoted;  // a doubled quote switches twice
    if (isQuoted) continue;
    if (c == ',') return false;
    if (isLineEnd) break;
    hasSemicolon = hasSemicolon || c == ';';
  }
  if (file.bad() || !file.is_open()) throw DataError(fmt::format("{}, line 1: can't be read on", path));
  return hasSemicolon;
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

void LoadCsv(const std::string& path, char delimiter, TextTable* table) {
  CsvReader reader(path);
  if (delimiter == '\0') delimiter = IsSplitAtSemicolons(path) ? ';' : ',';
  reader.SetDelimiter(delimiter);
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
