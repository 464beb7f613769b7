#include <gmock/gmock.h>

#include "PlanReading.h"
#include "backend/svcommon/PlanGaps.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using Lines = std::vector<std::string>;

namespace {

// The text of a line behind its place.
std::string Behind(const std::string& line) {
  EXPECT_THAT(line, StartsWith("P, line 1, column "));
  return line.substr(line.find(": ") + 2);
}
std::string AllBehind(const Lines& lines) {
  std::string texts;
  for (const std::string& line : lines) texts += (texts.empty() ? "" : "\n") + Behind(line);
  return texts;
}

const std::string kTyped = StrataOf(Var("type"));
const std::string kGood = Wor(kByCounty + kSizeOf3);

}  // namespace

// Each fault has the message of its code and one line that says what was found. The plan is one line, so the
// places are tested below.
TEST(PlanFaults, SayWhatIsWrong) {
  const std::string kNoName =
      "'1' is no valid name: a name has up to 64 bytes, begins with a letter or one of _@#$, goes on with "
      "these, digits and full stops, doesn't end in a full stop, and isn't ALL";
  const std::string kAll =
      "simple_wor, simple_wr, simple_systematic, simple_chromy, pps_wor, pps_wr, pps_systematic, pps_chromy, "
      "pps_brewer, pps_murthy or pps_sampford";
  const struct {
    const char* message;  // a part of it
    std::string design, lines;
  } kCases[] = {
      {"in sample design", Wor(kTyped + kSizeOf3) + In("Weight", Var("Type")),
       "'Type' is used twice; names ignore case"},
      {"in sample design", kGood + Wor(kByCounty + kSizeOf3),
       "stage 2: 'county' is used twice; names ignore case"},
      {"valid KORV", Wor(StrataOf(Var("1")) + kSizeOf3), "stage 1: " + kNoName},
      {"Matrix variable", Wor(kTyped + Table(Var("x"), Row("5"))),
       "stage 1: 'x' is neither a stratum of this stage nor a stratum or cluster of one before"},
      {"Matrix variable", Wor(kByCounty + Table(Var("County"), Row("5"))),
       "stage 1: 'County' is a cluster of this stage; a table takes its strata, and clusters of stages "
       "before"},
      {"category list", Wor(kTyped + Table(Var("type"), Row("5", {"E", "F"}))),
       "stage 1: the row needs a Category for each variable of its table, 1, and has 2"},
      {"Sample size values", Wor(kTyped + Table(Var("type"), Row("few"))),
       "stage 1: 'few' isn't a whole number above 0"},
      {"Invalid plan", Wor(kTyped + Table(Var("type"), Row("5"), 2)),
       "stage 1: numberOfValues is 2, and the table has fewer rows: 1"},
      {"Sample size values", Wor(Size("2.5")), "stage 1: '2.5' isn't a whole number above 0"},
      {"Sample rate", Wor(Rate("0")), "stage 1: '0' isn't a number above 0"},
      {"Minimum MOS", Wor(Rate("1", Bounds("3", "2"))), "stage 1: MinSize, 3, is above MaxSize, 2"},
      {"Minimum or", Wor(Rate("1", Bounds("0.5", "2"))),
       "stage 1: the bound 0.5 isn't a whole number of 0 or more"},
      {"Invalid plan", Wor(Rate("1", "<MinSize/>")), "stage 1: the bound has no SingleValue"},
      {"size or rate", Wor(""), "stage 1: the stage has neither InputSampleSize nor InputSampleRate"},
      {"MOS missing", Stage("pps_systematic", kSizeOf3), "stage 1: the stage draws by size, and has no MOS"},
      {"MOS variable", Stage("pps_systematic", kSizeOf3 + "<MOS fromData='no'/>"),
       "stage 1: fromData is 'no', and MOS has no Variable"},
      {"Minimum or",
       Stage("pps_systematic", kSizeOf3 + "<MOS fromData='yes'>" + Bounds("-1", "0") + "</MOS>"),
       "stage 1: the bound -1 is below 0"},
      {"last stage", Stage("pps_wor", kSizeOf3 + kMosOfPupils),
       "stage 1: 'pps_wor' writes joint probabilities, in which clusters name the units: add a "
       "ClusterVarList"},
      {"non-final", Wor(kSizeOf3) + Wor(kSizeOf3),
       "stage 1: the stage has no clusters, within which the next one could draw"},
      {"than 3 stages",
       kGood + Wor(ClustersOf(Var("b")) + kSizeOf3) + Wor(ClustersOf(Var("c")) + kSizeOf3) + Wor(kSizeOf3),
       "one stage too many"},
      {"Illegal", Stage("pps_smapford", kByCounty + kSizeOf3),
       "stage 1: 'pps_smapford' is no selection method; did you mean pps_sampford?"},
      {"Illegal", Stage("Simple_WOR", kSizeOf3),
       "stage 1: 'Simple_WOR' is no selection method; did you mean simple_wor?"},
      {"Illegal", Stage("lottery", kSizeOf3),
       "stage 1: 'lottery' is no selection method; a method is " + kAll},
      {"Illegal", Stage("", kSizeOf3), "stage 1: selectionMethod is missing; a method is " + kAll},
      {"Illegal", kGood + Stage("pps_wr", kSizeOf3 + kMosOfPupils),
       "stage 2: 'pps_wr' draws by size, which only the first stage can; this one takes simple_wor, "
       "simple_wr, simple_systematic or simple_chromy"},
      {"cannot get plan", Stage("simple_wr", kByCounty + kSizeOf3) + Wor(kSizeOf3),
       "stage 1: 'simple_wr' draws with replacement, which only the last stage can"},
      {"Invalid plan", Wor(kSizeOf3 + "<Index/>"), "stage 1: the output variable has no Variable"},
      {"Sample size values", Wor(Size("0")) + Stage("x", kSizeOf3) + In("Weight", Var("1")),
       "stage 1: '0' isn't a whole number above 0\nstage 2: 'x' is no selection method; a method is " + kAll +
           "\nstage 1: the stage has no clusters, within which the next one could draw\n" + kNoName},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.design);
    const PlanReading said(Design(c.design));
    EXPECT_THAT(said.message, HasSubstr(c.message));
    EXPECT_EQ(AllBehind(said.faults), c.lines);
    EXPECT_THAT(said.contradictions, IsEmpty());
  }
  EXPECT_THAT(PlanReading("<p/>").faults, ElementsAre("P, line 1, column 1: the plan has no SampleDesign"));
  EXPECT_THAT(PlanReading("<p/>", true).faults,
              ElementsAre("P, line 1, column 1: the plan has no AnalysisDesign"));
}

// A place is where the start tag begins, whatever comes before it and however the tag is broken into lines.
TEST(PlanFaults, SayWhere) {
  const struct {
    std::string aim, text, place;
  } kCases[] = {
      {"behind text", "<p>\n <SampleDesign>\n\n  <SampleStage/></SampleDesign></p>", "line 4, column 3"},
      {"behind a declaration", "<?xml version='1.0'?>\n\n<p/>", "line 3, column 1"},
      {"behind a grammar",
       "<!DOCTYPE KORVSurveyPlans SYSTEM 'x'>\n<KORVSurveyPlans>\n <SampleDesign>\n  <SampleStage\n   "
       "selectionMethod='x'\n/></SampleDesign></KORVSurveyPlans>",
       "line 4, column 3"},
      {"behind a comment", "<p><SampleDesign><!--\n--><SampleStage/></SampleDesign></p>", "line 2, column 4"},
      {"behind an instruction", "<p><SampleDesign><?x\ny?><SampleStage/></SampleDesign></p>",
       "line 2, column 4"},
      {"behind an element", "<p><x a='\n'/><y></y>\n<SampleDesign><a/><SampleStage/></SampleDesign></p>",
       "line 3, column 19"},
      {"behind characters", "<p><SampleDesign>&lt;<![CDATA[\n<]]>é<SampleStage/></SampleDesign></p>",
       "line 2, column 6"},
      {"not well-formed", "<p>\n<SampleDesign>\n</p>", "line 3, column 3"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.aim);
    const PlanReading said(c.text);
    ASSERT_FALSE(said.faults.empty());
    EXPECT_THAT(said.faults.front(), HasSubstr(std::string("P, ") + c.place + ":"));
  }
  EXPECT_THAT(PlanReading("\n ").faults, ElementsAre(HasSubstr(": the file is empty")));
  EXPECT_THAT(
      PlanReading("stages: 2").faults,
      ElementsAre("P, line 1, column 1: not well-formed XML here: a plan begins with < (XML) or { (JSON)"));
}

TEST(PlanFaults, AreTenAndACount) {
  std::string rows;
  for (int i = 0; i < 1000; ++i) rows += Row("0", {std::to_string(i % 500)});
  const PlanReading said(Design(Wor(kTyped + Table(Var("type"), rows, 1000))));
  ASSERT_EQ(said.faults.size(), 11U);
  EXPECT_EQ(said.faults.back(), "... and 990 more of the plan");
  ASSERT_EQ(said.contradictions.size(), 11U);
  EXPECT_EQ(Behind(said.contradictions.front()),
            "stage 1: row 501 of the table has the same categories as row 1; the last such row counts");
}

// What contradicts itself is read, and told; what fits is not, nor what the plan leaves out.
TEST(PlanContradictions, AreTold) {
  const auto counted = [](const std::string& element, const std::string& count, const std::string& inner) {
    return "<" + element + " numberOfVariables='" + count + "'>" + inner + "</" + element + ">";
  };
  const auto stages = [](const std::string& count) {
    return In("KORVSurveyPlans", "<SampleDesign numberOfStages='" + count + "'>" + kGood + "</SampleDesign>");
  };
  const std::string two = Var("a") + Var("b");
  const std::pair<std::string, std::string> kCases[] = {
      {stages("1"), ""},
      {stages(" 1 "), ""},
      {stages(""), ""},
      {stages("2"), "the number of stages is given as '2', and is 1, which counts"},
      {stages("one"), "the number of stages is given as 'one', and is 1, which counts"},
      {Design(Wor(counted("StrataVarList", "2", two) + kSizeOf3)), ""},
      {Design(Wor(counted("StrataVarList", "1", two) + kSizeOf3)),
       "stage 1: the number of variables is given as '1', and is 2, which counts"},
      {Design(Wor(counted("ClusterVarList", "3", two) + kSizeOf3)),
       "stage 1: the number of variables is given as '3', and is 2, which counts"},
      {Design(Wor(StrataOf(two) + "<InputSampleSize><Matrix numberOfValues='0'>" +
                  counted("MatrixVarList", "1", two) + "</Matrix></InputSampleSize>")),
       "stage 1: the number of variables is given as '1', and is 2, which counts"},
      {Design(Wor(kTyped + Table(Var("type"), Row("1", {"A"}) + Row("0", {"A"}) + Row("0", {"A"}), 1))),
       "stage 1: numberOfValues is '1', and the number of rows is 3; those beyond it are ignored"},
      {Design(Wor(kTyped + "<InputSampleSize><Matrix>" + In("MatrixVarList", Var("type")) + Row("1") +
                  "</Matrix></InputSampleSize>")),
       "stage 1: numberOfValues is missing, and the number of rows is 1; those beyond it are ignored"},
      {Design(Wor("<StrataVarlist/>" + kSizeOf3) + In("Previousweight", Var("p"))),
       "stage 1: 'StrataVarlist' isn't known in SampleStage; did you mean StrataVarList?\n"
       "'Previousweight' isn't known in SampleDesign; did you mean PreviousWeight?"},
      {Design(Wor("<InputSampleRate maxsize='3'><Maxsize/></InputSampleRate>")),
       "stage 1: 'maxsize' isn't known as an attribute of InputSampleRate\n"
       "stage 1: 'Maxsize' isn't known in InputSampleRate; did you mean MaxSize?"},
      {Design(Wor("<StrataVarList/><StrataVarList/>" + kSizeOf3 + Rate("1"))),
       "stage 1: StrataVarList is there twice; the first counts\n"
       "stage 1: InputSampleRate is beside InputSampleSize, which counts"},
      {Design(Wor(In("InputSampleSize", "<SingleValue value='1'/>" + Var("n")))),
       "stage 1: SingleValue is beside Variable, which counts"},
      {Design(Stage("pps_systematic", kByCounty + kSizeOf3 + "<MOS fromData='yes'>" + Var("m") + "</MOS>")),
       "stage 1: MOS has a Variable, which doesn't count, since fromData is 'yes'"},
      {Design(Stage("pps_systematic",
                    kByCounty + kSizeOf3 + "<MOS fromData='yes'>" + Bounds("1", "2") + "</MOS>")),
       "stage 1: the bounds of MOS don't count, since fromData is 'yes'"},
      {Design("<SampleStage stageNumber='2' selectionMethod='simple_wor'>" + kByCounty + kSizeOf3 +
              "</SampleStage><SampleStage stageNumber='2' selectionMethod='simple_wor'>" + kSizeOf3 +
              "</SampleStage>"),
       "stage 1: stageNumber is '2', and this is stage 1 by its place, which counts"},
      {In("KORVSurveyPlans", "<SampleDesign wrEstimation='maybe'>" + kGood + "</SampleDesign>"),
       "wrEstimation is 'maybe', which counts as no"},
      {Design(Wor(kTyped + Table(Var("type"), Row("1", {"A"}) + Row("2", {"B"}) + Row("3", {"A"}), 3))),
       "stage 1: row 3 of the table has the same categories as row 1; the last such row counts"},
      {Design(Stage("pps_brewer", kByCounty + Size("2") + kMosOfPupils)), ""},
      {Design(Stage("pps_brewer", kByCounty + Rate("0.5") + kMosOfPupils)),
       "stage 1: 'pps_brewer' draws two units of each stratum, whatever is asked for here"},
  };
  for (const auto& [text, lines] : kCases) {
    SCOPED_TRACE(text);
    const PlanReading said(text);
    EXPECT_EQ(said.code, 0);
    EXPECT_EQ(AllBehind(said.contradictions), lines);
  }
}

TEST(PlanGaps, AreWhatADrawNeeds) {
  const std::string weight = Out("Weight", "w");
  const struct {
    std::string design;
    Lines parts;
  } kCases[] = {
      {kGood + weight, {}},
      {Stage("pps_brewer", kByCounty + kMosOfPupils) + weight, {}},
      {kGood, {"the plan names no final weight"}},
      {weight, {"the plan has no SampleStage"}},
      {kGood + Wor("<InputSampleRate/>") + weight, {"stage 2 has no size or rate"}},
      {Wor(kTyped + Table(Var("type"), "", 0)) + weight, {"stage 1 has a Matrix without rows that count"}},
      {Stage("pps_wr", kSizeOf3 + "<MOS/>"), {"no final weight", "stage 1 draws by size, and the fromData"}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.design);
    const PlanReading said(Design(c.design));
    EXPECT_EQ(said.code, 0);
    const Lines gaps = PlanGaps(said.plan);
    ASSERT_EQ(gaps.size(), c.parts.size());
    for (std::size_t i = 0; i < c.parts.size(); ++i) EXPECT_THAT(gaps[i], HasSubstr(c.parts[i]));
  }
}
