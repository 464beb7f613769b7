#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <set>

#include "PlanText.h"
#include "backend/svcommon/PlanAsText.h"
#include "backend/svcommon/PlanGaps.h"
#include "backend/svcommon/PlanSource.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/environment/HostSession.h"

namespace {

// A random plan that both forms can hold: what a reader accepts, and no control characters.
class PlanMaker {
public:
  SVPlanSpecs Make() {
    fPlan.mode = kSampleMode;
    fPlan.title = Text();
    fPlan.estimation = Flip() ? kSamplingWr : kSamplingDefault;
    const int stages = *rc::gen::inRange(1, 4);
    fPlan.stages.resize(static_cast<std::size_t>(stages));
    for (int number = 1; number <= stages; ++number) FillStage(*fPlan.getStage(number), number);
    if (Flip()) fPlan.previousWeight = Name();
    fPlan.weight = Name();
    return fPlan;
  }

private:
  static bool Flip() { return *rc::gen::arbitrary<bool>(); }
  // Any of the characters that a form has to write in another way, or that numbers are made of.
  static std::string Text() {
    const auto piece =
        rc::gen::element<std::string>("a", "<", "&", "\"", "'", "\\", "\n", "\t", "\r", " ", "é",
                                      "\U0001F600", "0", "1", ".", "-", "5", "e", "/", "]]>");
    std::string text;
    for (const std::string& each : *rc::gen::container<std::vector<std::string>>(piece)) text += each;
    return text;
  }
  KorvVarName Name() { return "v" + std::to_string(++fNames) + (Flip() ? "" : "_é"); }
  static double Positive() {
    return *rc::gen::suchThat(
        rc::gen::map(rc::gen::arbitrary<double>(), [](double x) { return std::fabs(x); }),
        [](double x) { return x > 0.0 && std::isfinite(x); });
  }
  static double Whole() { return *rc::gen::element(1.0, 2.0, 50.0, 2147483647.0, 9007199254740993.0, 1e22); }

  void FillStage(SVPlanStageSpecs& stage, int number) {
    const bool isLast = number == fPlan.numStages();
    const SVMethod& method = *rc::gen::suchThat(
        rc::gen::elementOf(std::vector<SVMethod>(std::begin(kMethods), std::end(kMethods))),
        [&](const SVMethod& m) { return (number == 1 || !m.IsPps()) && (isLast || !m.withReplacement); });
    stage.type = method.type;
    stage.label = Text();
    for (int i = *rc::gen::inRange(0, 3); i > 0; --i) stage.strataVariables.push_back(Name());
    const int clusters = *rc::gen::inRange(isLast && !method.writesJointUnasked ? 0 : 1, 3);
    for (int i = 0; i < clusters; ++i) stage.clusterVariables.push_back(Name());
    if (!method.twoUnits) FillRequest(stage);
    if (method.IsPps()) FillMeasure();
    for (KorvVarName* name : {&stage.inclProbName, &stage.weightName, &stage.cumWeightName,
                              &stage.popSizeName, &stage.sampSizeName, &stage.rateName, &stage.indexName}) {
      if (Flip()) *name = Name();
    }
  }

  void FillMeasure() {
    fPlan.mosFromData = Flip();
    if (fPlan.mosFromData) return;  // bounds of it don't count
    fPlan.mosVariable = Name();
    if (Flip()) fPlan.mosMin = Positive();
    if (Flip()) fPlan.mosMax = std::max(Positive(), fPlan.mosMin);
  }

  void FillRequest(SVPlanStageSpecs& stage) {
    const bool isRate = Flip();
    stage.paramKind = isRate ? kParamRate : kParamSize;
    stage.paramSource = *rc::gen::element<std::int32_t>(kParamByValue, kParamByVarName, kParamByVarCatList);
    if (stage.strataVariables.empty() && stage.paramSource == kParamByVarCatList)
      stage.paramSource = kParamByValue;
    if (stage.paramSource == kParamByValue) stage.paramValue = isRate ? Positive() : Whole();
    if (stage.paramSource == kParamByVarName) stage.paramVariable = Name();
    if (stage.paramSource == kParamByVarCatList) {
      for (const KorvVarName& name : stage.strataVariables) stage.paramMatrix.addVarName(name);
      std::set<VarCatList::CatList> rows;
      for (int row = *rc::gen::inRange(1, 9); row > 0; --row) {
        VarCatList::CatList categories;
        for (std::size_t i = 0; i < stage.strataVariables.size(); ++i) categories.push_back(Text());
        if (rows.insert(categories).second)
          stage.paramMatrix.addCatList(categories, isRate ? Positive() : Whole());
      }
    }
    if (isRate && Flip()) stage.minSize = 2;
    if (isRate && Flip()) stage.maxSize = 40;
  }

  SVPlanSpecs fPlan;
  int fNames = 0;
};

SVPlanSpecs ReadText(const std::string& text) {
  const PlanFile file(text);
  SVPlanSpecs plan;
  const auto source = OpenPlan(file.Path(), &plan);
  const int code = source->readSamplePlan(file.Path());
  if (code != 0) RC_LOG() << text << testing::PrintToString(source->Faults());
  RC_ASSERT(code == 0);
  RC_ASSERT(source->Contradictions().empty() && source->MisreadNumbers().empty());
  RC_ASSERT(PlanGaps(plan).empty());
  return plan;
}

}  // namespace

// Either form holds all of a plan, also after the other one, and is written in one way only.
RC_GTEST_PROP(PlanAsText, KeepsAllOfAPlan, ()) {
  const HostSession session;
  const SVPlanSpecs plan = PlanMaker().Make();
  const std::string json = PlanAsJson(plan);
  const std::string xml = PlanAsXml(plan);
  const SVPlanSpecs fromJson = ReadText(json);
  const SVPlanSpecs fromXml = ReadText(xml);
  RC_ASSERT(fromJson.isJson && !fromXml.isJson);
  RC_ASSERT(SaysTheSame(plan, fromJson));
  RC_ASSERT(SaysTheSame(plan, fromXml));
  RC_ASSERT(PlanAsXml(fromJson) == xml);
  RC_ASSERT(PlanAsJson(fromXml) == json);
}

// Short lists and objects are on one line, stages and long tables on several.
TEST(PlanAsText, IsLaidOutForPeople) {
  const HostSession session;
  const auto written = [](const std::string& text) { return PlanAsJson(ReadText(text)); };
  const auto plan = [](const std::string& table) {
    return R"({
  "svselect_plan": 1,
  "stages": [
    {
      "strata": ["region"],
      "clusters": ["school"],
      "method": "pps_wor",
      "n": )" +
           table + R"(,
      "size": "cases"
    }
  ],
  "weight": "w"
}
)";
  };
  for (const char* table : {R"({"by": ["region"], "rows": [[1, 3], [2.5, 3], [-3, 3]]})",
                            R"({"by": ["region"], "rows": [["1", 3], ["02", 3], ["-", 3]]})"}) {
    EXPECT_EQ(written(plan(table)), plan(table));
    EXPECT_EQ(written(Replace(plan(table), "\n", " ")), plan(table));
  }
  std::string rows;
  for (int i = 10; i < 40; ++i)
    rows += (i == 10 ? "\n          [" : ",\n          [") + std::to_string(i) + ", 3]";
  const std::string lengthy =
      plan("{\n        \"by\": [\"region\"],\n        \"rows\": [" + rows + "\n        ]\n      }");
  EXPECT_EQ(written(lengthy), lengthy);
}

TEST(PlanAsText, NamesWhatXmlLacks) {
  const HostSession session;
  SVPlanSpecs plan = ReadText(
      R"({"svselect_plan": 1, "weight": "w", "title": "\u0001", "stages": [
        {"method": "pps_wor", "clusters": ["c"], "size": "cases", "certainty": 0.5, "write": {"certain": "z"}, "label": "\uFFFE", "strata": ["s"], "n": {"by": ["s"], "rows": [["\u0000", 1]]}},
        {"method": "simple_wor", "n": 1, "order": ["a", "-b"], "serpentine": true,
         "reserve": 0.2, "write": {"reserve": "r"}}]})");
  EXPECT_THAT(XmlLacks(plan),
              testing::ElementsAre(
                  "'title' has a character that XML can't have",
                  "stage 1: 'label' has a character that XML can't have",
                  "stage 1: XML has nothing for 'certainty'", "stage 1: XML has nothing for 'certain'",
                  "stage 1: a category of 'rows' has a character that XML can't have",
                  "stage 2: XML has nothing for 'order'", "stage 2: XML has nothing for 'reserve'"));
  EXPECT_TRUE(SaysTheSame(plan, ReadText(PlanAsJson(plan))));
}
