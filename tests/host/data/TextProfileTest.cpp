#include "host/data/TextProfile.h"

#include <gtest/gtest.h>

#include <rapidcheck.h>
#include <charconv>
#include <cmath>
#include <cstring>

namespace {

using Kind = TextProfile::Kind;

// Goal: the notation of numbers, and the digits that a double gives back, at their edges.
TEST(TextProfile, SettlesSingleTexts) {
  struct Case {
    const char* text;
    Kind kind;
  };
  const Case kCases[] = {
      {"0", Kind::kInteger},
      {"-0", Kind::kInteger},
      {"12", Kind::kInteger},
      {"00", Kind::kText},
      {"-01", Kind::kText},
      {"01.5", Kind::kText},
      {"0.5", Kind::kNumber},
      {".5", Kind::kNumber},
      {"-.5e-3", Kind::kNumber},
      {"5.", Kind::kNumber},
      {"1E+5", Kind::kNumber},
      {"+5", Kind::kText},
      {" 5", Kind::kText},
      {"1e", Kind::kText},
      {".", Kind::kText},
      {"-", Kind::kText},
      {"0x1F", Kind::kText},
      {"1,5", Kind::kText},
      {"nan", Kind::kText},
      {"inf", Kind::kText},
      {"1e308", Kind::kNumber},
      {"1e309", Kind::kText},
      {"1e-400", Kind::kText},
      {"0e-400", Kind::kNumber},
      {"5e-324", Kind::kNumber},
      {"1.5e-323", Kind::kNumber},
      {"1.2e-323", Kind::kText},
      {"true", Kind::kBoolean},
      {"TRUE", Kind::kText},
      {"2024-02-29", Kind::kDate},
      {"2023-02-29", Kind::kText},
      {"0000-01-01", Kind::kText},
      {"2024-1-01", Kind::kText},
      {"23:59:59", Kind::kTime},
      {"23:59:60", Kind::kText},
      {"10:00:00.5", Kind::kTime},
      {"10:00:00.50", Kind::kText},
      {"10:00:00.1234567", Kind::kText},
      {"2024-02-29 10:00:00", Kind::kTimestamp},
      {"2024-02-29T10:00:00", Kind::kText},
  };
  for (const Case& c : kCases) {
    TextProfile profile;
    profile.Add(c.text, 1);
    EXPECT_EQ(profile.Settled(), c.kind) << c.text;
  }
  EXPECT_EQ(TextProfile().Settled(), Kind::kNothing);
}

TEST(TextProfile, ComesBackAsDoublesDo) {
  rc::check("a whole number comes back if and only if its double is the number", [](std::int64_t value) {
    const std::string text = std::to_string(value);
    double number = 0.0;
    RC_ASSERT(ReadNumber(text, &number));
    const bool isExact = std::fabs(number) < 9.2e18 && static_cast<std::int64_t>(number) == value;
    RC_ASSERT(ComesBack(text, number) == isExact);
  });
  rc::check("the shortest and the 17-digit text of a double come back", [](std::uint64_t bits) {
    double value = 0.0;
    std::memcpy(&value, &bits, sizeof value);
    RC_PRE(std::isfinite(value));
    for (const int digits : {0, 16}) {
      char buffer[64];
      const auto written =
          digits == 0 ? std::to_chars(buffer, std::end(buffer), value)
                      : std::to_chars(buffer, std::end(buffer), value, std::chars_format::scientific, digits);
      const std::string_view text(buffer, static_cast<std::size_t>(written.ptr - buffer));
      double number = 0.0;
      RC_ASSERT(ReadNumber(text, &number));
      RC_ASSERT(number == value && ComesBack(text, number));
    }
  });
}

}  // namespace
