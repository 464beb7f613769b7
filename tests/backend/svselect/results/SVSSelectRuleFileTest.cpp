#include <gmock/gmock.h>

#include "DrawSession.h"
#include "backend/svselect/results/SVSSelectRuleFile.h"

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kOutputs = "/CRITERIA SEED=1 /SELECTRULE OUTFILE='@/r.txt' /SAMPLEFILE OUTFILE='@/s.csv' ";

TEST(SVSSelectRuleFile, WritesOneClauseForEachCombination) {
  const std::string frame = "b,a,c\n20,o'neill,1\n10,\"x \"\"y\"\"\",1\n20,o'neill,2\n,z,3\n";
  struct Case {
    std::string aim, stages, rule, cases, clauses, schema = "";
  };
  const std::string pairs =
      "( ( a EQ o'neill ) AND\n  ( b EQ 20 ) ) OR\n( ( a EQ x \"y\" ) AND\n  ( b EQ 10 ) )\n";
  const Case kCases[] = {
      {"two variables", Stage("simple_wor", Strata("a") + Clusters("b") + Size("1")), pairs, "3", "2"},
      {"one variable", Stage("simple_wor", Strata("b") + Size("1")), "( ( b EQ 20 ) ) OR\n( ( b EQ 10 ) )\n",
       "2", "2"},
      {"a case drawn three times",
       Stage("simple_wr", Strata("a") + Clusters("b") + Size("3") + Out("Index", "i")), pairs, "9", "2"},
      {"over two stages",
       Stage("simple_wor", Clusters("a") + Size("3")) + Stage("simple_wor", Strata("c") + Size("1")),
       "( ( a EQ o'neill ) AND\n  ( c EQ 1 ) ) OR\n( ( a EQ x \"y\" ) AND\n  ( c EQ 1 ) ) OR\n"
       "( ( a EQ o'neill ) AND\n  ( c EQ 2 ) ) OR\n( ( a EQ z ) AND\n  ( c EQ 3 ) )\n",
       "4", "4"},
      {"formats that can't show the values", Stage("simple_wor", Strata("b") + Clusters("a") + Size("1")),
       "( ( b EQ 20.00 ) AND\n  ( a EQ o'neill ) ) OR\n( ( b EQ 10.00 ) AND\n  ( a EQ x \"y\" ) )\n", "3",
       "2", R"({"fields": [{"name": "b", "printFormat": "A3000"}, {"name": "a", "printFormat": "A4000"}]})"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const DrawSession draw(frame, c.stages + Out("Weight", "w"), kOutputs, c.schema);
    EXPECT_THAT(draw.messages, IsEmpty());
    EXPECT_EQ(draw.TextOf("r.txt"), c.rule);
    EXPECT_THAT(draw.files, ElementsAre("sample " + c.cases, "rule " + c.clauses));
  }
}

TEST(SVSSelectRuleFile, KeepsOneBlankOfABlankValue) {
  const DrawSession draw("a,b\n\" \",1\nx,2\n",
                         Stage("simple_wor", Strata("a") + Size("1")) + Out("Weight", "w"),
                         kOutputs + "/CLASSMISSING INCLUDE");
  EXPECT_THAT(draw.messages, IsEmpty());
  EXPECT_EQ(draw.TextOf("r.txt"), "( ( a EQ   ) ) OR\n( ( a EQ x ) )\n");
}

TEST(SVSSelectRuleFile, WarnsWithoutDesignVariables) {
  const DrawSession draw("a\n1\n", Stage("simple_wor", Size("1")) + Out("Weight", "w"), kOutputs);
  EXPECT_THAT(draw.messages,
              ElementsAre("warning: No SELECTRULE without stratification and cluster variables ..."));
  EXPECT_THAT(draw.files, ElementsAre("sample 1"));
}
