#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ProgramRun.h"

// `svselect size` and `svselect design`, as a user runs them.

namespace {

using testing::HasSubstr;

TEST(Planning, TellsASize) {
  const ProgramFolder folder;
  const ProgramFolder::Result told =
      folder.Run("$S size proportion --margin 3% --expected 20% --population 6194 --deff 1.5 --response 80%");
  EXPECT_EQ(told.out,
            "To estimate a proportion near 0.2, within 0.03 at 95% confidence (z = 1.95996):\n"
            "  simple random sample           682.9\n"
            "  times the design effect 1.5  1,024.4\n"
            "  from a population of 6,194     879.1\n"
            "  answers needed                   880\n"
            "  to draw, if 80% answer         1,100\n");
  // 10 % of a mean of 19 with S^2 = 85.6 at z = 2: 94.9 of any number, 77.7 of 430.
  const auto json = nlohmann::json::parse(
      folder
          .Run("$S size mean --expected -19 --sd 9.252027 --margin 10% --population 430 "
               "--confidence 0.954499736 --json")
          .out);
  EXPECT_NEAR(json["simple_random_sample"].get<double>(), 94.85, 0.01);
  EXPECT_EQ(json["answers"], 78);
  const ProgramFolder::Result beyond =
      folder.Run("$S size proportion --margin 0.01 --population 1000 --response 0.5");
  EXPECT_EQ(beyond.status, 1);
  EXPECT_THAT(beyond.err, HasSubstr("906 answers are needed, and if all 1000 units were drawn"));
}

TEST(Planning, TellsWrongUseOfASizeInOneLine) {
  const std::pair<const char*, const char*> kCases[] = {
      {"", "proportion, mean or total"},
      {"porportion --margin 3%", "'porportion' can't be estimated; did you mean proportion?"},
      {"variance", "'variance' can't be estimated; choose proportion, mean or total"},
      {"mean --magrin 3%", "size has no option '--magrin'; did you mean --margin?"},
      {"mean --sd 2 --margin 3%", "--margin in percent needs --expected"},
      {"mean --sd 3% --margin 3", "--sd: '3%' is a percentage, and a number is needed"},
      {"mean --margin 3", "a standard deviation between units is needed"},
      {"proportion --margin 3x", "--margin: '3x' isn't a number or a percentage such as 5%"},
      {"proportion --margin 3% --confidence 95",
       "the confidence level is 95, and must be above 0 and below 1"},
      {"proportion --margin 3% --cv 4%", "not both"},
  };
  const ProgramFolder folder;
  for (const auto& [options, error] : kCases) {
    SCOPED_TRACE(options);
    const ProgramFolder::Result told = folder.Run(std::string("$S size ") + options);
    EXPECT_EQ(told.status, 2);
    EXPECT_EQ(told.out, "");
    EXPECT_THAT(told.err, HasSubstr(error));
    EXPECT_THAT(told.err, HasSubstr("(svselect size --help tells more)"));
  }
}

}  // namespace
