#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "PlanText.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"
#include "session/Inspect.h"
#include "session/PreviewPlan.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Json = nlohmann::json;

// A plan and its preview on a frame, read back from JSON.
struct Previewed {
  Previewed(const std::string& stages, const std::string& csv, const HostSettings& settings = {},
            const std::vector<std::string>& reports = {})
      : session(settings) {
    const PlanReading reading = ReadPlan(session, folder.Write("p.xml", Design(stages + Out("Weight", "w"))));
    EXPECT_EQ(reading.status, RunStatus::kOk);
    PreviewRequest request = {.frame = {.path = folder.Write("f.csv", csv)}};
    request.cost = SurveyCost{.fixed = 100.0, .unit = 10.0, .each = 1.0};
    for (const std::string& report : reports) request.reports.push_back(folder.Path(report));
    preview = PreviewPlan(session, reading.plan, request);
    std::ostringstream text;
    WritePreviewJson(session, preview, text);
    json = Json::parse(text.str());
    EXPECT_EQ(json["status"] == "ok", preview.status == RunStatus::kOk);
  }
  // A stratum of a stage, and all messages and remarks.
  const Json& Stratum(std::size_t stage, std::size_t stratum) const {
    return json["stages"][stage]["strata"][stratum];
  }
  std::string Words() const { return json["messages"].dump() + json["remarks"].dump(); }

  TestFolder folder;
  HostSession session;
  PlanPreview preview;
  Json json;
};

const std::string kBySize = "<MOS fromData='no'><Variable name='size'/></MOS>";
const std::string kUnits = ClustersOf(Var("u"));

}  // namespace

// Sizes 1 to 4 have the probabilities 0.2 to 0.8, and the last unit two cases; worked out by hand.
TEST(PreviewPlan, TellsUnitsCasesAndWeights) {
  const Previewed told(Stage("pps_systematic", kUnits + Size("2") + kBySize),
                       "u,size\n1,1\n2,2\n3,3\n4,4\n4,4\n");
  EXPECT_EQ(told.preview.status, RunStatus::kOk);
  const Json& stratum = told.Stratum(0, 0);
  EXPECT_EQ(stratum["units"], 4);
  EXPECT_EQ(stratum["cases"], 5);
  EXPECT_EQ(stratum["total_size"], 10);
  EXPECT_EQ(stratum["drawn"], 2);
  EXPECT_EQ(stratum["probability"], Json({{"min", 0.2}, {"max", 0.8}}));
  EXPECT_EQ(stratum["weight"], Json({{"min", 1.25}, {"max", 5.0}}));
  EXPECT_FALSE(stratum.contains("certain"));
  const Json& sample = told.json["sample"];
  EXPECT_NEAR(sample["expected_cases"].get<double>(), 2.8, 1e-12);
  EXPECT_NEAR(sample["expected_sum_of_weights"].get<double>(), 5.0, 1e-12);
  EXPECT_NEAR(sample["weight"]["mean"].get<double>(), 5.0 / 2.8, 1e-12);
  EXPECT_NEAR(sample["design_effect"].get<double>(), 2.8 * (5.0 + 2.5 + 5.0 / 3.0 + 2.5) / 25.0, 1e-12);
  EXPECT_NEAR(sample["cost"].get<double>(), 100.0 + 20.0 + 2.8, 1e-12);
}

// Strata are named by the values of their variables, in full, and come in their order, also those of clusters.
TEST(PreviewPlan, NamesStrataOfAllStages) {
  const Previewed told(Wor(StrataOf(Var("r")) + kUnits + Size("1")) + Wor(StrataOf(Var("t")) + Size("1")),
                       "r,u,t\nb,1,.002\na,2,.001\na,1,.002\na,1,.001\na,1,.001\n");
  std::vector<std::string> names;
  std::vector<double> reached;
  for (const Json& stratum : told.json["stages"][1]["strata"]) {
    names.push_back(stratum["values"].dump());
    reached.push_back(stratum["reached"]);
  }
  EXPECT_THAT(names, ElementsAre(R"({"r":"a","t":"0.001","u":"1"})", R"({"r":"a","t":"0.002","u":"1"})",
                                 R"({"r":"a","t":"0.001","u":"2"})", R"({"r":"b","t":"0.002","u":"1"})"));
  EXPECT_THAT(reached, ElementsAre(0.5, 0.5, 0.5, 1.0));
  EXPECT_EQ(told.json["stages"][1]["expected_units"], 2.5);
  EXPECT_EQ(told.json["stages"][0]["expected_cases"], 3.0);
  EXPECT_EQ(told.json["stages"][0]["strata_with_one_unit"], 1);
}

TEST(PreviewPlan, FindsWhatARunWouldMeet) {
  struct Case {
    std::string aim, stages, csv;
    bool isStrict;
    RunStatus status;
    std::string row, words;  // parts of the first row of the first stage, and of what is said
  };
  const std::string sampford = Stage("pps_sampford", kUnits + Size("2") + kBySize);
  const std::string systematic = Stage("pps_systematic", kUnits + Size("2") + kBySize);
  const std::string later = Wor(kUnits + Size("1")) + Wor(Size("2"));
  const Case kCases[] = {
      {"a certain unit", systematic, "u,size\n1,1\n2,1\n3,2\n", false, RunStatus::kOk,
       R"("certain":{"count":1,"units":["u = 3"]})", "[][]"},
      {"all are taken", systematic, "u,size\n1,1\n2,1\n", false, RunStatus::kOk, R"("possible":2)", "[][]"},
      {"too large, and a second one then", Stage("pps_sampford", kUnits + Size("3") + kBySize),
       "u,size\n1,1\n2,1\n3,3\n4,20\n", false, RunStatus::kError,
       R"("would_be_certain":{"count":2,"units":["u = 4","u = 3"]})", "Invalid measure of size"},
      {"no size", systematic, "u,size\n1,\n2,1\n3,1\n", false, RunStatus::kError,
       R"("fails":"a unit has no measure of size")", "1 unit has no measure of size (u = 1)"},
      {"sizes of 0 and disagreeing", systematic, "u,size\n1,0\n2,1\n3,1\n3,2\n4,1\n", false, RunStatus::kOk,
       R"("cases":5,"cases_that_disagree":1)", "another measure of size"},
      {"the same, strict", systematic, "u,size\n1,0\n2,1\n3,1\n3,2\n4,1\n", true, RunStatus::kError,
       R"("units_without_size":1)", "A strict run refuses"},
      {"near its probabilities", sampford, "u,size\n1,1\n2,2\n3,3\n4,3\n", false, RunStatus::kOk, "",
       "comes only near the probabilities that it states, in this draw by at most"},
      {"too few in some cluster", later, "u\n1\n2\n2\n2\n", false, RunStatus::kOk, "", "fewer units"},
      {"the same, strict", later, "u\n1\n2\n2\n2\n", true, RunStatus::kOk, "",
       "a run fails if it comes to one of 1 strata, see above; it can be expected to come to 0.5"},
      {"too few in all, strict", later, "u\n1\n2\n", true, RunStatus::kError, "", "A strict run refuses"},
      {"a category without a row",
       Wor(StrataOf(Var("s")) + Table(Var("s"), Row("1", {"a"}) + Row("2", {"c"}), 2)), "s\na\nb\na\n", false,
       RunStatus::kError, "", "No sample size 1 s = b"},
      {"hits that are lost", Stage("simple_wr", Size("2")), "u\n1\n2\n", false, RunStatus::kOk,
       R"("drawn":2.0)", "its plan has no Index"},
      {"many attempts", Stage("pps_sampford", kUnits + Size("30") + "<MOS fromData='yes'/>"), "", false,
       RunStatus::kOk, "", "draws anew until no unit comes up twice"},
  };
  std::string hundred = "u\n";
  for (int i = 0; i < 50; ++i) hundred += std::to_string(i) + "\n";
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.aim);
    const Previewed told(c.stages, c.csv.empty() ? hundred : c.csv, {.strict = c.isStrict});
    EXPECT_EQ(told.preview.status, c.status);
    EXPECT_THAT(told.Words(), HasSubstr(c.words));
    if (!c.row.empty()) {
      EXPECT_THAT(told.Stratum(0, 0).dump(), HasSubstr(c.row));
    }
  }
}

// The reports say the same in their forms.
TEST(PreviewPlan, WritesReports) {
  const Previewed told(Wor(StrataOf(Var("s")) + Rate("0.5")), "s\n<a>\n<a>\nb\nb\nb\nb\nc\n", {},
                       {"r.json", "r.html", "r.txt"});
  EXPECT_THAT(told.preview.problems, IsEmpty());
  EXPECT_EQ(Json::parse(told.folder.Text("r.json")), told.json);
  const std::string page = told.folder.Text("r.html");
  EXPECT_THAT(page, HasSubstr("&lt;a&gt;"));
  EXPECT_THAT(page, HasSubstr("4 units are asked for and 4 are possible in 3 strata, each as asked for."));
  EXPECT_THAT(page, HasSubstr("weights-figure"));
  EXPECT_THAT(told.folder.Text("r.txt"), HasSubstr("A run can draw this design; nothing was drawn."));
}

// No report replaces what is read, or comes to be read.
TEST(PreviewPlan, RefusesAReportBesideTheFrame) {
  const Previewed told(Wor(Size("1")), "s\n1\n", {}, {"f.schema.json"});
  EXPECT_EQ(told.preview.status, RunStatus::kError);
  EXPECT_EQ(told.folder.Names(), "f.csv p.xml");
}
