#include <gmock/gmock.h>

#include "PlanText.h"
#include "TestFolder.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"
#include "session/ConvertPlan.h"
#include "session/RunReport.h"
#include "session/RunSurvey.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

namespace {

constexpr const char* kFrame = "s,u,size\na,1,3\na,2,3\nbb,3,3\nbb,4,9\n";
constexpr const char* kTable = "s,n\na,1\nbb,2\n";
const std::string kByTable = R"("method": "simple_wor", "n": {"by": ["s"], "table": "t.csv"})";

std::string Plan(const std::string& stage) {
  return R"({"svselect_plan": 1, "weight": "w", "stages": [{"strata": ["s"], "clusters": ["u"], )" + stage +
         "}]}";
}

// A run of a JSON plan in a folder with a table; "@" in its lines is the folder.
struct Drawn {
  explicit Drawn(const std::string& stage, const std::string& sample = "sample.csv",
                 const std::string& frame = kFrame, const HostSettings& settings = {}) {
    folder.Write("t.csv", kTable);
    folder.Write("p.json", Plan(stage));
    HostSession session(settings);
    RunRequest request;
    request.frame.path = folder.Write("f.csv", frame);
    request.reports = {folder.Path("r.json")};
    request.command =
        Replace("SVSELECT /PLAN FILE='@/p.json' /CRITERIA SEED=1 /SAMPLEFILE OUTFILE='@/" + sample + "'", "@",
                folder.path);
    const SurveyOutcome outcome = RunSurvey(session, request);
    status = outcome.status;
    said = Replace(testing::PrintToString(outcome.remarks), folder.path, "@");
    for (const OutputMessage& message : session.Layer<OutputDocument>().Messages()) said += message.text;
    for (const RunFact& fact : outcome.facts) {
      for (const std::string& line : fact.lines)
        facts.push_back(fact.label + ": " + Replace(line, folder.path, "@"));
    }
  }

  TestFolder folder;
  RunStatus status;
  std::string said;
  Lines facts;
};

}  // namespace

// The draw is strict though the session isn't, and speaks of the plan's own members.
TEST(JsonPlan, IsDrawnStrictly) {
  const struct {
    std::string stage;
    const char* said;
  } kCases[] = {
      {R"("method": "simple_wor", "n": 3)", "2 strata have fewer units than are asked for"},
      {R"("method": "simple_wr", "n": 3)", "its plan has no 'index': "},
      {R"("method": "pps_brewer", "size": {"variable": "size"})", "1 unit is too large"},
      {R"("method": "simple_wor", "n": {"by": ["s"], "rows": [["a", 1], ["a ", 2], ["bb", 1]]})",
       "@/p.json, line 1, column 147: stage 1: row 2 of the table has the same categories as row 1\""},
      {R"("method": "pps_wor", "n": 1, "size": {"variable": "size"}, "certainty": 0.1)",
       "2 strata have so many units that are certain that no other can be drawn (s = a: 2 certain, 1 asked "
       "for"},
      {R"("method": "simple_wor", "n": 1, "order": ["s", "-sise"])", "column 132: 'sise' isn't in the frame"},
      {R"("method": "simple_wor", "n": {"variable": "nn"})", "column 127: 'nn' isn't in the frame"},
  };
  for (const auto& c : kCases) {
    const Drawn drawn(c.stage);
    EXPECT_EQ(drawn.status, RunStatus::kError) << c.stage;
    EXPECT_THAT(drawn.said, HasSubstr(c.said)) << c.stage;
    EXPECT_EQ(drawn.folder.Names(), "f.csv p.json r.json t.csv");
  }
}

// Unit 4 is too large for two of bb; what is left there is one of units 1 to 3, and 2 of 6 to 8.
TEST(JsonPlan, TakesCertainUnits) {
  for (const char* method : {"pps_brewer", "pps_murthy", "pps_sampford", "pps_wor"}) {
    const Drawn drawn(
        R"("n": 2, "size": {"variable": "size"}, "certainty": true, "write": {"probability": "p",
                          "certain": "c", "sample_size": "n"}, "method": ")" +
            std::string(method) + '"',
        "sample.csv", "s,u,size\nbb,1,3\nbb,2,3\nbb,3,3\nbb,4,9\n");
    ASSERT_EQ(drawn.status, RunStatus::kOk) << drawn.said;
    EXPECT_THAT(drawn.folder.Text("sample.csv"), HasSubstr("bb,4,9,1,2,1,1\n"));
    EXPECT_THAT(drawn.folder.Text("sample.csv"), HasSubstr(",3,0.3333333333333333,2,0,3\n"));
    EXPECT_THAT(drawn.folder.Text("r.json"), HasSubstr("Units Taken for Certain"));
  }
}

// Cluster 1 has sizes 3 and 4.
TEST(JsonPlan, OrdersByWhatIsConstantInAUnit) {
  const Drawn drawn(R"("method": "simple_systematic", "n": 1, "order": ["-size"])", "sample.csv",
                    "s,u,size\na,1,3\na,1,4\na,2,1\n");
  EXPECT_EQ(drawn.status, RunStatus::kError);
  EXPECT_THAT(drawn.said,
              HasSubstr("1 case has another value in a variable of 'order' than the first case of its "
                        "unit (s = a, u = 1)"));
}

// A plan that names a method has asked for its draw. A user who asks for a strict one gets no other.
TEST(JsonPlan, AllowsDrawsThatComeNear) {
  for (const bool isStrict : {false, true}) {
    const Drawn drawn(R"("method": "pps_brewer", "size": {"variable": "size"})", "sample.csv",
                      "s,u,size\na,1,1\na,2,2\na,3,3\na,4,4\na,5,5\n", {.strict = isStrict});
    EXPECT_EQ(drawn.status, isStrict ? RunStatus::kError : RunStatus::kOk);
    EXPECT_THAT(drawn.said, HasSubstr("comes only near the probabilities that it states"));
  }
}

// Sums as sha256sum prints them. The table is a part of the plan, and no output of its run.
TEST(JsonPlan, IsRepeatedByItsReport) {
  const Drawn drawn(kByTable);
  EXPECT_EQ(drawn.status, RunStatus::kOk) << drawn.said;
  EXPECT_THAT(drawn.facts, Contains("Strict: yes"));
  EXPECT_THAT(drawn.facts, Contains(HasSubstr("Text of the plan: {\"svselect_plan\": 1")));
  EXPECT_THAT(drawn.facts,
              Contains("SHA-256 of its tables: "
                       "4fe8f2ba0431a6dd58b7db8232b44b988785a913fbc4d12693499ae0ada016d7 @/t.csv"));
  const Drawn refused(kByTable, "t.csv");
  EXPECT_EQ(refused.status, RunStatus::kError);
  EXPECT_THAT(refused.said, HasSubstr("t.csv cannot be accessed"));
  EXPECT_EQ(refused.folder.Text("t.csv"), kTable);
}

// What can't be converted leaves the target as it was.
TEST(ConvertPlan, WritesTheSamePlanOrNothing) {
  const struct {
    const char* aim;
    std::string plan;
    const char* target;
    Lines problems;
  } kCases[] = {
      {"a table of its own", Plan(kByTable), "o.xml", {}},
      {"the same form", Plan(kByTable), "o.JSON", {}},
      {"over the plan",
       Plan(kByTable),
       "p.json",
       {"@/p.json: the file is in use, by this run or another process"}},
      {"control characters",
       Plan(R"("label": "\u0001", "method": "simple_wor", "n": 1)"),
       "o.xml",
       {"@/o.xml: stage 1: 'label' has a character that XML can't have"}},
      {"two rows for a stratum",
       Design(Wor(StrataOf(Var("s")) + Table(Var("s"), Row("1") + Row("2"), 2)) + Out("Weight", "w")),
       "o.json",
       {"@/o.json: a plan in JSON can't be misread and doesn't contradict itself; correct @/p.json first, "
        "see the "
        "remarks"}},
      {"no folder", Plan(kByTable), "no/o.xml", {"@/no/o.xml: its folder doesn't exist"}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.aim);
    const TestFolder folder;
    folder.Write("t.csv", kTable);
    folder.Write("p.json", c.plan);
    folder.Write("o.json", "old");
    HostSession session;
    const PlanReading reading = ReadPlan(session, folder.Path("p.json"));
    ASSERT_EQ(reading.status, RunStatus::kOk) << testing::PrintToString(reading.problems);
    Lines problems;
    for (const std::string& line : ConvertPlan(session, reading, folder.Path(c.target)))
      problems.push_back(Replace(line, folder.path, "@"));
    EXPECT_EQ(problems, c.problems);
    EXPECT_EQ(folder.Text("o.json"), "old");
    EXPECT_EQ(folder.Text("p.json"), c.plan);
    EXPECT_EQ(folder.Names(), c.problems.empty() ? std::string(c.target == std::string("o.xml")
                                                                   ? "o.json o.xml p.json t.csv"
                                                                   : "o.JSON o.json p.json t.csv")
                                                 : "o.json p.json t.csv");
  }
}
