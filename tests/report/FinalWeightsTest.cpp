#include <fmt/format.h>

#include "DrawSession.h"
#include "report/FinalWeights.h"

// The weights are read back from where the run put them. By hand: 12 cases in strata of 4 and 8, two drawn of
// each, have the weights 2, 2, 4, 4; five draws of twelve with replacement have 12 / 5 each, and however
// often a case is drawn, the five sum up to 12.
TEST(FinalWeights, AreReadBackFromWhereTheyWere) {
  struct Case {
    std::string aim, stages, file;
    const char* summary;  // number, sum, smallest, largest, coefficient of variation
  };
  const std::string strata = Stage("simple_wor", Strata("s") + Size("2"));
  const std::string draws = Stage("simple_wr", Size("5") + Out("Index", "draw"));
  const Case kCases[] = {
      {"sample file", strata, "s.csv", "4 12 2 4 0.3333"},
      {"native sample file", strata, "s.sav", "4 12 2 4 0.3333"},
      {"active file", strata, "", "4 12 2 4 0.3333"},
      {"repeats", draws, "s.parquet", "5 12 2.4 2.4 0"},
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
    const WeightSummary& w = weights->summary;
    EXPECT_EQ(fmt::format("{} {} {} {} {:.4g}", w.count, w.sum, w.smallest, w.largest, w.cv), c.summary);
    EXPECT_FALSE(ReadFinalWeights(HostSession::Current(), "nothing").has_value());
    EXPECT_TRUE(CommitFiles()) << "a file that was read back is released";
  }
}
