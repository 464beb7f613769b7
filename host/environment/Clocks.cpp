#include "host/environment/Clocks.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>

double SCLOCK() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

namespace {

constexpr int kTmYears = 1900;  // std::tm counts years from here
constexpr int kLastYear = 9999;

// The date set by SOURCE_DATE_EPOCH; nothing when it is unset, malformed or outside years 1 to 9999.
std::optional<std::tm> ToldDay() {
  const char* epoch =
      std::getenv("SOURCE_DATE_EPOCH");  // NOLINT(concurrency-mt-unsafe): nothing here sets it
  if (epoch == nullptr) return std::nullopt;
  std::int64_t seconds = 0;
  const char* const end = epoch + std::strlen(epoch);
  const auto parsed = std::from_chars(epoch, end, seconds);
  if (epoch == end || parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
  std::tm day{};
  const std::time_t when = seconds;
  const bool isTold =
      gmtime_r(&when, &day) != nullptr && -kTmYears < day.tm_year && day.tm_year <= kLastYear - kTmYears;
  return isTold ? std::optional(day) : std::nullopt;
}

}  // namespace

CalendarDay BCLOCK() {
  std::optional<std::tm> day = ToldDay();
  if (!day) {
    const std::time_t now = std::time(nullptr);
    localtime_r(&now, &day.emplace());
  }
  return {day->tm_mday, day->tm_mon + 1, day->tm_year + kTmYears};
}
