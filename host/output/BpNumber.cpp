#include "host/output/BpNumber.h"

#include <fmt/format.h>

#include <cmath>

#include "host/numeric/MissingValue.h"

BpNumber::BpNumber(double value, BpFormatSpec format) {
  if (!std::isfinite(value) || value == MCMV::gMissingValue) {
    SetText(".");
    return;
  }
  std::string text = fmt::format("{:.{}f}", value, format.decimals);
  // What rounds to zero is shown without a sign.
  if (text.find_first_of("123456789") == std::string::npos && text.front() == '-') text.erase(0, 1);
  if (format.isPercent) text += '%';
  SetText(std::move(text));
  SetNumber(value);
}
