#include <gmock/gmock.h>

#include "DrawSession.h"
#include "backend/svcommon/design/Enumerations.h"
#include "backend/svselect/run/SVSELECT.h"
#include "backend/svselect/run/SVSProcedure.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string kWeight = Out("Weight", "w");
const std::string kOneOfEach = Stage("simple_wor", Strata("s") + Size("1")) + kWeight;
const std::string kOutputs = " /SAMPLEFILE OUTFILE='@/s.csv' /SELECTRULE OUTFILE='@/r.txt'";

}  // namespace

// What a run that can't go on leaves: its messages, notes only once the command is good, and no file.
TEST(SVSELECT, EndsWhereItCannotGoOn) {
  struct Case {
    std::string aim, csv, stages, command;
    Texts messages;
    bool hasNotes;
  };
  const std::string noCases = "error: There are no valid cases ...";
  const Case kCases[] = {
      {"a wrong command", "s\n1\n", kOneOfEach, "/CRITERIA SEED=x",
       Texts{"error: Parameter SEED of subcommand CRITERIA cannot take value X..."}, false},
      {"no columns", "", Stage("simple_wor", Size("1")) + kWeight, "",
       Texts{"error: There are no valid cases for selection ...", noCases}, true},
      {"no cases", "s\n", kOneOfEach, "", Texts{noCases}, true},
      {"no valid case", "s,a\n,1\n", kOneOfEach, "", Texts{noCases}, true},
      {"no final weight", "s\n1\n", Stage("simple_wor", Strata("s") + Size("1")), "", Texts{}, false},
  };
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const DrawSession draw(c.csv, c.stages, c.command + kOutputs);
    EXPECT_EQ(draw.messages, c.messages);
    EXPECT_EQ(!draw.notes.empty(), c.hasNotes);
    EXPECT_THAT(draw.files, IsEmpty());
    EXPECT_FALSE(draw.Exists("s.csv") || draw.Exists("r.txt"));
  }
}

// Weighting and split groups are set aside, told, and put back, however the run ends.
TEST(SVSELECT, PutsTheWordsOfTheHostBack) {
  for (const char* seed : {"1", "x"}) {
    FrameSession session("s,wt\n1,2\n2,3\n", "", {"s"});
    pvGetCmnGlb()->weightVariable = 2;
    const PlanFile plan(Design(kOneOfEach));
    HostSession::Current().Layer<SessionCommand>().SetCommand("SVSELECT /PLAN FILE='" + plan.Path() +
                                                              "' /CRITERIA SEED=" + seed);
    SVSELECT();
    EXPECT_EQ(pvGetCmnGlb()->weightVariable, 2) << seed;
    EXPECT_EQ(pvGetCmnGlb()->splitCount, 1) << seed;
    const Texts told = {"No split file ...", "No KORV weight ..."};
    EXPECT_EQ(session.Messages() == told, *seed == '1');
  }
}

// The key of a table's row is blank beyond a print format that is narrower than its variable.
TEST(SVSELECT, FindsRowsOfATableByANarrowFormat) {
  const std::string table = Table(Var("t"), Row("1", {"x"}) + Row("1", {"y"}), 2);
  const DrawSession draw("t,v\nabcdefghijklmnopqr,\nx,1\ny,1\n",
                         Stage("simple_wor", StrataOf(Var("t") + Var("v")) + table) + kWeight, kOutputs,
                         R"({"fields": [{"name": "t", "printFormat": "A1"}]})");
  EXPECT_THAT(draw.messages, IsEmpty());
  EXPECT_THAT(draw.files, ElementsAre("sample 2", "rule 2"));
}

// A text that shows its stage has another form for a stage with strata or clusters.
TEST(StatusTexts, DependOnSpecificationAndStrata) {
  const struct {
    std::int32_t code, inclusionType;
    std::string text;  // without "..."; empty if there is no message
  } kCases[] = {
      {kStatusNoRecords, 0, "There are no valid cases "},
      {kStatusUnequalSpec, kRateVariable, "Unequal sample rate in stage ^1 "},
      {kStatusUnequalSpec, kSizeVariable, "Unequal sample size in stage ^1 "},
      {kStatusMissingSpec, kRateVariable, "No sample rate in active in stage ^1 "},
      {kStatusMissingSpec, kSizeVariable, "No sample size in active in stage ^1 "},
      {kStatusPopulationTooSmall, kSizeValue, "Pop size too big in stage ^1 "},
      {kStatusSizeAboveUnits, 0, "Pop size too big in stage ^1 "},
      {kStatusMissingSize, 0, "All missing values for measure of size "},
      {kStatusInvalidSize, 0, "Invalid measure of size value "},
      {kStatusUnequalSize, 0, "Measure of size values unequal or missing "},
      {kStatusRateAboveOne, 0, "Sampling rate exceeds 1 in stage ^1 "},
      {kStatusNoMemory, 0, "Insufficient memory for joint probabilities "},
      {kStatusCancelled, 0, ""},
  };
  for (const auto& c : kCases) {
    const bool showsStage = c.text.ends_with("^1 ");
    for (const bool isStratified : {true, false}) {
      const StatusText found = TextOfStatus(c.code, c.inclusionType, isStratified);
      const std::string text = c.text + (showsStage && isStratified ? "stratum ..." : "...");
      EXPECT_EQ(found.text == nullptr ? "..." : found.text, text) << c.code;
      EXPECT_EQ(found.showsStage, showsStage) << c.code;
    }
  }
}
