#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <set>

#include "PlanText.h"
#include "backend/svcommon/JsonTree.h"
#include "backend/svcommon/PlanInWords.h"
#include "backend/svcommon/PlanJsonReader.h"
#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/design/MethodTable.h"
#include "host/environment/HostSession.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::IsEmpty;
using Lines = std::vector<std::string>;

namespace {

// What is said about a plan, and what was read; "@" is the folder, in which there may be a table.
struct Said {
  explicit Said(const std::string& text, const std::string& table = "") {
    const TestFolder folder;
    if (!table.empty()) folder.Write("t.csv", table);
    source = OpenPlan(folder.Write("p", text), &plan);
    code = source->readSamplePlan(folder.Path("p"));
    for (const std::string& line : source->Faults()) faults.push_back(Replace(line, folder.path, "@"));
    if (!plan.isJson) return;
    row = Replace(source->LineAboutRow(1, 2, "x"), folder.path, "@");
    name = Replace(source->LineAboutName("S", "x"), folder.path, "@");
  }

  HostSession session;
  SVPlanSpecs plan;
  std::unique_ptr<PlanSource> source;
  int code;
  Lines faults;
  std::string row, name;
};

std::string Plan(const std::string& stages, const std::string& rest = R"("weight": "w")") {
  return R"({"svselect_plan": 1, "stages": [)" + stages + "], " + rest + "}";
}
// The only stage, of strata s and t and of clusters c.
std::string One(const std::string& members, const std::string& method = "simple_wor") {
  return Plan(R"({"strata": ["s", "t"], "clusters": ["c"], "method": ")" + method + "\", " + members + "}");
}
std::string Rows(const std::string& rows, const std::string& by = R"("s")") {
  return One(R"("n": {"by": [)" + by + R"(], "rows": [)" + rows + "]}");
}

constexpr const char* kTable = R"("n": {"by": ["s"], "table": "t.csv"})";

}  // namespace

// One fault each; the plans have one line, so that only the text is compared.
TEST(PlanJsonFaults, SayWhatIsWrong) {
  const struct {
    std::string plan;
    int code;
    const char* fault;
  } kCases[] = {
      {"[]", 1, "a plan is an object"},
      {R"({"stages": [{"method": "simple_wor", "n": 1}], "weight": "w"})", 1, "a plan needs 'svselect_plan'"},
      {Replace(Plan(R"({"method": "simple_wor", "n": 1})"), ": 1,", ": 2,"), 1, "'2' is no version"},
      {Plan(""), 1, "a plan has 1 to 3 stages"},
      {Plan("5"), 1, "stage 1: a stage is an object"},
      {Plan("{}"), 1, "stage 1: a stage needs 'method'"},
      {One(R"("n": 1, "tittle": 2)"), 1,
       "a stage has no member 'tittle'; its members are label, method, strata"},
      {One(R"("n": 1, "labell": 2)"), 1, "a stage has no member 'labell'; did you mean label?"},
      {One(R"("n": 1, "certainti": true)"), 1, "a stage has no member 'certainti'; did you mean certainty?"},
      {One(R"("n": 1, "certainty": true)"), 1,
       "'certainty' has no effect with 'simple_wor'; it takes pps_wor, pps"},
      {One(R"("n": 1, "size": "cases", "certainty": 0.5)", "pps_wr"), 1,
       "'certainty' has no effect with 'pps_wr'"},
      {One(R"("n": 1, "size": "cases", "certainty": 1)", "pps_wor"), 1,
       "'1' isn't a share of the limit, a number"},
      {One(R"("n": 1, "size": "cases", "certainty": 0)", "pps_wor"), 1, "'0' isn't a share of the limit"},
      {One(R"("n": 1, "order": [])"), 1, "'order' names no variable"},
      {One(R"("n": 1, "order": "a")"), 1, "'order' must be a list of variables"},
      {One(R"("n": 1, "order": [1])"), 1, "the name of a variable is a text"},
      {One(R"("n": 1, "order": ["a", "-A"])"), 22, "'A' is in 'order' twice; names ignore case"},
      {One(R"("n": 1, "order": ["--a"])"), 2, "'-a' is no valid name"},
      {One(R"("n": 1, "order": ["a"], "serpentine": true)"), 1,
       "'serpentine' has no effect: it reverses runs"},
      {One(R"("n": 1, "size": "cases", "order": ["a"])", "pps_wor"), 1,
       "'order' has no effect with 'pps_wor', which"},
      {One(R"("n": 1, "reserve": 2)"), 1, "'reserve' needs the name of a variable, \"reserve\" in 'write'"},
      {One(R"("n": 1, "write": {"reserve": "v"})"), 1, "'reserve' of 'write' has no effect"},
      {One(R"("n": 1, "reserve": 2.5, "write": {"reserve": "v"})"), 1,
       "'2.5' is neither a whole number of reserve"},
      {One(R"("n": 1, "reserve": 0, "write": {"probability": "v"})"), 1,
       "'0' is neither a whole number of reserve"},
      {One(R"("n": 1, "reserve": "2", "write": {"probability": "v"})"), 1, "'reserve' must be a number"},
      {One(R"("n": 1, "reserve": 1, "write": {"reserve": "v"})", "simple_wr"), 1,
       "can't be had with 'simple_wr'"},
      {One(R"("size": "cases", "reserve": 1, "write": {"reserve": "v"})", "pps_brewer"), 1,
       "'reserve' can't be had with 'pps_brewer'; it takes simple_wor, simple_systematic, "},
      {One(R"("n": 1, "certainty": "yes")"), 1, "'certainty' must be true, false or a number"},
      {One(R"("n": 1, "size": "cases", "certainty": false, "write": {"certain": "z"})", "pps_wor"), 1,
       "'certain' has no effect"},
      {One(R"("n": 1, "n": 1)"), 1, "stage 1: 'n' is there twice"},
      {One(R"("n": "1")"), 1, "'n' must be a number, "},
      {One(R"("n": null)"), 1, "'n' must be a number, "},
      {One(R"("n": 1, "rate": 0.5)"), 1, "'n' and 'rate' exclude each other"},
      {One(R"("label": "x")"), 16, "stage 1: the stage has neither 'n' nor 'rate'"},
      {One(R"("n": 2.5)"), 12, "'2.5' isn't a whole number above 0"},
      {One(R"("rate": 1e-400)"), 13, "'1e-400' isn't a number above 0"},
      {One(R"("n": {"variable": "v", "by": ["s"]})"), 1, "'n' has either 'variable', or"},
      {One(R"("n": {"by": ["s"]})"), 1, "'n' has either 'variable', or"},
      {One(R"("n": 3, "min": 1)"), 1, "'min' and 'max' have no effect"},
      {One(R"("rate": 0.5, "min": 1.5)"), 20, "'min' and 'max' are whole numbers, and 1.5 isn't"},
      {One(R"("rate": 0.5, "max": 0)"), 20, "'0' isn't a number above 0; leave it out"},
      {One(R"("rate": 0.5, "min": 3, "max": 2)"), 19, "'min', 3, is above 'max', 2"},
      {One(R"("n": 1, "size": "cases")"), 1, "'size' has no effect"},
      {One(R"("n": 1)", "pps_wor"), 17, "the stage draws by size, and has no 'size'"},
      {One(R"("n": 1, "size": "pupils")", "pps_wor"), 18, "'size' is \"cases\", the number of cases, or "},
      {One(R"("n": 1, "size": {"min": 3})", "pps_wor"), 18, "'size' needs either 'variable' or 'cases'"},
      {One(R"("n": 1, "size": {"variable": "m", "min": 3, "max": 2})", "pps_wor"), 19, "'min', 3, is above"},
      {One(R"("n": 1, "size": {"cases": true, "max": 2})", "pps_wor"), 1, "no effect on a number of cases"},
      {One(R"("n": 3, "size": "cases")", "pps_brewer"), 12, "'pps_brewer' draws two units of each stratum"},
      {One(R"("n": 1)", "simple_wro"), 15, "did you mean simple_wor?"},
      {One(R"("n": 1, "write": {"weight": "S"})"), 22, "'S' is used twice; names ignore case"},
      {One(R"("n": 1, "write": {"rate": "1"})"), 2, "'1' is no valid name"},
      {Plan(R"({"method": "simple_wor", "strata": [1], "n": 1})"), 1, "the name of a variable is a text"},
      {Plan(R"({"method": "pps_wor", "n": 1, "size": "cases"})"), 21, "name the units: add \"clusters\""},
      {Plan(R"({"method": "simple_wor", "n": 1}, {"method": "simple_wor", "n": 1})"), 7,
       "stage 1: the stage has no"},
      {Rows(""), 16, "the table has no rows"},
      {Rows(R"(["a", 1])", ""), 8, "'by' names no variable"},
      {Rows(R"(["a", 1])", R"("c")"), 8, "'c' is a cluster of this stage"},
      {Rows(R"(["a", "b", 1])"), 9, "a row is a list of a category and a number, and this has 3 entries"},
      {Rows("7"), 9, "a row is a list of a category and a number, and this has no entries"},
      {Rows(R"([true, 1])"), 9, "a category is a text in quotes, or a number"},
      {Rows(R"(["a", "1"])"), 1, "the last entry of a row is a number"},
      {Rows(R"(["a", 0])"), 12, "'0' isn't a whole number above 0"},
      {Rows(R"(["1", 1], [2, 1], [1, 3])"), 1, "row 3 of the table has the same categories as row 1"},
      {One(R"("n": {"by": ["s"], "table": "/etc/passwd"})"), 1, "has no absolute path"},
      {One(R"("n": {"by": ["s"], "table": "../t.csv"})"), 1, "in the plan's folder or below it"},
      {One(R"("n": {"by": ["s"], "table": "t.csv"})"), 1,
       "the table can't be read: @/t.csv: there is no such"},
  };
  for (const auto& c : kCases) {
    const Said said(c.plan);
    EXPECT_EQ(said.code, c.code) << c.plan;
    ASSERT_EQ(said.faults.size(), 1U) << c.plan << testing::PrintToString(said.faults);
    EXPECT_THAT(said.faults[0], HasSubstr(c.fault)) << c.plan;
  }
}

// Columns count characters; a fault of the text itself is where the parser can't go on.
TEST(PlanJsonFaults, SayWhere) {
  const std::string deep(1000, '[');
  std::string values;
  for (std::size_t i = 1; i < JsonTree::kMaxValues; ++i) values += "0,";
  const struct {
    std::string text;
    const char* fault;
  } kCases[] = {
      {"\n {\"title\": \"é\", \"é\": 1}", "@/p, line 2, column 17: a plan has no member 'é'"},
      {"\xEF\xBB\xBF{\"x\": 1}", "@/p, line 1, column 2: a plan has no member 'x'"},
      {"{\"svselect_plan\":1,}", "line 1, column 20: no valid JSON: there is a comma too many"},
      {"{\n// hm\n}", "line 2, column 1: no valid JSON, which has no comments"},
      {"{'a': 1}", "line 1, column 2: no valid JSON, in which texts are in double quotes"},
      {"{\"a\": 1", "line 1, column 8: the JSON ends too early"},
      {"{\"a\": \"x\ny\"}", "line 1, column 9: no valid JSON: a text has the end of a line"},
      {"{\"a\": \"x\\y\"}", "line 1, column 10: no valid JSON: a text has a backslash"},
      {"{\"a\": 1} 2", "line 1, column 10: no valid JSON: '2' can't be here"},
      {"{\u201Ca\u201D: 1}", "line 1, column 2: no valid JSON, in which quotes are straight: \""},
      {"{é: 1}", "line 1, column 2: no valid JSON: 'é' can't be here"},
      {"{\"a\": NaN}", "line 1, column 7: no valid JSON: 'N' can't be here"},
      {"{\"a\": \"\xFF\"}", "line 1, column 8: invalid UTF-8"},
      {"{\"a\":\n 1e999}", "line 2, column 2: the number is beyond what can be computed with"},
      {deep, "line 1, column 101: nested more than 100 deep"},
      {"{\"a\": " + deep, "line 1, column 106: nested more than 100 deep"},
      {"[" + values + "0]", "line 1, column 4000000: a plan has at most 2000000 values"},
      {"{\"a\":\n\"" + std::string(JsonTree::kMaxTextBytes, 'x') + "\"}",
       "line 2, column 1: this has more than 1 MB"},
      {"{\"a\": " + std::string(JsonTree::kMaxTextBytes + 1, '1') + "}", "line 1, column 7: this has more"},
      {"[\n" + std::string(JsonTree::kMaxBytes, ' '), "line 2, column 67108863: a plan has at most 64 MB"},
  };
  for (const auto& c : kCases) {
    const Said said(c.text);
    EXPECT_EQ(said.code, SV_XML::kPlanInvalidFile);
    ASSERT_FALSE(said.faults.empty()) << c.fault;
    EXPECT_THAT(said.faults[0], HasSubstr(c.fault));
  }
}

TEST(PlanJsonFaults, AreTenAndACount) {
  std::string rows = "[0, 0]";
  for (int i = 1; i < 1000; ++i) rows += ", [" + std::to_string(i) + ", 0]";
  const Said said(Rows(rows));
  ASSERT_EQ(said.faults.size(), 11U);
  EXPECT_EQ(said.faults.back(), "... and 990 more of the plan");
}

// Every member, and the places in messages about the frame.
TEST(PlanJson, IsRead) {
  const Said said(R"(
{ "$schema": "x", "title": "T", "svselect_plan": 1.0, "previous_weight": "v", "with_replacement_estimates": true,
  "stages": [
    { "label": "L", "size": {"variable": "z", "min": 0.5, "max": 9}, "strata": ["s", "t"], "clusters": ["c"],
      "method": "pps_sampford", "n": {"by": ["T", "s"], "rows": [
        ["\u0041", 12345678901234567890, 5],
        [1.50, -2e0, 7]]},
      "write": {"probability": "p"} },
    { "method": "simple_wor", "clusters": ["d"], "rate": {"variable": "r"}, "min": 2,
      "write": {"weight": "a", "cumulative_weight": "b", "population": "n1", "sample_size": "n2", "rate": "f"} },
    { "method": "simple_wr", "n": 12, "write": {"index": "i"} } ],
  "weight": "w" })");
  EXPECT_THAT(said.faults, IsEmpty());
  EXPECT_TRUE(said.plan.isJson);
  EXPECT_EQ(said.plan.stages.at(0).paramMatrix.Rows(),
            (std::vector<VarCatList::CatList>{{"A", "12345678901234567890"}, {"1.5", "-2"}}));
  EXPECT_THAT(
      PlanInWords(said.plan),
      ElementsAre("Title: T", "Sample design of 3 stages", "Final weight: w",
                  "Weight of an earlier sampling: v", "Estimation as if drawn with replacement", "Stage 1: L",
                  "  Strata: s, t", "  Clusters: c", "  Method: Sampford's, in proportion to size",
                  "  Units of each stratum: a table of T, s with 2 rows", "    A, 12345678901234567890: 5",
                  "    1.5, -2: 7", "  Measure of size: variable z, at least 0.5, at most 9",
                  "  Leaves p: the inclusion probability", "Stage 2", "  Strata: none", "  Clusters: d",
                  "  Method: at random without replacement, each unit with the same probability",
                  "  Rate in each stratum: variable r; units of a stratum at least 2",
                  "  Leaves b: the cumulative weight", "  Leaves n1: the population size",
                  "  Leaves n2: the sample size", "  Leaves f: the sampling rate", "  Leaves a: the weight",
                  "Stage 3", "  Strata: none", "  Clusters: none",
                  "  Method: at random with replacement, each unit with the same probability",
                  "  Units of each stratum: 12", "  Leaves i: the number of selections or copy"));
  EXPECT_EQ(said.row, "@/p, line 7, column 9: stage 1: x");
  EXPECT_EQ(said.name, "@/p, line 4, column 81: x");
}

// A table in a file: names in any case, delimiters, Windows-1252, blank lines, quotes; faults have its lines.
TEST(PlanJson, TakesTablesFromFiles) {
  const struct {
    const char* table;
    Lines faults;
  } kCases[] = {
      {"s,n\nA,1\nB,2\n", {}},
      {"\xEF\xBB\xBFS;size\r\n\"A\";1\r\n\r\nB; 2.0\r\n", {}},
      {"s\tn\nA\t1\nB\t2\n", {}},
      {"sep=;\n\"s\";\"n\"\nA;1\nB;2\n", {}},
      {"s,n\n\"A\",1\nB,2\n\xC4,x\n", {"@/t.csv, line 4: stage 1: 'x' is no number with a decimal point"}},
      {"s\nA\n",
       {"@/t.csv, line 1: stage 1: the first line needs the names of 'by', then one for the numbers: s, n"}},
      {"t,n\nA,1\n",
       {"@/t.csv, line 1: stage 1: the first line needs the names of 'by', then one for the numbers: s, n"}},
      {"s,t,n\nA,B,1\n",
       {"@/t.csv, line 1: stage 1: the first line needs the names of 'by', then one for the numbers: s, n"}},
      {"s;n\nA;1,5\nB;1.5\nC\nD;2\n\nD;3\n",
       {"@/t.csv, line 2: stage 1: '1,5' is no number with a decimal point",
        "@/t.csv, line 3: stage 1: '1.5' isn't a whole number above 0",
        "@/t.csv, line 4: stage 1: 1 fields, expected 2",
        "@/t.csv, line 7: stage 1: row 3 of the table has the same categories as row 2"}},
      {"s,n\n", {"@/p, line 1, column 127: stage 1: the table has no rows"}},
      {"s,n\n\"A,1\n",
       {"@/p, line 1, column 127: stage 1: the table can't be read: @/t.csv, line 2: a quote isn't closed"}},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.table);
    const Said said(One(kTable), c.table);
    EXPECT_THAT(said.faults, ElementsAreArray(c.faults));
    if (!c.faults.empty()) continue;
    EXPECT_EQ(said.plan.stages.at(0).paramMatrix.Rows(), (std::vector<VarCatList::CatList>{{"A"}, {"B"}}));
    EXPECT_THAT(said.row, testing::MatchesRegex("@/t.csv, line [34]: stage 1: x"));
    EXPECT_EQ(said.plan.tableFiles.size(), 1U);
  }
}

// A file is JSON by its first character, and XML otherwise, whatever its name.
TEST(PlanJson, IsFoundByItsContent) {
  for (const char* json : {"{", "\n\t {}", "[1]", "\xEF\xBB\xBF{}"}) {
    EXPECT_TRUE(Said(json).plan.isJson) << json;
  }
  for (const char* xml : {"", "<p/>", "\xEF\xBB\xBF<p/>", "5", "\xFF\xFE<"}) {
    EXPECT_FALSE(Said(xml).plan.isJson) << xml;
  }
}

// Goal: an editor accepts the members, kinds and words that the reader accepts.
TEST(PlanJson, HasTheMembersOfItsSchema) {
  std::ifstream file(SV_EXAMPLES "/../data/svselect-plan-1.schema.json");
  const nlohmann::json schema = nlohmann::json::parse(file);
  for (const auto& [of, names] : PlanJsonReader::MemberNames()) {
    nlohmann::json part = of == "plan" ? schema : schema["definitions"][of];
    if (of == "request") part = part["oneOf"][1];
    std::set<std::string> inSchema;
    for (const auto& [name, unused] : part["properties"].items()) inSchema.insert(name);
    EXPECT_EQ(inSchema, std::set<std::string>(names.begin(), names.end())) << of;
    EXPECT_EQ(part["additionalProperties"], false) << of;
  }
  std::set<std::string> words;
  for (const SVMethod& method : kMethods) words.emplace(method.word);
  EXPECT_EQ(schema["definitions"]["stage"]["properties"]["method"]["enum"].get<std::set<std::string>>(),
            words);
  EXPECT_EQ(schema["properties"]["svselect_plan"]["const"], PlanJsonReader::kVersion);
}
