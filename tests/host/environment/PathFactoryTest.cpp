#include <cstdlib>
#include <filesystem>

#include "host/environment/Clocks.h"
#include "host/environment/MessageCatalogue.h"
#include "host/environment/PathFactory.h"

TEST(PathFactory, FindsTheDataFolder) {
  EXPECT_EQ(PathFactory::getPathInstance(2), nullptr);
  PathFinder* const finder = PathFactory::getPathInstance(3);
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path("/");
  EXPECT_TRUE(std::filesystem::exists(finder->DataFolder() + "korv-survey-plans-1.0.dtd"));
  std::filesystem::current_path(before);
  setenv("SVSELECT_DATADIR", "/some/where", 1);
  EXPECT_EQ(finder->DataFolder(), "/some/where/");
  unsetenv("SVSELECT_DATADIR");
}

// The first and the last day that can be set; what is outside, or no number, leaves today.
TEST(Clocks, TakesTheDayFromTheEnvironment) {
  struct Case {
    const char* seconds;
    int year, month, day;  // 0 for today
  };
  const Case kCases[] = {
      {"0", 1970, 1, 1},
      {"1709164799", 2024, 2, 28},
      {"-62135596800", 1, 1, 1},
      {"-62135596801", 0, 0, 0},
      {"253402300799", 9999, 12, 31},
      {"253402300800", 0, 0, 0},
      {"12x", 0, 0, 0},
      {"", 0, 0, 0},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.seconds);
    setenv("SOURCE_DATE_EPOCH", c.seconds, 1);
    const CalendarDay day = BCLOCK();
    if (c.year == 0) {
      EXPECT_TRUE(1970 < day.year && day.year < 10000) << day.year;
    } else {
      EXPECT_TRUE(day.year == c.year && day.month == c.month && day.day == c.day)
          << day.year << ' ' << day.month << ' ' << day.day;
    }
  }
  unsetenv("SOURCE_DATE_EPOCH");
}

TEST(MessageCatalogue, FillsTheInsertion) {
  char text[kCatalogueTextSize];
  GETTXM(11903, "2", text);
  EXPECT_STREQ(text, "Number of selections or copy in stage 2");
  ERRTXN(11908, text);
  EXPECT_STREQ(text, "Final sampling weight");
  GETTXM(11901, std::string(500, '7').c_str(), text);
  EXPECT_EQ(std::string(text).size(), kCatalogueTextSize - 1);
  ERRTXN(11909, text);
  EXPECT_STREQ(text, "");
}
