#include <cstdlib>
#include <filesystem>

#include "host/environment/Clocks.h"
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
    std::vector<int> day;  // none for today
  };
  const Case kCases[] = {
      {"0", {1970, 1, 1}},
      {"1709164799", {2024, 2, 28}},
      {"-62135596800", {1, 1, 1}},
      {"-62135596801", {}},
      {"253402300799", {9999, 12, 31}},
      {"253402300800", {}},
      {"12x", {}},
      {"", {}},
  };
  for (const Case& c : kCases) {
    setenv("SOURCE_DATE_EPOCH", c.seconds, 1);
    const CalendarDay day = BCLOCK();
    const std::vector<int> shown = {day.year, day.month, day.day};
    EXPECT_TRUE(c.day.empty() ? 1970 < day.year && day.year < 9999 : shown == c.day) << c.seconds;
  }
  unsetenv("SOURCE_DATE_EPOCH");
}
