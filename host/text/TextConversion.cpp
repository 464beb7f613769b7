#include "host/text/TextConversion.h"

#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <cstring>
#include <limits>

#include "host/text/VariableNames.h"

// Empty on purpose: the interface wants a handle, but these conversions need no tables and keep no state.
struct KORVMBConverter {};

namespace {

constexpr UChar32 kReplacement = 0xFFFD;
// In units of the source. ICU takes 32-bit lengths, and UTF-16 may grow to three bytes per unit.
constexpr std::size_t kLongestText = std::size_t{1} << 29;

}  // namespace

KORVMBConverter* KORVMBConverterNew_A(int encoding) {
  assert(encoding == 0);
  static_cast<void>(encoding);
  return new KORVMBConverter;
}

void KORVMBConverterDelete_A(KORVMBConverter* converter) {
  delete converter;
}

int KORVMBGenericToU16(KORVMBConverter* converter, std::u16string& out, const std::string& in) {
  assert(converter != nullptr);
  static_cast<void>(converter);
  out.clear();
  if (in.size() > kLongestText) return 1;
  out.resize(in.size());  // upper bound: no byte gives more than one unit
  std::int32_t length = 0;
  UErrorCode error = U_ZERO_ERROR;
  u_strFromUTF8WithSub(out.data(), static_cast<std::int32_t>(out.size()), &length, in.data(),
                       static_cast<std::int32_t>(in.size()), kReplacement, nullptr, &error);
  out.resize(static_cast<std::size_t>(length));
  return U_FAILURE(error) ? 1 : 0;
}

int KORVMBU16ToGeneric(KORVMBConverter* converter, std::string& out, const std::u16string& in) {
  assert(converter != nullptr);
  static_cast<void>(converter);
  out.clear();
  if (in.size() > kLongestText) return 1;
  out.resize(3 * in.size());  // upper bound: no unit gives more than three bytes
  std::int32_t length = 0;
  UErrorCode error = U_ZERO_ERROR;
  u_strToUTF8WithSub(out.data(), static_cast<std::int32_t>(out.size()), &length, in.data(),
                     static_cast<std::int32_t>(in.size()), kReplacement, nullptr, &error);
  out.resize(static_cast<std::size_t>(length));
  return U_FAILURE(error) ? 1 : 0;
}

// Makes its own converter: the callers of this function have none at hand, and one costs nothing.
char16_t* KORVMBTranscodeGeneric(const std::string& text) {
  KORVMBConverter converter;
  std::u16string wide;
  KORVMBGenericToU16(&converter, wide, text);
  auto* const buffer = new char16_t[wide.size() + 1];
  std::copy_n(wide.c_str(), wide.size() + 1, buffer);
  return buffer;
}

void KORVMBRelease(char16_t* buffer) {
  delete[] buffer;
}

void KORVMBstrupr_A(std::string& text) {
  text = GetUpperString(text);
}

void KORVMBstrtrim_A(std::string& text) {
  constexpr const char* kBlanks = " \t";
  text.erase(text.find_last_not_of(kBlanks) + 1);
  text.erase(0, text.find_first_not_of(kBlanks));
}

std::size_t KORVMBFindStart_A(const std::string& text, std::size_t offset) {
  if (offset >= text.size()) return text.size();
  // Search only the four bytes before the offset, the longest a character can be: ICU takes 32-bit offsets.
  const std::size_t from = offset < U8_MAX_LENGTH ? 0 : offset - U8_MAX_LENGTH;
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data() + from);
  auto at = static_cast<std::int32_t>(offset - from);
  U8_SET_CP_START(bytes, 0, at);
  return from + static_cast<std::size_t>(at);
}

namespace {

// The bytes before the first that isn't ASCII. Most texts are ASCII for a long way, so they are taken eight at a time.
std::size_t AsciiBytes(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080'8080'8080'8080;
  std::size_t at = 0;
  for (std::uint64_t word = 0; at + sizeof word <= text.size(); at += sizeof word) {
    std::memcpy(&word, text.data() + at, sizeof word);
    if ((word & kHighBits) != 0) break;
  }
  while (at < text.size() && (text[at] & 0x80) == 0) ++at;
  return at;
}

}  // namespace

std::size_t FindInvalidUtf8(std::string_view text) {
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::size_t at = 0;
  for (;;) {
    at += AsciiBytes(text.substr(at));
    if (at == text.size()) return std::string_view::npos;
    constexpr std::size_t kPiece = std::numeric_limits<std::int32_t>::max() / 2;  // ICU takes 32-bit lengths
    const auto length = static_cast<std::int32_t>(std::min(text.size() - at, kPiece));
    std::int32_t step = 0;
    UChar32 c = 0;
    U8_NEXT(bytes + at, step, length, c);
    if (c < 0) return at;
    at += static_cast<std::size_t>(step);
  }
}
