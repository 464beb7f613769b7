#include "DrawSession.h"
#include "report/FinalWeights.h"

// The weights are read back from where the run put them. By hand: 12 cases in strata of 4 and 8, two drawn of
// each, have the weights 2, 2, 4, 4; five draws of twelve with replacement have 12 / 5 each, and however
// often a case is drawn, the five sum up to 12.
TEST(FinalWeights, AreReadBackFromWhereTheyWere) {
  struct Case {
    const char* aim;
    std::string stages;
    std::string file;
    std::int64_t count;
    double sum, smallest, largest, cv;
  };
  const std::string strata = Stage("simple_wor", Strata("s") + Size("2"));
  const std::string draws = Stage("simple_wr", Size("5") + Out("Index", "draw"));
  const double cv = 1.0 / 3.0;
  const Case kCases[] = {
      {"sample file", strata, "s.csv", 4, 12, 2, 4, cv},
      {"native sample file", strata, "s.sav", 4, 12, 2, 4, cv},
      {"active file", strata, "", 4, 12, 2, 4, cv},
      {"repeats", draws, "s.parquet", 5, 12, 2.4, 2.4, 0},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const PlanFile plan(Design(c.stages + Out("Weight", "w")));
    const TestFolder folder;
    const std::string path = c.file.empty() ? "" : (folder.path / c.file).string();
    FrameSession session("s\n1\n1\n1\n1\n2\n2\n2\n2\n2\n2\n2\n2\n");
    HostSession::Current().Layer<SessionCommand>().SetCommand(
        "SVSELECT /PLAN FILE='" + plan.Path() + "' /CRITERIA SEED=7" +
        (path.empty() ? "" : " /SAMPLEFILE OUTFILE='" + path + "'"));
    SVSELECT();
    const std::optional<FinalWeights> weights = ReadFinalWeights(HostSession::Current(), "W");
    ASSERT_TRUE(weights.has_value());
    EXPECT_EQ(weights->file, path);
    EXPECT_EQ(weights->summary.count, c.count);
    EXPECT_NEAR(weights->summary.sum, c.sum, 1e-12);
    EXPECT_EQ(weights->summary.smallest, c.smallest);
    EXPECT_EQ(weights->summary.largest, c.largest);
    EXPECT_NEAR(weights->summary.cv, c.cv, 1e-12);
    EXPECT_FALSE(ReadFinalWeights(HostSession::Current(), "nothing").has_value());
    EXPECT_TRUE(CommitFiles()) << "whoever reads a file back lets go of it";
  }
}
