#include "host/read/TextForm.h"

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <ios>
#include <string_view>

#include "host/environment/HostErrors.h"
#include "host/environment/MCStopProcessor.h"
#include "host/read/ByteSource.h"
#include "host/text/TextConversion.h"

namespace {

constexpr std::size_t kLookBytes = 1 << 16;      // of the text, at most, to find its form
constexpr std::size_t kLeastZeroShare = 4;       // one unit of UTF-16 in so many has a zero byte
constexpr std::int64_t kWrongForEachRight = 10;  // see IsWindows1252()

// Reads a file from its begin, with the error that a reader has there.
std::size_t ReadSome(ByteSource& source, const std::string& path, char* bytes, std::size_t size) {
  try {
    return source.Read(bytes, size);
  } catch (const std::ios_base::failure&) {
    throw DataError(fmt::format("{}, line 1: can't be read on", path));
  }
}

std::string FirstBytes(const std::string& path, bool isGzip) {
  ByteSource source(path, isGzip);
  std::string bytes(kLookBytes, '\0');
  std::size_t count = 0;
  while (count < bytes.size()) {
    const std::size_t read = ReadSome(source, path, bytes.data() + count, bytes.size() - count);
    if (read == 0) break;
    count += read;
  }
  bytes.resize(count);
  return bytes;
}

unsigned ByteAt(std::string_view bytes, std::size_t at) {
  return static_cast<unsigned char>(bytes[at]);
}

bool IsControl(unsigned c) {
  return c < ' ' && c != '\t' && c != '\n' && c != '\f' && c != '\r';
}

// Whether bytes without a mark look like UTF-16 with the upper byte of each unit at `upper`, 0 or 1.
bool LooksLikeUtf16(std::string_view bytes, std::size_t upper) {
  std::size_t zeros = 0;
  bool isText = false;    // a line end or a bracket was met
  bool isInPair = false;  // the unit before was the first half of a pair
  const std::size_t units = bytes.size() / 2;
  for (std::size_t i = 0; i < units; ++i) {
    const unsigned high = ByteAt(bytes, 2 * i + upper);
    const unsigned low = ByteAt(bytes, 2 * i + 1 - upper);
    const bool isSecondHalf = high >= 0xDC && high <= 0xDF;
    if (isSecondHalf != isInPair || (high == 0 && IsControl(low))) return false;
    isInPair = high >= 0xD8 && high <= 0xDB;
    if (low == 0) return false;
    if (high != 0) continue;
    ++zeros;
    isText = isText || low == '\n' || low == '\r' || (i == 0 && (low == '[' || low == '{'));
  }
  return isText && zeros * kLeastZeroShare >= units;
}

TextEncoding EncodingOf(std::string_view bytes) {
  // The mark of UTF-32 begins like one of UTF-16. It is left to be refused as what it isn't: UTF-8.
  const bool isUtf32 = bytes.starts_with(std::string_view("\xFF\xFE\0\0", 4));
  if (bytes.starts_with("\xFF\xFE") && !isUtf32) return TextEncoding::kUtf16LittleEndian;
  if (bytes.starts_with("\xFE\xFF")) return TextEncoding::kUtf16BigEndian;
  if (bytes.find('\0') == std::string_view::npos) return TextEncoding::kUtf8;
  if (LooksLikeUtf16(bytes, 1)) return TextEncoding::kUtf16LittleEndian;
  return LooksLikeUtf16(bytes, 0) ? TextEncoding::kUtf16BigEndian : TextEncoding::kUtf8;
}

// Length of the character of UTF-8 that begins with this byte; 0 if none of several bytes does.
std::size_t Utf8Length(unsigned lead) {
  if (lead >= 0xC2 && lead <= 0xDF) return 2;
  if (lead >= 0xE0 && lead <= 0xEF) return 3;
  return lead >= 0xF0 && lead <= 0xF4 ? 4 : 0;
}

bool IsUndefined1252(unsigned c) {
  return c == 0x81 || c == 0x8D || c == 0x8F || c == 0x90 || c == 0x9D;
}

// Counts what a text is made of, block by block.
class ByteCensus {
public:
  // Adds a block. The last bytes, which may begin a character, wait for the next one.
  void Add(std::string_view block) {
    constexpr std::size_t kLongestCharacter = 4;
    fPending += block;
    const std::size_t end = block.empty() ? 0 : kLongestCharacter - 1;
    std::size_t at = 0;
    while (at + end < fPending.size()) at += Take(at);
    fPending.erase(0, at);
  }

  bool IsWindows1252() const { return !fbNoText && fWrong > 0 && fRight * kWrongForEachRight <= fWrong; }
  bool IsNoText() const { return fbNoText; }

private:
  // Counts one character of UTF-8 or one byte, and returns its length.
  std::size_t Take(std::size_t at) {
    const unsigned c = ByteAt(fPending, at);
    fbNoText = fbNoText || IsControl(c) || IsUndefined1252(c);
    if (c < 0x80) return 1;
    const std::string_view character = std::string_view(fPending).substr(at, Utf8Length(c));
    const bool isRight = !character.empty() && FindInvalidUtf8(character) == std::string_view::npos;
    ++(isRight ? fRight : fWrong);
    // Continuation bytes may be undefined ones of Windows-1252, so they are looked at as well.
    for (const char next : character)
      fbNoText = fbNoText || (isRight && IsUndefined1252(static_cast<unsigned char>(next)));
    return isRight ? character.size() : 1;
  }

  std::string fPending;
  std::int64_t fRight = 0;  // characters of several bytes
  std::int64_t fWrong = 0;  // bytes that are no part of one
  bool fbNoText = false;
};

}  // namespace

TextForm FindTextForm(const std::string& path) {
  TextForm form;
  std::string bytes = FirstBytes(path, false);
  form.isGzip = bytes.starts_with("\x1F\x8B");
  if (form.isGzip) bytes = FirstBytes(path, true);
  form.encoding = EncodingOf(bytes);
  return form;
}

bool IsWindows1252(const std::string& path, bool isGzip) {
  constexpr std::size_t kBlockBytes = 1 << 18;
  ByteSource source(path, isGzip);
  std::string block(kBlockBytes, '\0');
  ByteCensus census;
  std::size_t count = 0;
  do {
    if (StopRequested()) throw DataError(fmt::format("{}: stopped", path));
    count = ReadSome(source, path, block.data(), block.size());
    census.Add(std::string_view(block).substr(0, count));
  } while (count > 0 && !census.IsNoText());
  return census.IsWindows1252();
}

std::string TextFormRemark(const std::string& path, const TextForm& form) {
  const std::string zip = form.isGzip ? "the file is compressed by gzip" : "";
  switch (form.encoding) {
    case TextEncoding::kUtf8:
      return zip.empty() ? "" : fmt::format("{}: {}", path, zip);
    case TextEncoding::kWindows1252:
      return fmt::format(
          "{}: {}{} isn't UTF-8, and is read as Windows-1252 (Latin-1); see that its letters are right", path,
          zip, zip.empty() ? "the text" : "; its text");
    default:
      return fmt::format("{}: {}{} is in UTF-16", path, zip, zip.empty() ? "the text" : "; its text");
  }
}

const char* EncodingName(TextEncoding encoding) {
  if (encoding == TextEncoding::kUtf8) return "UTF-8";
  return encoding == TextEncoding::kWindows1252 ? "Windows-1252" : "UTF-16";
}
