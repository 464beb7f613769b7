#include <gmock/gmock.h>

#include "FrameSession.h"
#include "PlanText.h"
#include "host/environment/MCStopProcessor.h"
#include "host/model/Dictionary.h"
#include "session/Inspect.h"

using testing::ElementsAre;

namespace {

struct PlanAndFrame {
  explicit PlanAndFrame(const std::string& plan, const std::string& csv = "a\n1\n") {
    folder.Write("p.xml", plan);
    frame.path = folder.Write("f.csv", csv);
  }
  TestFolder folder;
  FrameOptions frame;
};

}  // namespace

// Each kind of variable that a plan takes from its frame is looked for, in the order of the plan, whatever
// its case; the variables that a run adds aren't.
TEST(CheckPlan, ListsTheVariablesThatTheFrameLacks) {
  const PlanAndFrame files(
      Design(Stage("pps_wor", StrataOf(Var("s")) + ClustersOf(Var("c")) + Table(Var("s"), Row("3", {"1"})) +
                                  "<MOS fromData='no'><Variable name='size'/></MOS>" +
                                  Out("IncProb", "added")) +
             Wor(In("InputSampleSize", Var("take"))) +
             "<PreviousWeight><Variable name='w'/></PreviousWeight>" + Out("Weight", "final")),
      "A,C\n1,1\n");
  HostSession session;
  const PlanReading reading = ReadPlan(session, files.folder.path / "p.xml");
  ASSERT_EQ(reading.status, RunStatus::kOk);
  const PlanCheck check = CheckPlan(session, reading.plan, files.frame);
  EXPECT_EQ(check.status, RunStatus::kError);
  std::vector<std::string> missing;
  for (const std::string& problem : check.problems) missing.push_back(problem.substr(problem.rfind(' ') + 1));
  EXPECT_THAT(missing, ElementsAre("w", "size", "s", "s", "take"));
}

TEST(DescribeFrame, CountsFailsAndStops) {
  PlanAndFrame files("", "a,b\n1,x\n2,y\n");
  for (const RunStatus status : {RunStatus::kOk, RunStatus::kCancelled, RunStatus::kError}) {
    SCOPED_TRACE(StatusWord(status));
    HostSession session;
    if (status == RunStatus::kCancelled) RequestStop();
    if (status == RunStatus::kError) files.frame.path += ".no.csv";
    const FrameDescription described = DescribeFrame(session, files.frame);
    EXPECT_EQ(described.status, status);
    EXPECT_EQ(described.problems.empty(), status != RunStatus::kError);
    EXPECT_EQ(described.dictionary != nullptr, status == RunStatus::kOk);
    EXPECT_EQ(described.cases, status == RunStatus::kOk ? 2 : 0);
  }
}
