#include <gmock/gmock.h>

#include "FrameSession.h"
#include "PlanText.h"
#include "host/environment/MCStopProcessor.h"
#include "host/model/Dictionary.h"
#include "session/Inspect.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct PlanAndFrame {
  explicit PlanAndFrame(const std::string& plan, const std::string& csv = "a\n1\n") {
    std::ofstream(folder.path / "p.xml") << plan;
    std::ofstream(frame.path = folder.path / "f.csv") << csv;
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

TEST(ReadPlan, SaysWhereAPlanIsWrong) {
  struct Case {
    const char* aim;
    std::string plan;
    RunStatus status;
    const char* problem;
  };
  const Case kCases[] = {
      {"good", Design(Wor(Size("3"))), RunStatus::kOk, ""},
      {"not XML", "<KORVSurveyPlans>", RunStatus::kError, "line 1, column 18: not well-formed"},
      {"no size", Design(Wor("")), RunStatus::kError, ""},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const PlanAndFrame files(c.plan);
    HostSession session;
    const PlanReading reading = ReadPlan(session, files.folder.path / "p.xml");
    EXPECT_EQ(reading.status, c.status);
    EXPECT_THAT(testing::PrintToString(reading.problems), HasSubstr(c.problem));
    EXPECT_EQ(OutputDocument::Current().Messages().empty(), c.status == RunStatus::kOk);
  }
}

TEST(DescribeFrame, CountsFailsAndStops) {
  const PlanAndFrame files("", "a,b\n1,x\n2,y\n");
  {
    HostSession session;
    const FrameDescription described = DescribeFrame(session, files.frame);
    EXPECT_EQ(described.status, RunStatus::kOk);
    EXPECT_EQ(described.cases, 2);
    EXPECT_EQ(described.dictionary->variables.size(), 2U);
  }
  {
    HostSession session;
    FrameOptions gone;
    gone.path = files.folder.path / "no.csv";
    const FrameDescription described = DescribeFrame(session, gone);
    EXPECT_EQ(described.status, RunStatus::kError);
    EXPECT_EQ(described.dictionary, nullptr);
    EXPECT_THAT(described.problems, ElementsAre(HasSubstr("no.csv: there is no such file")));
  }
  HostSession session;
  RequestStop();
  const FrameDescription stopped = DescribeFrame(session, files.frame);
  EXPECT_EQ(stopped.status, RunStatus::kCancelled);
  EXPECT_THAT(stopped.problems, IsEmpty());
}
