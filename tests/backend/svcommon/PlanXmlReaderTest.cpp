#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <limits>

#include "PlanText.h"
#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "backend/svcommon/design/Enumerations.h"
#include "host/environment/HostSession.h"

using namespace SV_XML;

namespace {

class PlanReader : public testing::Test {
protected:
  int Sample(const std::string& path) {
    fPlan = SVPlanSpecs();
    return PlanXmlReader(&fPlan).readSamplePlan(path);
  }
  int SampleText(const std::string& text) { return Sample(PlanFile(text).Path()); }
  int Analysis(const std::string& inner) {
    fPlan = SVPlanSpecs();
    const PlanFile file("<!DOCTYPE KORVSurveyPlans SYSTEM 'x'>" +
                        In("KORVSurveyPlans", In("AnalysisDesign", inner)));
    return PlanXmlReader(&fPlan).readAnalysisPlan(file.Path());
  }

  HostSession fSession;
  SVPlanSpecs fPlan;
};

struct Case {
  int code;
  const char* aim;
  std::string text;
};

const std::string kType = Var("type");
const std::string kByType = StrataOf(kType);
const std::string kOne = Var("1");  // no legal name
const std::string kPlain = Wor(kSizeOf3);
const std::string kFirst = Wor(kByCounty + kSizeOf3);
const std::string kBadWeight = In("Weight", kOne);

// `piece` repeated, with "@" in it replaced by 0, 1, 2 and so on.
std::string Repeated(int count, const std::string& piece) {
  std::string all;
  for (int i = 0; i < count; ++i) all += Replace(piece, "@", std::to_string(i));
  return all;
}
std::string Pps(const std::string& mos) {
  return Stage("pps_wor", kByCounty + kSizeOf3 + mos);
}
std::string Mos(const std::string& fromData, const std::string& inner = "") {
  return "<MOS fromData='" + fromData + "'>" + inner + "</MOS>";
}

// One fault each, or two where the order of reading decides which is reported.
TEST_F(PlanReader, TellsFaultsOfSampleDesigns) {
  const Case kCases[] = {
      {0, "no stage at all", ""},
      {0, "holder without a form", Wor("<InputSampleSize/>")},
      {kPlanInvalidVariable, "no name", Wor(StrataOf("<Variable/>") + kSizeOf3)},
      {kPlanInvalidVariable, "invalid after repeated", Wor(StrataOf(kType + kType + kOne) + kSizeOf3)},
      {kPlanRepeatedInSampleDesign, "repeated after invalid", Wor(StrataOf(kOne + kType + kType) + kSizeOf3)},
      {kPlanRepeatedInSampleDesign, "other case, other role",
       Wor(kByType + kSizeOf3) + In("Weight", Var("TYPE"))},
      {kPlanRepeatedInSampleDesign, "the weights",
       kPlain + In("PreviousWeight", Var("w")) + In("Weight", Var("W"))},
      {0, "weight without a variable", kPlain + "<Weight/>"},
      {kPlanClustersRequired, "first of two", kPlain + kPlain},
      {kPlanClustersRequired, "second of three", kFirst + kPlain + Wor(ClustersOf(Var("d")) + kSizeOf3)},
      {0, "last needs none", kFirst + kPlain},
      {kPlanBadMatrixVariable, "not of the design", Wor(Table(kType, Row("5")))},
      {kPlanBadMatrixVariable, "cluster of its own stage",
       Wor(ClustersOf(kType) + Table("<v name='TYPE'/>", Row("5")))},
      {0, "cluster of an earlier stage", kFirst + Wor(Table(Var("COUNTY"), Row("5")))},
      {kPlanBadCategoryList, "two categories for one variable",
       Wor(kByType + Table(kType, Row("5", {"E", "E"})))},
      {kPlanBadSampleSize, "bad size over bad list", Wor(kByType + Table(kType, Row("0", {})))},
      {kPlanInvalidFile, "fewer rows than told", Wor(kByType + Table(kType, Row("5"), 2))},
      {0, "more rows than told", Wor(kByType + Table(kType, Row("5") + Row("-1")))},
      {kPlanTooManyStages, "four stages and other faults",
       Stage("x", "") + kPlain + kPlain + kPlain + kBadWeight},
      {kPlanBadSampleSize, "half a unit", Wor(Size("2.5"))},
      {kPlanBadSampleSize, "bad value, good variable", Wor(In("InputSampleSize", "<SingleValue/>" + kType))},
      {0, "good matrix over bad value",
       Wor(kByType + In("InputSampleSize", "<SingleValue/><Matrix numberOfValues='0'/>"))},
      {kPlanBadSampleRate, "rate of 0", Wor(Rate("0"))},
      {0, "rate above 1", Wor(Rate("1.5"))},
      {0, "size given, rate not read", Wor(kSizeOf3 + Rate("0"))},
      {kPlanIllegalMethod, "method in capitals", Stage("Simple_wor", kSizeOf3)},
      {kPlanIllegalMethod, "PPS at stage 2, not a replacement before the last",
       kFirst + Stage("pps_wr", kSizeOf3 + kMosOfPupils)},
      {kPlanNoSizeOrRate, "no size", Wor("")},
      {0, "two units without a size", Stage("pps_brewer", kByCounty + kMosOfPupils)},
      {kPlanNoMos, "no measure of size", Pps("")},
      {kPlanNoMosSource, "no variable", Pps(Mos("no"))},
      {0, "neither yes nor no", Pps(Mos("Yes"))},
      {kPlanInvalidVariable, "later good bounds keep a bad name", Pps(Mos("no", kOne + Bounds("0", "0")))},
      {kPlanBadBound, "later bad bound", Pps(Mos("no", Bounds("0", "-1")))},
      {kPlanMinAboveMax, "bounds crossed over all", Pps(Mos("no", Bounds("2", "1")))},
      {0, "fractions of size", Pps(Mos("yes", Bounds("0.5", "1.5")))},
      {kPlanMinAboveMax, "rate bounds crossed", Wor(Rate("1", Bounds("3", "2")))},
      {0, "rate bounds equal", Wor(Rate("1", Bounds("3", "3")))},
      {0, "0 is no bound", Wor(Rate("1", Bounds("3", "0")))},
      {kPlanBadBound, "half a unit at least", Wor(Rate("1", Bounds("0.5", "2")))},
      {kPlanInvalidFile, "bound without a value", Wor(Rate("1", "<MinSize/>"))},
      {kPlanClusterMissing, "joint probabilities without clusters",
       Stage("pps_sampford", kSizeOf3 + kMosOfPupils)},
      {0, "none with replacement", Stage("pps_wr", kSizeOf3 + kMosOfPupils)},
      {kPlanReplacementBeforeLast, "replacement before the last",
       Stage("simple_wr", kByCounty + kSizeOf3) + kPlain},
      {kPlanInvalidFile, "output without a variable", Wor(kSizeOf3 + "<Index/>")},
      {kPlanInvalidVariable, "stage before weight", Wor(kSizeOf3 + In("Index", kOne)) + kBadWeight},
      {kPlanNoSizeOrRate, "size before output", Wor("<Index/>") + kBadWeight},
  };
  for (const Case& c : kCases) EXPECT_EQ(SampleText(Design(c.text)), c.code) << c.aim;
  EXPECT_EQ(SampleText("<p><x><SampleDesign/></x></p>"), kPlanNoSampleDesign);
  EXPECT_EQ(SampleText("<p><SampleDesign/><Other/></p>"), 0);
}

TEST_F(PlanReader, TellsFaultsOfAnalysisDesigns) {
  const auto stage = [](const std::string& method, const std::string& inner) {
    return "<AnalysisStage estimationMethod='" + method + "'>" + inner + "</AnalysisStage>";
  };
  const auto given = [](const std::string& holder, const std::string& value) {
    return In(holder, "<SingleValue value='" + value + "'/>");
  };
  const Case kCases[] = {
      {0, "unequal first", stage("unequal_wor", kByCounty) + stage("wr", given("PopulationSize", "0"))},
      {kPlanRepeatedVariable, "repeated", stage("wr", kByType) + In("Weight", kType)},
      {kPlanIllegalEstimation, "unequal later", stage("wr", kByCounty) + stage("unequal_wor", "")},
      {kPlanBadPopulationSize, "half a population",
       stage("equal_wor", given("PopulationSize", "0.5") + given("IncProb", "1"))},
      {kPlanBadInclusionProbability, "above 1", stage("equal_wor", given("IncProb", "1.5"))},
      {0, "certainty", stage("equal_wor", given("IncProb", "1"))},
      {kPlanClustersRequired, "no clusters", stage("wr", "") + stage("wr", "")},
      {kPlanTooManyStages, "four stages",
       stage("wr", "") + stage("wr", "") + stage("wr", "") + stage("wr", "")},
  };
  for (const Case& c : kCases) EXPECT_EQ(Analysis(c.text), c.code) << c.aim;
  const struct {
    const char* plan;
    int code, estimator;
  } kEstimators[] = {
      {"<p/>", kPlanNoAnalysisDesign, kSamplingWor},
      {"<p><AnalysisDesign SRSestimator=''/></p>", 0, kSamplingWor},
      {"<p><AnalysisDesign SRSestimator='wr'/></p>", 0, kSamplingWr},
      {"<p><AnalysisDesign SRSestimator='x'/></p>", kPlanIllegalSrsEstimator, kSamplingWor},
  };
  for (const auto& c : kEstimators) {
    fPlan = SVPlanSpecs();
    EXPECT_EQ(PlanXmlReader(&fPlan).readAnalysisPlan(PlanFile(c.plan).Path()), c.code) << c.plan;
    EXPECT_EQ(fPlan.srsEstimator, c.estimator) << c.plan;
  }
}

// All of a plan is kept though it is refused; the names of a table stand though the design lacks them.
TEST_F(PlanReader, ReadsOnBehindAFault) {
  EXPECT_EQ(SampleText("<p><SampleDesign wrEstimation='yes'>" + Stage("", Table(kType, Row("-2", {}))) +
                       kPlain + kPlain + kPlain + In("PreviousWeight", Var("w")) + "</SampleDesign></p>"),
            kPlanTooManyStages);
  EXPECT_EQ(fPlan.numStages(), 4);
  EXPECT_EQ(fPlan.getStage(4)->paramValue, 3.0);
  EXPECT_EQ(fPlan.getStage(1)->paramMatrix.getMapSize(), 1U);
  EXPECT_EQ(fPlan.previousWeight.Text(), "w");
  EXPECT_EQ(fPlan.estimation, kSamplingWr);
}

TEST_F(PlanReader, ReadsNumbersAsAStreamDoes) {
  const struct {
    const char* text;
    int integer;
    double number;
  } kNumbers[] = {
      {"12abc", 12, 12.0},
      {"", 0, 0.0},
      {" \t7", 7, 7.0},
      {"0x10", 0, 0.0},
      {"1e", 1, 0.0},
      {"9999999999", INT_MAX, 9999999999.0},
      {"-9999999999", INT_MIN, -9999999999.0},
      {"1e999", 1, std::numeric_limits<double>::max()},
      {"nan", 0, 0.0},
  };
  for (const auto& c : kNumbers) {
    SampleText(Design(Replace("<SampleStage stageNumber='@'>" + Size("@") + "</SampleStage>", "@", c.text)));
    EXPECT_EQ(fPlan.getStage(1)->stageNumber, c.integer) << c.text;
    EXPECT_EQ(fPlan.getStage(1)->paramValue, c.number) << c.text;
  }
}

// What no grammar stands before: each of these is code 1, soon and within little memory.
TEST_F(PlanReader, RefusesHostileFiles) {
  const auto typed = [](const std::string& subset, const std::string& inner = "") {
    return "<!DOCTYPE KORVSurveyPlans SYSTEM 'http://nowhere.invalid/x.dtd' [" + subset + "]>" +
           Design(inner);
  };
  constexpr int kMany = 200'000;
  std::string laughs = "<!ENTITY a0 'ha'>";
  std::string parameters = "<!ENTITY % p0 ''>";
  for (int i = 1; i < 10; ++i) {
    const auto tenOf = [i](const char* entity) { return Repeated(10, entity + std::to_string(i - 1) + ';'); };
    laughs += "<!ENTITY a" + std::to_string(i) + " '" + tenOf("&a") + "'>";
    parameters += "<!ENTITY % p" + std::to_string(i) + " '" + tenOf("&#37;p") + "'>";
  }
  const Case kTexts[] = {
      {kPlanInvalidFile, "empty", ""},
      {kPlanInvalidFile, "not well-formed", "<p><SampleDesign></p>"},
      {kPlanInvalidFile, "no XML", std::string("\0\xff\xfe\x01", 4)},
      {kPlanInvalidFile, "unknown encoding", "<?xml version='1.0' encoding='klingon'?>" + Design("")},
      {kPlanInvalidFile, "element that the DTD lacks", typed("", "<Bogus/>")},
      {kPlanInvalidFile, "order against the DTD", typed("", In("Weight", Var("w")) + kPlain)},
      {0, "any DTD is ours", typed("", kPlain + "<PreviousWeight/>")},
      {0, "as a parameter entity too",
       "<!DOCTYPE KORVSurveyPlans [<!ENTITY % d SYSTEM 'file:///etc/passwd'> %d;]>" + Design(kPlain)},
      {kPlanInvalidFile, "an external entity isn't read",
       typed("<!ENTITY e SYSTEM 'file:///etc/hostname'>", "&e;")},
      {0, "an entity of ours",
       "<!DOCTYPE KORVSurveyPlans SYSTEM 'x' [<!ENTITY e 'type'>]>" +
           Design(Wor(StrataOf(Var("&e;")) + kSizeOf3))},
      {kPlanInvalidFile, "laughs in text", typed(laughs, "&a9;")},
      {kPlanInvalidFile, "laughs in an attribute", typed(laughs, "<SampleStage label='&a9;'/>")},
      {kPlanInvalidFile, "laughs in a default",
       typed(laughs + "<!ATTLIST SampleDesign wrEstimation CDATA '&a9;'>")},
      {kPlanInvalidFile, "laughs in parameters", typed(parameters + "%p9;")},
      {kPlanInvalidFile, "a long entity", typed("<!ENTITY e '" + std::string(5000, 'x') + "'>", "")},
      {kPlanInvalidFile, "many entities", typed(Repeated(kMany, "<!ENTITY n@ ''>"))},
      {kPlanInvalidFile, "attributes declared in the plan", typed("<!ATTLIST q r CDATA ''>")},
      {kPlanInvalidFile, "many names", Design(Repeated(kMany, "<n@/>"))},
      {kPlanInvalidFile, "many attributes", Design("<a" + Repeated(kMany, " n@=''") + "/>")},
      {kPlanInvalidFile, "many nodes", Design(Repeated(2'000'000, "<n/>"))},
      {kPlanInvalidFile, "a long label", Design("<x label='" + std::string(2'000'000, 'x') + "'/>")},
      {kPlanInvalidFile, "many variables of a table",
       Design(Wor(kByType + Table(Repeated(20'000, kType), Row("5", {}))))},
  };
  for (const auto& c : kTexts) EXPECT_EQ(SampleText(c.text), c.code) << c.aim;

  const PlanFile pipe("");
  unlink(pipe.Path().c_str());
  ASSERT_EQ(mkfifo(pipe.Path().c_str(), 0600), 0);
  for (const char* path :
       {pipe.Path().c_str(), "/", "/dev/zero", "/dev/tty", "/no/such", "", "http://nowhere.invalid/"}) {
    EXPECT_EQ(Sample(path), kPlanInvalidFile) << path;
  }
}

// Sound plans of an odd shape: deep, long, in UTF-16, under a name that is no text.
TEST_F(PlanReader, ReadsUnusualFiles) {
  constexpr int kDeep = 100'000;
  EXPECT_EQ(SampleText(Design(Repeated(kDeep, "<x>") + Wor("") + Repeated(kDeep, "</x>"))),
            kPlanNoSizeOrRate);
  EXPECT_EQ(SampleText(Design(Wor(kByType + Table(kType, Repeated(kDeep, Row("5")), kDeep)))), 0);
  EXPECT_EQ(fPlan.getStage(1)->paramMatrix.getMapSize(), 100'000U);

  std::string wide = "\xff\xfe";
  for (const char c : "<?xml version='1.0' encoding='UTF-16'?>" + Design(kPlain)) wide += {c, '\0'};
  EXPECT_EQ(SampleText(wide), 0);

  const PlanFile file(Design(kPlain));
  const std::string odd = file.Path() + "#1 %41 \xff\xc3";
  std::filesystem::rename(file.Path(), odd);
  EXPECT_EQ(Sample(odd), 0);
  EXPECT_EQ(fPlan.file, odd);
  unlink(odd.c_str());
}

}  // namespace
