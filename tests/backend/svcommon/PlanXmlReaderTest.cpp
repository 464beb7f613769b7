#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <limits>

#include "PlanReading.h"
#include "backend/svcommon/design/Enumerations.h"

using namespace SV_XML;

namespace {

struct Case {
  int code;
  std::string aim, text;
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

// Where the order of reading decides, where a bound lies, and what is no fault. PlanLinesTest has a case of each
// fault alone.
TEST(PlanXmlReader, ReadsSampleDesigns) {
  const Case kCases[] = {
      {kPlanInvalidVariable, "no name", Wor(StrataOf("<Variable/>") + kSizeOf3)},
      {kPlanInvalidVariable, "invalid after repeated", Wor(StrataOf(kType + kType + kOne) + kSizeOf3)},
      {kPlanRepeatedInSampleDesign, "repeated after invalid", Wor(StrataOf(kOne + kType + kType) + kSizeOf3)},
      {kPlanRepeatedInSampleDesign, "the weights",
       kPlain + In("PreviousWeight", Var("w")) + In("Weight", Var("W"))},
      {0, "weight without a variable", kPlain + "<Weight/>"},
      {kPlanClustersRequired, "second of three", kFirst + kPlain + Wor(ClustersOf(Var("d")) + kSizeOf3)},
      {0, "cluster of an earlier stage", kFirst + Wor(Table(Var("COUNTY"), Row("5")))},
      {kPlanBadSampleSize, "bad size over bad list", Wor(kByType + Table(kType, Row("0", {})))},
      {kPlanTooManyStages, "four stages and other faults",
       Stage("x", "") + kPlain + kPlain + kPlain + kBadWeight},
      {kPlanBadSampleSize, "bad value, good variable", Wor(In("InputSampleSize", "<SingleValue/>" + kType))},
      {0, "good matrix over bad value",
       Wor(kByType + In("InputSampleSize", "<SingleValue/><Matrix numberOfValues='0'/>"))},
      {0, "rate above 1", Wor(Rate("1.5"))},
      {0, "size given, rate not read", Wor(kSizeOf3 + Rate("0"))},
      {0, "neither yes nor no", Pps(Mos("Yes"))},
      {kPlanInvalidVariable, "later good bounds keep a bad name", Pps(Mos("no", kOne + Bounds("0", "0")))},
      {kPlanBadBound, "later bad bound", Pps(Mos("no", Bounds("0", "-1")))},
      {kPlanMinAboveMax, "bounds crossed over all", Pps(Mos("no", Bounds("2", "1")))},
      {0, "fractions of size", Pps(Mos("yes", Bounds("0.5", "1.5")))},
      {0, "rate bounds equal", Wor(Rate("1", Bounds("3", "3")))},
      {0, "0 is no bound", Wor(Rate("1", Bounds("3", "0")))},
      {kPlanInvalidVariable, "stage before weight", Wor(kSizeOf3 + In("Index", kOne)) + kBadWeight},
      {kPlanNoSizeOrRate, "size before output", Wor("<Index/>") + kBadWeight},
  };
  for (const Case& c : kCases) EXPECT_EQ(PlanReading(Design(c.text)).code, c.code) << c.aim;
  EXPECT_EQ(PlanReading("<p><x><SampleDesign/></x></p>").code, kPlanNoSampleDesign);
  EXPECT_EQ(PlanReading("<p><SampleDesign/><Other/></p>").code, 0);
}

TEST(PlanXmlReader, ReadsAnalysisDesigns) {
  const auto stage = [](const std::string& method, const std::string& inner = "") {
    return "<AnalysisStage estimationMethod='" + method + "'>" + inner + "</AnalysisStage>";
  };
  const auto given = [](const std::string& holder, const std::string& value) {
    return In(holder, "<SingleValue value='" + value + "'/>");
  };
  const std::pair<std::string, const char*> kCases[] = {
      {stage("unequal_wor", kByCounty) + stage("wr", given("PopulationSize", "0")), ""},
      {stage("wr", kByType) + In("Weight", kType), "Variable is repeated more than once..."},
      {stage("wr", kByCounty) + stage("unequal_wor"), "Illegal estimation method for this stage..."},
      {stage("equal_wor", given("PopulationSize", "0.5") + given("IncProb", "1")),
       "Population size value is incorrect..."},
      {stage("equal_wor", given("IncProb", "1.5")), "Inclusion probability value is incorrect..."},
      {stage("equal_wor", given("IncProb", "1")), ""},
      {stage("wr") + stage("wr"), "Cluster variables are required for non-final stages..."},
      {stage("wr") + stage("wr") + stage("wr") + stage("wr"), "The plan cannot have more than 3 stages..."},
  };
  for (const auto& [inner, message] : kCases) {
    const std::string plan = In("KORVSurveyPlans", In("AnalysisDesign", inner));
    EXPECT_EQ(PlanReading("<!DOCTYPE KORVSurveyPlans SYSTEM 'x'>" + plan, true).message, message) << inner;
  }
  const struct {
    std::string plan, message;
    int estimator;
  } kEstimators[] = {
      {"<p/>", "AnalysisDesign is missing in plan file...", kSamplingWor},
      {"<p><AnalysisDesign SRSestimator=''/></p>", "", kSamplingWor},
      {"<p><AnalysisDesign SRSestimator='wr'/></p>", "", kSamplingWr},
      {"<p><AnalysisDesign SRSestimator='x'/></p>", "Illegal SRS estimator method...", kSamplingWor},
  };
  for (const auto& c : kEstimators) {
    const PlanReading read(c.plan, true);
    EXPECT_EQ(read.message, c.message) << c.plan;
    EXPECT_EQ(read.plan.srsEstimator, c.estimator) << c.plan;
  }
}

// All of a plan is kept though it is refused; the names of a table stand though the design lacks them.
TEST(PlanXmlReader, ReadsOnBehindAFault) {
  const PlanReading read("<p><SampleDesign wrEstimation='yes'>" + Stage("", Table(kType, Row("-2", {}))) +
                         kPlain + kPlain + kPlain + In("PreviousWeight", Var("w")) + "</SampleDesign></p>");
  EXPECT_EQ(read.code, kPlanTooManyStages);
  EXPECT_EQ(read.plan.numStages(), 4);
  EXPECT_EQ(read.plan.getStage(4)->paramValue, 3.0);
  EXPECT_EQ(read.plan.getStage(1)->paramMatrix.getMapSize(), 1U);
  EXPECT_EQ(read.plan.previousWeight.Text(), "w");
  EXPECT_EQ(read.plan.estimation, kSamplingWr);
}

TEST(PlanXmlReader, ReadsNumbersAsAStreamDoes) {
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
    PlanReading read(
        Design(Replace("<SampleStage stageNumber='@'>" + Size("@") + "</SampleStage>", "@", c.text)));
    EXPECT_EQ(read.plan.getStage(1)->stageNumber, c.integer) << c.text;
    EXPECT_EQ(read.plan.getStage(1)->paramValue, c.number) << c.text;
  }
}

// What no grammar stands before: each of these is code 1, soon and within little memory.
TEST(PlanXmlReader, RefusesHostileFiles) {
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
  for (const auto& c : kTexts) EXPECT_EQ(PlanReading(c.text).code, c.code) << c.aim;

  const HostSession session;
  SVPlanSpecs plan;
  const PlanFile pipe("");
  unlink(pipe.Path().c_str());
  ASSERT_EQ(mkfifo(pipe.Path().c_str(), 0600), 0);
  for (const char* path :
       {pipe.Path().c_str(), "/", "/dev/zero", "/dev/tty", "/no/such", "", "http://nowhere.invalid/"}) {
    EXPECT_EQ(PlanXmlReader(&plan).readSamplePlan(path), kPlanInvalidFile) << path;
  }
}

// Sound plans of an odd shape: deep, long, in UTF-16, under a name that is no text.
TEST(PlanXmlReader, ReadsUnusualFiles) {
  constexpr int kDeep = 100'000;
  EXPECT_EQ(PlanReading(Design(Repeated(kDeep, "<x>") + Wor("") + Repeated(kDeep, "</x>"))).code,
            kPlanNoSizeOrRate);
  {
    PlanReading longTable(Design(Wor(kByType + Table(kType, Repeated(kDeep, Row("5")), kDeep))));
    EXPECT_EQ(longTable.code, 0);
    EXPECT_EQ(longTable.plan.getStage(1)->paramMatrix.getMapSize(), 100'000U);
  }

  std::string wide = "\xff\xfe";
  for (const char c : "<?xml version='1.0' encoding='UTF-16'?>" + Design(kPlain)) wide += {c, '\0'};
  EXPECT_EQ(PlanReading(wide).code, 0);

  const PlanFile file(Design(kPlain));
  const std::string odd = file.Path() + "#1 %41 \xff\xc3";
  std::filesystem::rename(file.Path(), odd);
  const HostSession session;
  SVPlanSpecs plan;
  EXPECT_EQ(PlanXmlReader(&plan).readSamplePlan(odd), 0);
  EXPECT_EQ(plan.file, odd);
  unlink(odd.c_str());
}

}  // namespace
