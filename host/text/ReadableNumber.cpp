#include "host/text/ReadableNumber.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace {

constexpr double kLargestPlain = 1e15;  // all whole numbers below have at most 15 digits, exact in a double
constexpr double kSmallestPlain = 1e-4;

std::string Digits(double number, std::chars_format format, int precision) {
  char buffer[64];
  const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, number, format, precision);
  return error == std::errc() ? std::string(buffer, end) : std::string();
}

}  // namespace

std::string ReadableNumber(double number, int digits) {
  const double size = std::abs(number);
  if (number == 0.0) return "0";
  if (!(size < kLargestPlain && size >= kSmallestPlain))
    return Digits(number, std::chars_format::general, digits);
  // What the whole part leaves of the digits. Below 1 the logarithm is negative, so zeros after the full stop
  // don't count.
  const int decimals = std::max(digits - 1 - static_cast<int>(std::floor(std::log10(size))), 0);
  std::string text = Digits(number, std::chars_format::fixed, decimals);
  if (text.find('.') != std::string::npos) {
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
  }
  return text;
}

std::string GroupedNumber(double number, int digits) {
  std::string text = ReadableNumber(number, digits);
  if (text.find('e') != std::string::npos) return text;
  const std::size_t point = std::min(text.find('.'), text.size());
  // From the right, so that the positions still to come don't move.
  const std::size_t first = text.front() == '-' ? 1 : 0;
  for (std::size_t at = point; at > first + 3;) text.insert(at -= 3, 1, ',');
  return text;
}
