#pragma once

#include <cstdint>

// Type codes of a format.
inline constexpr std::uint8_t kFormatA = 1;     // text
inline constexpr std::uint8_t kFormatAHex = 2;  // text as hexadecimal digits
inline constexpr std::uint8_t kFormatF = 5;     // number

// How a value is shown. The default is F8.2.
struct KORV_Format {
  std::uint16_t width = 8;
  std::uint8_t type = kFormatF;
  std::uint8_t decimals = 2;

  bool operator==(const KORV_Format&) const = default;
};
