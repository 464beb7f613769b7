#include "DrawSession.h"

// Above the bound the table has a note and no rows.
TEST(SVSSummaryTable, HasABoundOfVariables) {
  for (const int count : {18, 19}) {
    std::string names = "v", values = "1", strata = Var("v");
    for (int i = 1; i < count; ++i) {
      names += ",v" + std::to_string(i);
      values += ",1";
      strata += Var("v" + std::to_string(i));
    }
    const DrawSession draw(names + "\n" + values + "\n",
                           Wor(StrataOf(strata) + Size("1")) + Out("Weight", "w"), "");
    EXPECT_EQ(draw.tables.size(), count == 18 ? 5U : 2U);
    EXPECT_EQ(draw.tables.at(1) == "note Too many strata clusters in summary table ...", count == 19);
    EXPECT_EQ(draw.active.back(), values + ",1");
  }
}
