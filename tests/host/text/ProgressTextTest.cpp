#include "PlanText.h"
#include "host/text/ProgressText.h"
#include "host/text/ReadableNumber.h"

TEST(ReadableNumber, KeepsDigitsAndGroups) {
  const std::pair<double, std::string> kCases[] = {
      {0, "0"},
      {999, "999"},
      {1000, "1,000"},
      {-1234567.8, "-1,234,568"},
      {173.0167, "173.017"},
      {-0.5, "-0.5"},
      {999999.6, "1,000,000"},
      {0.00025, "0.00025"},
      {1e-5, "1e-05"},
      {1e15, "1e+15"},
  };
  for (const auto& [number, text] : kCases) {
    EXPECT_EQ(GroupedNumber(number), text);
    EXPECT_EQ(ReadableNumber(number), Replace(text, ",", ""));
  }
}

TEST(ProgressText, TellsWhatIsKnownAndFits) {
  struct Case {
    int pass;
    bool isLast;
    std::int64_t cases, total;
    double seconds;
    int width;
    const char* text;
  };
  const Case kCases[] = {
      {2, false, 4'300'000, 10'000'000, 2, 80,
       "pass 2: 43 % of 10,000,000 cases, 2,150,000 a second, 3 s left"},
      {2, false, 4'300'000, 10'000'000, 2, 60, "pass 2: 43 % of 10,000,000 cases, 2,150,000 a second"},
      {2, false, 4'300'000, 10'000'000, 2, 10, "pass 2: 43 % of 10,000,000 cases"},
      {3, true, 999, 1000, 10'000, 80, "last pass: 99 % of 1,000 cases, 0.0999 a second, 10 s left"},
      {1, false, 0, 1, 9, 80, "pass 1: 0 % of 1 case"},
      {1, false, 5, 100, 0.01, 80, "pass 1: 5 % of 100 cases"},
      {1, false, 100, 100, 9, 80, "pass 1: all 100 cases"},
      {1, false, 123'456, -1, 1, 80, "pass 1: 123,456 cases, 123,000 a second"},
      {1, false, 0, 0, 1, 80, "pass 1: all 0 cases"},
  };
  for (const Case& c : kCases) {
    const PassProgress progress = {
        .pass = c.pass, .isLast = c.isLast, .cases = c.cases, .total = c.total, .seconds = c.seconds};
    EXPECT_EQ(ProgressText(progress, c.width), c.text);
  }
  EXPECT_EQ(DurationText(59.4), "59 s");
  EXPECT_EQ(DurationText(59.6), "1 min 0 s");
  EXPECT_EQ(DurationText(125), "2 min 5 s");
  EXPECT_EQ(DurationText(3840), "1 h 4 min");
  EXPECT_EQ(DurationText(1e300), "1000000 h 0 min");
}
