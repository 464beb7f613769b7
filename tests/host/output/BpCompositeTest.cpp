#include <cmath>

#include "host/numeric/Obs.h"
#include "host/output/BpComposite.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"

// Two items, the second a list of those texts that the row gives.
TEST(BpComposite, FillsTemplates) {
  struct Case {
    const char* pattern;
    std::vector<std::string> list;
    const char* text;
  };
  const Case kCases[] = {
      {"Sample size ^1 [%1 = %2:, ^1 = ^2:]2 ...", {"A", "1", "B", "2"}, "Sample size one A = 1, B = 2 ..."},
      {"[%1:, ^1:]2", {"a", "b", "c"}, "a, b, c"},
      {"<[%1:, ^1:]2>", {}, "<>"},
      {"[%1:, ^1:]2", {"^1", "[%1:, ^1:]2", "%1"}, "^1, [%1:, ^1:]2, %1"},
      {"[%2(%1):; ^2(^1):]2", {"a", "b", "c", "d", "e"}, "b(a); d(c); (e)"},
      {"[%1:, ^1:]1", {"a"}, "one"},
      {"^2, ^1, ^2", {"a", "b"}, "a, b, one, a, b"},
      {"^3 ^0 ^ ^x ^^1 [a] [a:b:] [a:b:]3 [a:b", {}, "^3 ^0 ^ ^x ^one [a] [a:b:] [a:b:]3 [a:b"},
      {"^99999999999999999999", {}, "^99999999999999999999"},
  };
  for (const Case& c : kCases) {
    BpComposite composite(c.pattern, true);
    composite.Add(BpString("one", false));
    composite.Sublist();
    for (const std::string& text : c.list) composite.Add(BpString(text, false));
    composite.EndSublist();
    composite.Finish();
    EXPECT_EQ(composite.Text(), c.text) << c.pattern;
  }
}

TEST(BpNumber, ShowsCountsAndPercentages) {
  const std::pair<double, std::string> kCases[] = {
      {-0.04, "0 0.0%"},
      {33.349, "33 33.3%"},
      {-1.96, "-2 -2.0%"},
      {2147483647.0, "2147483647 2147483647.0%"},
  };
  for (const auto& [value, shown] : kCases) {
    const BpNumber count(value, BpProcedure::Count());
    EXPECT_EQ(count.Text() + ' ' + BpNumber(value, BpProcedure::Percent()).Text(), shown);
    EXPECT_EQ(count.Number(), value);
  }
  for (const double none : {MCMV::gMissingValue, HUGE_VAL, std::nan("")}) {
    EXPECT_EQ(BpNumber(none, BpProcedure::Percent()).Text(), ".");
    EXPECT_FALSE(BpNumber(none, BpProcedure::Count()).Number());
  }
}
