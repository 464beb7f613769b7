#include <fmt/format.h>
#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <cmath>
#include <cstring>
#include <sstream>

#include "host/read/TextProfile.h"

namespace {

using Kind = TextProfile::Kind;

// Goal: the notation of numbers, and the digits that a double gives back, at their edges.
TEST(TextProfile, SettlesSingleTexts) {
  const std::pair<Kind, std::string> kCases[] = {
      {Kind::kInteger, "0|-0|12"},
      {Kind::kText, "00|-01|01.5|+5| 5|1e|.|-|0x1F|1,5|nan|inf|1e309|1e-400|1.2e-323|TRUE"},
      {Kind::kText, "2023-02-29|0000-01-01|2024-1-01|24:00:00|23:59:60|10:00:00.50|10:00:00.1234567"},
      {Kind::kText, "2024-02-29T10:00:00"},
      {Kind::kNumber, "0.5|.5|-.5e-3|5.|1E+5|1e308|0e-400|5e-324|1.5e-323"},
      {Kind::kBoolean, "true"},
      {Kind::kDate, "2024-02-29"},
      {Kind::kTime, "23:59:59|10:00:00.5"},
      {Kind::kTimestamp, "2024-02-29 10:00:00"},
  };
  for (const auto& [kind, joined] : kCases) {
    std::istringstream texts(joined);
    for (std::string text; std::getline(texts, text, '|');) {
      TextProfile profile;
      profile.Add(text, 1);
      EXPECT_EQ(profile.Settled(), kind) << text;
    }
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
    for (const std::string& text : {fmt::format("{}", value), fmt::format("{:.16e}", value)}) {
      double number = 0.0;
      RC_ASSERT(ReadNumber(text, &number));
      RC_ASSERT(number == value && ComesBack(text, number));
    }
  });
}

// Goal: short numbers, which are read in a way of their own, come out as all others do; parts of a column, merged,
// as the whole.
TEST(TextProfile, ReadsShortNumbersAsAllOthers) {
  rc::check("digits with a point", [](std::uint64_t bits) {
    std::string text =
        std::to_string(bits % *rc::gen::element<std::uint64_t>(10, 100'000, 10'000'000'000'000'000));
    if (*rc::gen::arbitrary<bool>()) text.insert(*rc::gen::inRange<std::size_t>(0, text.size() + 1), ".");
    if (*rc::gen::arbitrary<bool>()) text.insert(0, "-");
    TextProfile shorter, longer, merged, other;
    shorter.Add(text, 1);
    longer.Add(text + "e0", 1);
    double number = 0.0;
    RC_ASSERT(ReadNumber(text, &number));
    RC_ASSERT(shorter.Least() == number && shorter.Greatest() == number);
    const bool isWhole = text.find('.') == std::string::npos;
    RC_ASSERT(shorter.AllIntegers() == isWhole);
    RC_ASSERT(isWhole || shorter.Settled() == longer.Settled());
    other.Add("-1", 1);
    merged.Merge(shorter);
    merged.Merge(other);
    shorter.Add("-1", 2);
    RC_ASSERT(merged.Settled() == shorter.Settled() && merged.Least() == shorter.Least() &&
              merged.Greatest() == shorter.Greatest() && merged.LongestText() == shorter.LongestText());
  });
}

}  // namespace
