#include <gmock/gmock.h>

#include <algorithm>
#include <regex>
#include <sstream>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/SAXParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>

#include "PlanText.h"
#include "SummaryTable.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/output/BpProcedure.h"
#include "host/output/OutputDocument.h"
#include "host/output/RunOutcome.h"
#include "host/render/HtmlReport.h"
#include "host/render/HtmlTable.h"
#include "report/Figures.h"
#include "report/FinalWeights.h"
#include "report/SurveyPage.h"

namespace {

// What the group of a pattern matches, all through a page.
std::vector<std::string> Found(const std::string& page, const std::string& pattern) {
  const std::regex regex(pattern);
  std::vector<std::string> found;
  for (std::sregex_iterator at(page.begin(), page.end(), regex); at != std::sregex_iterator(); ++at)
    found.push_back((*at)[1]);
  return found;
}
// The texts of all elements of a kind, without the markup within.
std::vector<std::string> Texts(const std::string& page, const std::string& element) {
  std::vector<std::string> texts = Found(page, "<" + element + "(?: [^>]*)?>([^]*?)</" + element + ">");
  for (std::string& text : texts) text = std::regex_replace(text, std::regex("<[^>]*>"), "");
  return texts;
}

// A stratum of a stage: region and district, the numbers of units requested and drawn.
struct Stratum {
  std::string region, district;
  SummaryTable::Pair units;
};
void AddSummary(BpProcedure* procedure, const std::string& title, const std::vector<Stratum>& rows) {
  const SummaryTable table(procedure, title);
  for (const Stratum& row : rows) {
    table.Row(Fixed(row.region), Fixed("district ="), Fixed(row.district), row.units, {50, 25});
  }
}

// The page, which is well-formed XML and takes nothing from elsewhere.
std::string Report(const FinalWeights* weights = nullptr, const std::vector<ReportFile>& files = {}) {
  std::ostringstream out;
  WriteHtmlReport({RunStatus::kOk, &OutputDocument::Current(), files},
                  SurveyAdditions(OutputDocument::Current(), weights), out);
  const std::string page = out.str();
  const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(page.data()), page.size(), "page");
  xercesc::SAXParser parser;
  xercesc::HandlerBase faults;  // throws the first fault that is fatal
  parser.setLoadExternalDTD(false);
  parser.setErrorHandler(&faults);
  EXPECT_NO_THROW(parser.parse(source));
  EXPECT_EQ(page.find("http", page.find("<style>")), page.find("http://www.w3.org/2000/svg"));
  return page;
}

// The cells of a table, each with its attributes behind the text; that of numbers is left out.
std::string GridOf(std::size_t table) {
  std::ostringstream out;
  WriteHtmlTable(*OutputDocument::Current().Tables().at(table), "t", out);
  const std::string grid = out.str().substr(out.str().find("<thead>"));
  const std::regex cell("<t[hd](?: class=\"number\")?([^>]*)>([^<]*)</t[hd]>");
  return Replace(std::regex_replace(grid, cell, "$2$1|"), "\"", "");
}
std::string FigureText(std::size_t index) {
  std::ostringstream out;
  WriteStageFigure(*OutputDocument::Current().Tables().at(index), "f", out);
  return out.str();
}

}  // namespace

// Text from outside appears in the page as it is, wherever it comes from, and never as markup.
TEST(HtmlReport, EscapesWhatComesFromOutside) {
  const std::pair<std::string, std::string> kCases[] = {
      {"<script>x</script> &amp; \"q\" 'a' ]]> -- 東京",
       "&lt;script&gt;x&lt;/script&gt; &amp;amp; &quot;q&quot; &#39;a&#39; ]]&gt; -- 東京"},
      {"\x01\x1B\x7F|\xFF|\xEF\xBF\xBE|\xEF\xBF\xBF|\u0085", "   |\uFFFD|\uFFFD|\uFFFD| "},
  };
  for (const auto& [text, shown] : kCases) {
    HostSession session;
    BpProcedure procedure(text, 4);
    OutputDocument::Current().AddMessage(kErrorLevel, text, text);
    AddNotes(1, Fixed(text), Fixed(text));
    AddSummary(&procedure, text, {{text, text, {2, 1}}});
    {
      BpPivotTable table = procedure.PivotTable(Fixed("T"), Fixed("T"), true);
      table.Caption(Fixed(text));
      table.Note(BpAnnotation(Fixed(text).Replicate(), -1));
      table.Dimension(Fixed(text), 2).Category(Fixed("leaf")).Cell(Fixed(text));
    }
    const WeightSummary summary = SummarizeWeights([](const auto& take) { take(2.0), take(3.0); });
    const FinalWeights weights = {text, text, summary};
    const std::string page = Report(&weights, {{"sample", text, 5}});
    EXPECT_TRUE(Texts(page, "script").empty());
    for (const char* place :
         {"title", "h1", "dt", "dd", "li", "p", "th", "td", "caption", "small", "figcaption"}) {
      const std::vector<std::string> texts = Texts(page, place);
      EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), [&, wanted = shown](const std::string& found) {
        return found.find(wanted) != std::string::npos;
      })) << place;
    }
  }
}

// Header cells span what they are the header of, and say so; no cell is missing or stands on another.
TEST_F(ShownTable, NestsHeadersBySpans) {
  {
    BpPivotTable table = fProcedure.PivotTable(Fixed("Uneven"), Fixed("Uneven"), true);
    const BpDimension rows = table.Dimension(Fixed("Rows"), 2);
    const BpDimension columns = table.Dimension(Fixed("Columns"), 2);
    columns.Position(kPlaceColumn, 1, true, false);
    rows.Category(Fixed("plain")).Cell(Fixed("no column"));
    columns.Group(Fixed("group"), true, 2).Category(Fixed("deep")).Cell(Fixed("1"));
    rows.Group(Fixed("outer"), true, 2).Category(Fixed("inner")).Cell(Fixed("2"));
    columns.Category(Fixed("flat")).Cell(Fixed("3"));
    rows.Group(Fixed("outer"), true, 2).Category(Fixed("")).Cell(BpNumber(4, BpProcedure::Count()));
    columns.Group(Fixed("group"), true, 2).Category(Fixed("late")).Cell(Fixed("5"));
  }
  EXPECT_EQ(GridOf(0), R"(<thead>
<tr>Rows class=corner colspan=2 rowspan=2| rowspan=2|group scope=colgroup colspan=2|flat scope=col rowspan=2|</tr>
<tr>deep scope=col|late scope=col|</tr>
</thead>
<tbody>
<tr>plain scope=row colspan=2|no column|1|||</tr>
</tbody>
<tbody>
<tr>outer scope=rowgroup rowspan=2|inner scope=row||2||3|</tr>
<tr>(blank) scope=row|||5|4|</tr>
</tbody>
</table>
</div>
)");
}

// No share that isn't 0 looks like it, and no other cell changes.
TEST_F(ShownTable, ShowsSmallSharesWithTheirDigits) {
  {
    BpPivotTable table = fProcedure.PivotTable(Fixed("T"), Fixed("T"), true);
    const BpDimension columns = table.Dimension(Fixed("Columns"), 2);
    columns.Position(kPlaceColumn, 1, true, false);
    for (const double share : {0.0131, 0.049, 0.0, 0.96, 6.66, 100.0})
      columns.Category(Fixed(std::to_string(share))).Cell(BpNumber(share, BpProcedure::Percent()));
    columns.Category(Fixed("text")).Cell(Fixed("0.0%"));
  }
  EXPECT_THAT(GridOf(0), testing::HasSubstr("<tr>0.013%|0.049%|0.0%|0.96%|6.7%|100.0%|0.0%|</tr>"));
}

// Messages say what they are and how many of a kind came; notes are by group, a list for each; a table
// of more than ten columns is marked for printing across the page.
TEST_F(ShownTable, ShowsMessagesNotesAndWideTables) {
  OutputDocument& document = OutputDocument::Current();
  document.AddMessage(kErrorLevel, "wrong", "Plan stage 2...");
  for (int i = 0; i < 102; ++i) document.AddMessage(kWarningLevel, "careful", "");
  AddNotes(2, Fixed("b"), Fixed("b1"));
  AddNotes(1, Fixed("a"), Fixed("a1"));
  AddNotes(2, Fixed("c"), Fixed("b2"));
  for (const int columnCount : {9, 10}) {
    BpPivotTable table = fProcedure.PivotTable(Fixed("T"), Fixed("T"), true);
    table.Dimension(Fixed("Rows"), 2).Category(Fixed("row"));
    const BpDimension columns = table.Dimension(Fixed("Columns"), 2);
    columns.Position(kPlaceColumn, 1, true, false);
    for (int i = 0; i < columnCount; ++i) columns.Category(Fixed(std::to_string(i))).Cell(Fixed("cell"));
  }
  const std::string page = Report();
  const std::vector<std::string> items = Texts(page, "li");
  ASSERT_EQ(items.size(), 3U + 2);  // the contents come first
  EXPECT_EQ(items[3], "Error: Plan stage 2... wrong");
  EXPECT_EQ(items[4], "Warning: careful (102 times)");
  EXPECT_EQ(Texts(page, "dd"), (std::vector<std::string>{"a1", "b1", "b2"}));
  EXPECT_EQ(Texts(page, "dl").size(), 2U);
  EXPECT_EQ(Found(page, "<table class=\"([^\"]*)"), (std::vector<std::string>{"pivot", "pivot wide"}));
}

// The picture says in words what it shows. Bars up to the limit that the header states, points from there on,
// in a size that is bounded however many strata there are.
TEST_F(ShownTable, StageFigureHasFewOrManyStrata) {
  AddSummary(&fProcedure, "few", {{"North", "7", {4, 4}}, {"North", "8", {2, 1}}, {"South", "1", {0, 0}}});
  AddSummary(&fProcedure, "even", {{"North", "7", {4, 4}}, {"North", "8", {2, 2}}});
  for (const std::size_t strata : {kMostStageBars, kMostStageBars + 1, std::size_t{6000}}) {
    std::vector<Stratum> many;
    for (std::size_t i = 0; i < strata; ++i) {
      const auto size = static_cast<double>(i);
      many.push_back({"North", std::to_string(i), {size, i % 3 == 0 ? size - 1 : size}});
    }
    AddSummary(&fProcedure, "many", many);
  }
  const std::string few = FigureText(0);
  EXPECT_EQ(Texts(few, "desc").at(0),
            "6 units were requested and 5 were drawn in 3 strata. Fewer than requested: 1 stratum.");
  EXPECT_EQ(Texts(few, "text"),
            (std::vector<std::string>{"requested", "drawn", "North", "district = 7", "4 of 4", "district = 8",
                                      "1 of 2", "South", "district = 1", "0 of 0"}));
  EXPECT_EQ(Found(few, "<rect[^>]* width=\"([^\"]*)"),
            (std::vector<std::string>{"18", "18", "99.60%", "99.60%", "49.80%", "24.90%", "0.00%", "0.00%"}));
  EXPECT_NE(FigureText(1).find("in 2 strata, each as requested."), std::string::npos);
  EXPECT_EQ(FigureText(2).find("<circle"), std::string::npos);
  EXPECT_NE(FigureText(3).find("<circle"), std::string::npos);
  EXPECT_LT(FigureText(4).size(), 20'000U);
  EXPECT_NE(FigureText(4).find("in 6000 strata. Fewer than requested: 2000 strata."), std::string::npos);
}
