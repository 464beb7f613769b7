#include "host/data/Utf8.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>
#include <limits>

std::size_t FindInvalidUtf8(std::string_view text) {
  const auto ascii = std::find_if(text.begin(), text.end(), [](char c) { return (c & 0x80) != 0; });
  auto at = static_cast<std::size_t>(ascii - text.begin());
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  while (at < text.size()) {
    constexpr std::size_t kPiece = std::numeric_limits<std::int32_t>::max() / 2;  // ICU counts in 32 bits
    const auto length = static_cast<std::int32_t>(std::min(text.size() - at, kPiece));
    std::int32_t step = 0;
    UChar32 c = 0;
    U8_NEXT(bytes + at, step, length, c);
    if (c < 0) return at;
    at += static_cast<std::size_t>(step);
  }
  return std::string_view::npos;
}
