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

// Goal: the strata and units that an allocation counts are those that the draw finds: as many units as there are
// can be asked for, one more can't, and a strict draw takes them all.
TEST(Planning, AllocatesWhatADrawFinds) {
  const ProgramFolder folder;
  // A text that ends in a blank, missing strata, a user-missing cluster, -0, clusters whose names recur.
  folder.Run(
      "printf 's,z,u\\nb,0,1\\n\"a \",-0,1\\na,0,2\\na,1.5,2\\nb,0,1\\nnone,0,1\\na,0,9\\nb,,3\\nb,0,3\\n' "
      ">f.csv");
  folder.Run(R"(echo '{"fields": [{"name": "s", "type": "string", "missingValues": ["none"]},
                 {"name": "u", "type": "number", "missingValues": ["9"]}]}' >f.schema.json)");
  const std::string design = "$S design --data f.csv --weight w --stage 'strata=s,z clusters=u' --allocate ";
  EXPECT_THAT(folder.Run(design + "'n=6 rule=equal'").err, HasSubstr("can give at most 5: s='a', z='0' 2"));
  const ProgramFolder::Result told = folder.Run(design + "'n=5 rule=equal' --out p.json");
  EXPECT_EQ(told.status, 0);
  EXPECT_THAT(told.err, HasSubstr("--allocate: 3 cases of the frame are left out"));
  EXPECT_THAT(told.out, HasSubstr("\n  s='b', z='0'        2  2     100%\n"));
  EXPECT_EQ(folder.Run("$S run --data f.csv --plan p.json --sample s.csv --quiet").status, 0);
  EXPECT_EQ(folder.Run("wc -l <s.csv").out, "7\n");  // six cases of five units, below their names
  // The same plan by way of standard output, and in XML.
  EXPECT_EQ(folder.Run(design + "'n=5 rule=equal' | cmp - p.json").status, 0);
  EXPECT_EQ(
      folder.Run(design + "'n=5 rule=equal' --out p.xml >p.txt; $S plan p.xml --to q.json; cmp p.json q.json")
          .status,
      0);
}

TEST(Planning, DesignsByTheDictionary) {
  const ProgramFolder folder;
  const std::string start = "$S design --data $E/schools.csv --weight w ";
  const ProgramFolder::Result told = folder.Run(
      start + "--stage strata=type --allocate 'n=500 rule=neyman variable=ENROLMENT min=20' --out p.json");
  EXPECT_EQ(told.status, 0) << told.err;
  EXPECT_THAT(told.out, HasSubstr("  Stratum   Units       SD    n  n/Units\n"
                                  "  type='E'  4,421  175.875  223    5.04%\n"
                                  "  type='H'    755  688.319  149    19.7%\n"
                                  "  type='M'  1,018  438.612  128    12.6%\n"));
  const std::pair<const char*, const char*> kCases[] = {
      {"--stage 'strata=tpye n=3'", "schools.csv has no variable tpye; did you mean type?"},
      {"--stage 'strata=type n=3' --previous-weight api0", "has no variable api0; did you mean api00?"},
      {"--stage 'strata=county_no n=1:3,X:4'", "stage 1: 'X' is no value that county_no can have"},
      {"--stage 'strata=type n=3' --previous-weight W", "--weight: 'w' is used twice"},
      {"--stage strata=type --allocate 'n=9 rule=neyman variable=school'", "school isn't numeric"},
      {"--stage strata=type --allocate 'n=9 rule=equal by=county'",
       "by needs the strata of the first stage: by=type"},
      {"--stage strata=type --allocate 'n=9 rule=equal units=u.csv'", "units has no effect"},
      {"--stage method=simple_wor --allocate 'n=9 rule=equal'", "the first stage has no strata"},
      {"--stage 'strata=type n=3' --out no/p.json", "no/p.json: its folder doesn't exist"},
  };
  for (const auto& [options, error] : kCases) {
    SCOPED_TRACE(options);
    const ProgramFolder::Result failed = folder.Run(start + options);
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, HasSubstr(error));
  }
  // The frame isn't overwritten by its plan.
  folder.Run("echo '[{\"type\": 1}]' >f.json; cp f.json g.json");
  EXPECT_EQ(folder.Run("$S design --data f.json --weight w --stage 'strata=type n=1' --out f.json").status,
            1);
  EXPECT_EQ(folder.Run("cmp f.json g.json").status, 0);
  for (const char* wrong :
       {"--weight w", "--stage n=3", "--weight w --stage n=3 --out p.csv",
        "--weight w --stage n=3 --schema s.json", "--weight w --stage n=3 --data f --sql q"}) {
    EXPECT_EQ(folder.Run(std::string("$S design ") + wrong).status, 2) << wrong;
  }
}

}  // namespace
