#include "host/text/VariableNames.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace {

constexpr std::size_t kLongestName = 64;  // bytes, not characters

bool IsNameStart(UChar32 c) {
  return u_isalpha(c) || c == '_' || c == '@' || c == '#' || c == '$';
}
bool IsNamePart(UChar32 c) {
  return IsNameStart(c) || u_isdigit(c) || c == '.';
}

}  // namespace

// The first character follows other rules than the rest, and ALL is a word of the command in any case.
int ValidateKORVName(const std::string& text) {
  constexpr int kIllegal = 1;
  if (text.empty() || text.size() > kLongestName || text.back() == '.') return kIllegal;
  const auto length = static_cast<std::int32_t>(text.size());
  for (std::int32_t at = 0; at < length;) {
    const bool isFirst = at == 0;
    UChar32 c = 0;
    U8_NEXT(text.data(), at, length, c);
    if (c < 0 || !(isFirst ? IsNameStart(c) : IsNamePart(c))) return kIllegal;
  }
  return GetUpperVarName(text) == "ALL" ? kIllegal : 0;
}

std::string GetUpperString(const std::string& text) {
  std::string upper;
  upper.reserve(text.size());
  const auto length = static_cast<std::int32_t>(text.size());
  for (std::int32_t at = 0; at < length;) {
    const std::int32_t start = at;
    UChar32 c = 0;
    U8_NEXT(text.data(), at, length, c);
    if (c < 0) {  // not UTF-8: the bytes are copied, so that the name can still be shown and compared
      upper.append(text, static_cast<std::size_t>(start), static_cast<std::size_t>(at - start));
      continue;
    }
    char bytes[U8_MAX_LENGTH];
    std::int32_t count = 0;
    U8_APPEND_UNSAFE(bytes, count, u_toupper(c));
    upper.append(bytes, static_cast<std::size_t>(count));
  }
  return upper;
}

std::string GetUpperVarName(const std::string& name) {
  return GetUpperString(name);
}
