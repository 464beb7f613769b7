#include "host/environment/Clocks.h"

#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <ctime>

double SCLOCK() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

CalendarDay BCLOCK() {
  std::tm broken{};
  const char* epoch =
      std::getenv("SOURCE_DATE_EPOCH");  // NOLINT(concurrency-mt-unsafe): nothing here sets it
  std::int64_t seconds = 0;
  const char* end = epoch == nullptr ? nullptr : epoch + std::strlen(epoch);
  const auto parsed = std::from_chars(epoch, end, seconds);
  if (epoch != nullptr && epoch != end && parsed.ec == std::errc() && parsed.ptr == end) {
    const std::time_t when = seconds;
    gmtime_r(&when, &broken);
  } else {
    const std::time_t when = std::time(nullptr);
    localtime_r(&when, &broken);
  }
  return {broken.tm_mday, broken.tm_mon + 1, broken.tm_year + 1900};
}
