#include "host/read/TextSource.h"

#include <fmt/format.h>

#include <utility>

#include "host/environment/MCStopProcessor.h"

namespace {

constexpr std::size_t kBlockBytes = 1 << 18;  // 256 KiB of the file at a time

// The characters of the bytes 80 to 9F; 0 where a byte has no character. All other bytes are those of Latin-1.
// Source: the Unicode consortium's table CP1252.TXT.
constexpr std::array<char16_t, 32> kWindows1252 = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

constexpr char kNoUtf8 = '\xFF';  // a byte that is in no character

}  // namespace

TextSource::TextSource(std::string path, const TextForm& form)
    : fPath(std::move(path)), fForm(form), fSource(fPath, form.isGzip), fRaw(kBlockBytes) {}

TextSource::int_type TextSource::underflow() {
  if (gptr() != egptr()) return traits_type::to_int_type(*gptr());
  fBefore = Position();
  setg(nullptr, nullptr, nullptr);
  if (StopRequested()) throw DataError(fmt::format("{}: stopped", fPath));
  if (fForm.isGzip && fPiece > kMostPieceBytes) {
    throw DataError(fmt::format("{}: a line or value of more than {} MiB", fPath, kMostPieceBytes >> 20));
  }
  const bool isPlain = fForm.encoding == TextEncoding::kUtf8;
  fText.clear();
  std::size_t count = 0;
  // A block may decode to nothing: a mark alone, or half of a pair.
  do {
    count = fSource.Read(fRaw.data(), fRaw.size());
    if (!isPlain) Decode({fRaw.data(), count});
  } while (!isPlain && count > 0 && fText.empty());
  char* const begin = isPlain ? fRaw.data() : fText.data();
  const std::size_t size = isPlain ? count : fText.size();
  if (size == 0) return traits_type::eof();
  fPiece += static_cast<std::int64_t>(size);
  setg(begin, begin, begin + size);
  return traits_type::to_int_type(*begin);
}

// Appends a block to fText; an empty one means the end.
void TextSource::Decode(std::string_view bytes) {
  if (fForm.encoding == TextEncoding::kWindows1252) {
    for (const char byte : bytes) {
      const auto c = static_cast<unsigned char>(byte);
      const char32_t decoded = c >= 0x80 && c <= 0x9F ? kWindows1252[c - 0x80] : c;
      if (decoded == 0 && c != 0) {
        fText += kNoUtf8;
      } else {
        Put(decoded);
      }
    }
    return;
  }
  if (bytes.empty() && (fOddByte >= 0 || fFirstHalf != 0)) {
    fText += kNoUtf8;
    fOddByte = -1;
    fFirstHalf = 0;
  }
  for (const char byte : bytes) {
    const int c = static_cast<unsigned char>(byte);
    if (fOddByte < 0) {
      fOddByte = c;
      continue;
    }
    const bool isLittle = fForm.encoding == TextEncoding::kUtf16LittleEndian;
    DecodeUnit(static_cast<unsigned>(isLittle ? fOddByte | c << 8 : fOddByte << 8 | c));
    fOddByte = -1;
  }
}

void TextSource::DecodeUnit(unsigned unit) {
  constexpr unsigned kMark = 0xFEFF;
  const bool isMark = !std::exchange(fbAnyUnit, true) && unit == kMark;
  const bool isFirstHalf = unit >= 0xD800 && unit <= 0xDBFF;
  const bool isSecondHalf = unit >= 0xDC00 && unit <= 0xDFFF;
  const unsigned first = std::exchange(fFirstHalf, isFirstHalf ? unit : 0);
  if (isSecondHalf && first != 0) return Put(0x10000 + ((first - 0xD800) << 10) + (unit - 0xDC00));
  if (first != 0 || isSecondHalf) fText += kNoUtf8;
  if (!isMark && !isFirstHalf && !isSecondHalf) Put(unit);
}

void TextSource::Put(char32_t c) {
  const auto put = [this](char32_t bits) { fText += static_cast<char>(static_cast<unsigned char>(bits)); };
  const auto follow = [&](int shift) { put(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) return put(c);
  if (c < 0x800) {
    put(0xC0 | c >> 6);
  } else if (c < 0x10000) {
    put(0xE0 | c >> 12);
    follow(6);
  } else {
    put(0xF0 | c >> 18);
    follow(12);
    follow(6);
  }
  follow(0);
}
