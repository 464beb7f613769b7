#include "host/read/CsvReader.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/text/TextConversion.h"

namespace {
constexpr std::size_t kBufferBytes = 1 << 18;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
}  // namespace

CsvReader::CsvReader(std::string path)
    : fPath(std::move(path)), fFile(fPath, std::ios::binary), fBuffer(kBufferBytes) {
  if (!fFile) throw DataError(fmt::format("{}: can't be opened", fPath));
  Peek();
  if (std::string_view(fBuffer.data(), fCount).starts_with(kByteOrderMark)) fAt = kByteOrderMark.size();
}

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

// Takes a field and what ends it; false when that was the last of the record.
bool CsvReader::ReadField() {
  if (Peek() == '"') ReadQuoted();
  for (;;) {
    // The ordinary characters up to the end of the buffer at once.
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

bool CsvReader::EndField(int next) {
  if (next == static_cast<unsigned char>(fDelimiter)) return true;
  if (next == '\r' && Peek() == '\n') Take();
  ++fLine;
  return false;
}

// Takes a field in quotes with both of them; it leaves the next character to be the field's end.
void CsvReader::ReadQuoted() {
  const std::int64_t openLine = fLine;
  fbAnyQuoted = true;
  Take();
  for (;;) {
    const int next = Take();
    if (next == kEnd) throw DataError(fmt::format("{}, line {}: a quote isn't closed", fPath, openLine));
    if (next == '"') {
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

void CsvReader::CheckEncoding() const {
  const std::size_t bad = FindInvalidUtf8(fBytes);
  if (bad == std::string_view::npos) return;
  const auto lineEnds = std::count(fBytes.begin(), fBytes.begin() + static_cast<std::ptrdiff_t>(bad), '\n');
  throw DataError(fmt::format("{}, line {}: invalid UTF-8", fPath, fRecordLine + lineEnds));
}

namespace {

// Whether the header, the first line that isn't blank, has semicolons and no comma, outside of quotes.
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
    if (c == '"') isQuoted = !isQuoted;
    if (isQuoted) continue;
    if (c == ',') return false;
    if (isLineEnd) break;
    hasSemicolon = hasSemicolon || c == ';';
  }
  return hasSemicolon;
}

// Of several columns without a name all but the first go by their places: names differ, and like the empty
// one these can't be named.
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
