#include "host/read/PlainText.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>
#include <thread>

#include "host/engine/DuckDb.h"
#include "host/environment/MCStopProcessor.h"
#include "host/text/TextConversion.h"

namespace {

// A thread takes a piece of the file at a time: all records that begin in these bytes.
constexpr std::int64_t kPieceBytes = std::int64_t{1} << 22;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

// Scans pieces of a file, in any order, and adds up what it finds. One for each thread. Where a piece begins
// follows from the line ends alone; that no line end is within quotes is seen in the piece before.
class PieceScanner {
public:
  PieceScanner(const std::string& path, std::int64_t size, char delimiter,
               const std::vector<std::vector<std::string>>& missingTexts)
      : fvMissingTexts(missingTexts), fSize(size), fDelimiter(delimiter) {
    fFound.profiles.resize(missingTexts.size());
    fFile.open(path, std::ios::in | std::ios::binary);
  }

  // False if the piece isn't plain, or can't be read.
  bool Scan(std::int64_t piece) {
    std::string_view text;
    if (!ReadPiece(piece, &text)) return false;
    if (std::memchr(text.data(), '\0', text.size()) != nullptr) return false;
    if (FindInvalidUtf8(text) != std::string_view::npos) return false;
    fCarriageReturns += std::count(text.begin(), text.end(), '\r');
    fAt = text.data();
    fEnd = fAt + text.size();
    if (piece == 0) {
      if (text.starts_with(kByteOrderMark)) fAt += kByteOrderMark.size();
      if (!ScanRecord<false>()) return false;
    }
    for (; fAt < fEnd; ++fFound.rows) {
      if (!ScanRecord<true>()) return false;
    }
    return true;
  }

  // Adds what was found to what others have. False if it doesn't fit.
  bool AddTo(PlainText* all) const {
    if (fCarriageReturns != fPairs) return false;
    for (std::size_t i = 0; i < fFound.profiles.size(); ++i) all->profiles[i].Merge(fFound.profiles[i]);
    all->rows += fFound.rows;
    all->hasQuotes = all->hasQuotes || fFound.hasQuotes;
    all->hasCarriageReturns = all->hasCarriageReturns || fPairs > 0;
    return true;
  }
  bool HasBareLineFeeds() const { return fbBareLineFeeds; }

private:
  // From the first line end at or behind the byte before the piece to the one at or behind its last byte.
  bool ReadPiece(std::int64_t piece, std::string_view* text) {
    const std::int64_t from = std::max<std::int64_t>(0, piece * kPieceBytes - 1);
    const std::int64_t last = (piece + 1) * kPieceBytes - 1;
    fBuffer.resize(static_cast<std::size_t>(std::min(fSize, last + PlainText::kMostRecordBytes) - from));
    const auto count = static_cast<std::streamsize>(fBuffer.size());
    if (fFile.pubseekpos(from) != std::streampos(from) || fFile.sgetn(fBuffer.data(), count) != count) {
      return false;
    }
    std::size_t begin = 0;
    if (piece > 0) {
      begin = fBuffer.find('\n') + 1;
      if (begin == 0 || begin > PlainText::kMostRecordBytes) return false;
    }
    std::size_t end = fBuffer.size();
    if (last < fSize) {
      end = fBuffer.find('\n', static_cast<std::size_t>(last - from)) + 1;
      if (end == 0) end = fBuffer.size();
      if (end == fBuffer.size() && last + PlainText::kMostRecordBytes < fSize) return false;
    }
    *text = std::string_view(fBuffer).substr(begin, std::max(begin, end) - begin);
    return true;
  }

  // The record at fAt, up to behind its line end.
  template <bool kIsRow>
  bool ScanRecord() {
    const char* const begin = fAt;
    const std::size_t columns = fvMissingTexts.size();
    for (std::size_t i = 0; i < columns; ++i) {
      std::string_view field;
      if (!ScanField(&field)) return false;
      const bool isLast = fAt == fEnd || *fAt == '\n';
      if (isLast != (i + 1 == columns)) return false;
      if (isLast) EndRecord(begin, &field);
      if (fAt < fEnd) ++fAt;
      if (kIsRow && !field.empty()) AddField(i, field);
    }
    return fAt - begin <= PlainText::kMostRecordBytes;
  }

  // The field at fAt, up to the delimiter, LF or end of the text.
  bool ScanField(std::string_view* field) {
    const bool isQuoted = fAt < fEnd && *fAt == '"';
    if (isQuoted) return ScanQuoted(field);
    const char* const begin = fAt;
    while (fAt < fEnd && *fAt != fDelimiter && *fAt != '\n') {
      if (*fAt == '"') return false;
      ++fAt;
    }
    *field = {begin, static_cast<std::size_t>(fAt - begin)};
    return true;
  }

  bool ScanQuoted(std::string_view* field) {
    fFound.hasQuotes = true;
    const char* const begin = ++fAt;
    while (fAt < fEnd && *fAt != '"') {
      if (*fAt == '\n') return false;
      ++fAt;
    }
    if (fAt == fEnd) return false;
    *field = {begin, static_cast<std::size_t>(fAt - begin)};
    ++fAt;
    if (fEnd - fAt >= 2 && fAt[0] == '\r' && fAt[1] == '\n') ++fAt;
    return fAt == fEnd || *fAt == fDelimiter || *fAt == '\n';
  }

  // At the LF or the end of the text. The CR before an LF is part of an unquoted field so far.
  void EndRecord(const char* begin, std::string_view* field) {
    if (fAt == fEnd) return;
    const bool isPair = fAt > begin && fAt[-1] == '\r';
    fPairs += isPair;
    fbBareLineFeeds = fbBareLineFeeds || !isPair;
    if (isPair && field->data() + field->size() == fAt) field->remove_suffix(1);
  }

  void AddField(std::size_t column, std::string_view field) {
    const std::vector<std::string>& missing = fvMissingTexts[column];
    TextProfile& profile = fFound.profiles[column];
    if (missing.empty() || std::find(missing.begin(), missing.end(), field) == missing.end()) {
      profile.Add(field, 1);
    } else {
      profile.AddMissing(field, 1);
    }
  }

  const std::vector<std::vector<std::string>>& fvMissingTexts;  // borrowed
  std::int64_t fSize;                                           // bytes of the file
  char fDelimiter;
  std::filebuf fFile;
  std::string fBuffer;
  const char* fAt = nullptr;  // in the piece
  const char* fEnd = nullptr;
  PlainText fFound;
  std::int64_t fCarriageReturns = 0;
  std::int64_t fPairs = 0;  // CR LF at the ends of records
  bool fbBareLineFeeds = false;
};

// Runs work(i) for each i below `count`, each on a thread of its own as far as there are any.
template <class Work>
void RunOnThreads(std::size_t count, const Work& work) {
  std::vector<std::jthread> threads;
  threads.reserve(count);
  try {
    for (std::size_t i = 1; i < count; ++i) threads.emplace_back(work, i);
  } catch (const std::system_error&) {
    // Those that there are do all the work.
  }
  work(0);
}

}  // namespace

std::optional<PlainText> ScanPlainText(const std::string& path, char delimiter,
                                       const std::vector<std::vector<std::string>>& missingTexts,
                                       int threads) {
  std::error_code error;
  const auto size = static_cast<std::int64_t>(std::filesystem::file_size(path, error));
  if (error || missingTexts.size() < 2) return std::nullopt;
  const std::int64_t pieces = (size + kPieceBytes - 1) / kPieceBytes;
  std::vector<PieceScanner> scanners;
  for (std::int64_t i = 0; i < std::min<std::int64_t>(std::max(1, threads), pieces); ++i) {
    scanners.emplace_back(path, size, delimiter, missingTexts);
  }
  std::atomic<std::int64_t> next = 0;
  std::atomic<bool> isPlain = true;
  RunOnThreads(scanners.size(), [&](std::size_t scanner) {
    try {
      for (std::int64_t piece = next++; piece < pieces && isPlain; piece = next++) {
        if (StopRequested() || !scanners[scanner].Scan(piece)) isPlain = false;
      }
    } catch (const std::exception&) {
      isPlain = false;  // out of memory
    }
  });
  if (!isPlain) return std::nullopt;
  PlainText all;
  all.path = path;
  all.delimiter = delimiter;
  all.profiles.resize(missingTexts.size());
  bool hasBareLineFeeds = false;
  for (const PieceScanner& scanner : scanners) {
    if (!scanner.AddTo(&all)) return std::nullopt;
    hasBareLineFeeds = hasBareLineFeeds || scanner.HasBareLineFeeds();
  }
  if (all.hasCarriageReturns && hasBareLineFeeds) return std::nullopt;
  return all;
}

// Everything is said, so that DuckDB guesses nothing. Only CR LF is left to it: named, it finds no row. The
// buffers are smaller than its own, since each thread fills several.
std::string PlainTextSql(const PlainText& text, const std::vector<std::string>& types) {
  constexpr std::int64_t kBufferBytes = 8'000'000;
  std::string columns;
  for (std::size_t i = 0; i < types.size(); ++i) {
    columns += fmt::format("{}'c{}': '{}'", i == 0 ? "" : ", ", i, types[i]);
  }
  const char* const quote = text.hasQuotes ? "\"" : "";
  return fmt::format(
      "read_csv({}, auto_detect = false, header = true, delim = {}, quote = '{}', escape = '{}', comment = "
      "'', nullstr = '', {}strict_mode = true, null_padding = false, ignore_errors = false, compression = "
      "'none', hive_partitioning = false, buffer_size = {}, columns = {{{}}})",
      FileLiteral(text.path), QuoteLiteral(std::string_view(&text.delimiter, 1)), quote, quote,
      text.hasCarriageReturns ? "" : "new_line = '\\n', ", kBufferBytes, columns);
}
