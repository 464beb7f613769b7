#include <algorithm>

#include "host/text/ProgressText.h"
#include "host/text/ReadableNumber.h"

TEST(ReadableNumber, KeepsDigitsAndGroups) {
  struct Case {
    double number;
    const char* text;
  };
  const Case kCases[] = {
      {0, "0"},
      {1, "1"},
      {999, "999"},
      {1000, "1,000"},
      {6194, "6,194"},
      {-1234567.8, "-1,234,568"},
      {173.0167, "173.017"},
      {5.40932, "5.40932"},
      {0.25, "0.25"},
      {999999.6, "1,000,000"},
      {0.00025, "0.00025"},
      {1e-5, "1e-05"},
      {1e15, "1e+15"},
      {1e300, "1e+300"},
      {-0.5, "-0.5"},
  };
  for (const Case& c : kCases) {
    std::string plain = c.text;
    EXPECT_EQ(GroupedNumber(c.number), plain);
    plain.erase(std::remove(plain.begin(), plain.end(), ','), plain.end());
    EXPECT_EQ(ReadableNumber(c.number), plain);
  }
}

TEST(ProgressText, TellsWhatIsKnownAndFits) {
  struct Case {
    PassProgress progress;
    int width;
    const char* text;
  };
  const PassProgress kHalf = {
      .pass = 2, .isLast = false, .cases = 4'300'000, .total = 10'000'000, .seconds = 2.0};
  const Case kCases[] = {
      {kHalf, 80, "pass 2: 43 % of 10,000,000 cases, 2,150,000 a second, 3 s left"},
      {kHalf, 60, "pass 2: 43 % of 10,000,000 cases, 2,150,000 a second"},
      {kHalf, 10, "pass 2: 43 % of 10,000,000 cases"},
      {{.pass = 3, .isLast = true, .cases = 999, .total = 1000, .seconds = 10'000},
       80,
       "last pass: 99 % of 1,000 cases, 0.0999 a second, 10 s left"},
      {{.pass = 1, .cases = 0, .total = 1, .seconds = 9}, 80, "pass 1: 0 % of 1 case"},
      {{.pass = 1, .cases = 5, .total = 100, .seconds = 0.01}, 80, "pass 1: 5 % of 100 cases"},
      {{.pass = 1, .cases = 100, .total = 100, .seconds = 9}, 80, "pass 1: all 100 cases"},
      {{.pass = 1, .cases = 123'456, .total = -1, .seconds = 1},
       80,
       "pass 1: 123,456 cases, 123,000 a second"},
      {{.pass = 1, .cases = 0, .total = 0, .seconds = 1}, 80, "pass 1: all 0 cases"},
  };
  for (const Case& c : kCases) EXPECT_EQ(ProgressText(c.progress, c.width), c.text);
  EXPECT_EQ(DurationText(59.4), "59 s");
  EXPECT_EQ(DurationText(59.6), "1 min 0 s");
  EXPECT_EQ(DurationText(125), "2 min 5 s");
  EXPECT_EQ(DurationText(3840), "1 h 4 min");
  EXPECT_EQ(DurationText(1e300), "1000000 h 0 min");
}
