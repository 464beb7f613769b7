#include "host/text/ProgressText.h"

#include <algorithm>
#include <cmath>

#include "host/text/ReadableNumber.h"

namespace {

constexpr double kSoonestRate = 0.2;  // seconds; a rate measured over less is noise
constexpr int kRateDigits = 3;
constexpr double kPercent = 100.0;
constexpr double kLongest = 1e6;  // hours; keeps the conversion to a whole number defined

std::string Cases(std::int64_t count) {
  return GroupedNumber(static_cast<double>(count)) + (count == 1 ? " case" : " cases");
}

// A rate to three significant digits; more would flicker.
std::string Rate(double rate) {
  const double unit = std::pow(10.0, std::floor(std::log10(rate)) - (kRateDigits - 1));
  return GroupedNumber(std::round(rate / unit) * unit, kRateDigits) + " a second";
}

}  // namespace

std::string DurationText(double seconds) {
  constexpr double kMinute = 60.0;
  constexpr double kHour = 3600.0;
  const auto whole = [](double number) { return std::to_string(static_cast<long long>(number)); };
  const double rounded = std::round(std::min(seconds, kLongest * kHour));
  if (rounded < kMinute) return whole(rounded) + " s";
  if (rounded < kHour) return whole(rounded / kMinute) + " min " + whole(std::fmod(rounded, kMinute)) + " s";
  return whole(rounded / kHour) + " h " + whole(std::fmod(rounded, kHour) / kMinute) + " min";
}

std::string ProgressText(const PassProgress& progress, int width) {
  const auto cases = static_cast<double>(progress.cases);
  const auto total = static_cast<double>(progress.total);
  const bool isDone = progress.total >= 0 && progress.cases >= progress.total;
  std::string line = progress.isLast ? "last pass" : "pass " + std::to_string(progress.pass);
  line += ": ";
  if (isDone) {
    line += "all " + Cases(progress.total);
  } else if (progress.total > 0) {
    line += ReadableNumber(std::floor(kPercent * cases / total)) + " % of " + Cases(progress.total);
  } else {
    line += Cases(progress.cases);
  }
  // False when the part doesn't fit; then nothing may follow it, or the line would have a hole.
  const auto add = [&](const std::string& part) {
    const bool fits = line.size() + 2 + part.size() <= static_cast<std::size_t>(std::max(width, 0));
    if (fits) line += ", " + part;
    return fits;
  };
  // A pass that is nearly done would show "0 s left" for a while; the estimate never goes below a second.
  if (isDone || progress.cases == 0 || progress.seconds < kSoonestRate) return line;
  const double rate = cases / progress.seconds;
  if (add(Rate(rate)) && progress.total > 0)
    add(DurationText(std::max((total - cases) / rate, 1.0)) + " left");
  return line;
}
