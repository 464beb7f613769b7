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

// A plan that was read and checked on a frame.
struct Checked {
  Checked(const std::string& plan, const std::string& csv, const HostSettings& settings = {})
      : session(settings) {
    const PlanReading reading = ReadPlan(session, folder.Write("p.xml", plan));
    EXPECT_EQ(reading.status, RunStatus::kOk);
    check = CheckPlan(session, reading.plan, {.path = folder.Write("f.csv", csv)});
  }
  TestFolder folder;
  HostSession session;
  PlanCheck check;
};

}  // namespace

// Each kind of variable that a plan takes from its frame is looked for, in the order of the plan, whatever
// its case; the variables that a run adds aren't.
TEST(CheckPlan, ListsTheVariablesThatTheFrameLacks) {
  const Checked checked(
      Design(Stage("pps_wor", StrataOf(Var("s")) + ClustersOf(Var("c")) + Table(Var("s"), Row("3", {"1"})) +
                                  "<MOS fromData='no'><Variable name='size'/></MOS>" +
                                  Out("IncProb", "added")) +
             Wor(In("InputSampleSize", Var("take"))) +
             "<PreviousWeight><Variable name='w'/></PreviousWeight>" + Out("Weight", "final")),
      "A,C\n1,1\n");
  EXPECT_EQ(checked.check.status, RunStatus::kError);
  std::vector<std::string> missing;
  for (const std::string& problem : checked.check.problems)
    missing.push_back(problem.substr(problem.rfind(' ') + 1));
  EXPECT_THAT(missing, ElementsAre("w", "size", "s", "take"));
}

// With all variables there, what a run would end with or remark on is found without a draw, and without a
// trace in the folder: neither the method that writes joint probabilities unasked nor the one that needs a
// sample file has one.
TEST(CheckPlan, FindsWhatADrawWouldMeet) {
  const std::string weight = Out("Weight", "w");
  const std::string bySize = "<MOS fromData='no'><Variable name='size'/></MOS>";
  const std::string byTable = StrataOf(Var("s")) + Table(Var("s"), Row("1", {"a"}) + Row("2", {"c"}), 2);
  const std::string units = ClustersOf(Var("u"));
  struct Case {
    std::string aim, stage;
    RunStatus status;
    std::string message, remark;
    bool isStrict = false;
  };
  const Case kCases[] = {
      {"good", Wor(Size("3")), RunStatus::kOk, "", ""},
      {"replacement", Stage("simple_wr", Size("3") + Out("Index", "i")), RunStatus::kOk, "", ""},
      {"joint probabilities", Stage("pps_wor", units + Size("1") + bySize), RunStatus::kOk, "", ""},
      {"a text as size", Wor(In("InputSampleSize", Var("s"))), RunStatus::kError,
       "s for parameter SIZE is not", "column 91: 's' is text in the frame, and must be numeric"},
      {"an output that is there", Wor(Size("3") + Out("IncProb", "SIZE")), RunStatus::kError, "already exist",
       "'SIZE' is in the frame already, as 'size'; names ignore case"},
      {"a category without a row", Wor(byTable), RunStatus::kError, "No sample size 1 s = b",
       "no case (row 2: s = c)"},
      {"a category of another type", Wor(StrataOf(Var("u")) + Table(Var("u"), Row("1", {"x"}))),
       RunStatus::kError, "MATRIX variable u",
       "stage 1: 'x' is no value that 'u' can have, which is numeric"},
      {"a category that is too long", Wor(StrataOf(Var("s")) + Table(Var("s"), Row("1", {"Total"}))),
       RunStatus::kError, "MATRIX variable s",
       "'Total' is no value that 's' can have, which is text in the frame, of at most 1 byte"},
      {"more than there are", Wor(Size("9")), RunStatus::kOk, "", "fewer units than are asked for"},
      {"what a strict draw refuses", Stage("simple_wr", Size("3")), RunStatus::kError, "A strict run refuses",
       "its plan has no Index", true},
      {"a unit that is too large", Stage("pps_sampford", units + Size("2") + bySize), RunStatus::kError,
       "Invalid measure of size", "1 unit is too large"},
      {"sizes at the limit", Stage("pps_systematic", ClustersOf(Var("u")) + Size("1") + bySize),
       RunStatus::kOk, "", ""},
      {"a missing size",
       Stage("pps_systematic",
             ClustersOf(Var("u")) + Size("1") + "<MOS fromData='no'><Variable name='gap'/></MOS>"),
       RunStatus::kError, "All missing values", "1 unit has no measure of size (u = 2)"},
      {"no rate", Wor(StrataOf(Var("u")) + In("InputSampleRate", Var("gap"))), RunStatus::kError,
       "No sample rate", "1 stratum has no rate or size"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const Checked checked(Design(c.stage + weight), "s,u,size,gap\na,1,9,1\na,2,1,\nb,3,1,1\n",
                          {.strict = c.isStrict});
    EXPECT_EQ(checked.check.status, c.status);
    std::string messages;
    for (const OutputMessage& message : OutputDocument::Current().Messages()) messages += message.text;
    EXPECT_THAT(messages, HasSubstr(c.message));
    EXPECT_EQ(messages.empty(), c.message.empty());
    EXPECT_THAT(testing::PrintToString(checked.check.remarks), HasSubstr(c.remark));
    EXPECT_THAT(checked.check.problems, IsEmpty());
    EXPECT_EQ(checked.folder.Names(), "f.csv p.xml");
  }
}

TEST(ReadPlan, SaysWhereAPlanIsWrong) {
  struct Case {
    std::string aim, plan;
    RunStatus status;
    const char* problem;
  };
  const Case kCases[] = {
      {"good", Design(Wor(Size("3")) + Out("Weight", "w")), RunStatus::kOk, ""},
      {"not XML", "<KORVSurveyPlans>", RunStatus::kError, "line 1, column 18: not well-formed"},
      {"no size", Design(Wor("")), RunStatus::kError, "stage 1: the stage has neither"},
      {"no weight", Design(Wor(Size("3"))), RunStatus::kError,
       "nothing can be drawn: the plan names no final"},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const TestFolder folder;
    HostSession session;
    const PlanReading reading = ReadPlan(session, folder.Write("p.xml", c.plan));
    EXPECT_EQ(reading.status, c.status);
    EXPECT_THAT(testing::PrintToString(reading.problems), HasSubstr(c.problem));
    EXPECT_EQ(OutputDocument::Current().Messages().empty(), reading.isRead);
  }
}

TEST(DescribeFrame, CountsFailsAndStops) {
  const TestFolder folder;
  FrameOptions frame = {.path = folder.Write("f.csv", "a,b\n1,x\n2,y\n")};
  for (const RunStatus status : {RunStatus::kOk, RunStatus::kCancelled, RunStatus::kError}) {
    SCOPED_TRACE(StatusWord(status));
    HostSession session;
    if (status == RunStatus::kCancelled) RequestStop();
    if (status == RunStatus::kError) frame.path += ".no.csv";
    const FrameDescription described = DescribeFrame(session, frame);
    EXPECT_EQ(described.status, status);
    EXPECT_EQ(described.problems.empty(), status != RunStatus::kError);
    EXPECT_EQ(described.dictionary != nullptr, status == RunStatus::kOk);
    EXPECT_EQ(described.cases, status == RunStatus::kOk ? 2 : 0);
  }
}
