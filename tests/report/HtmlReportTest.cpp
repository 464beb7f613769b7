#include <cmath>
#include <sstream>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>
#include <xercesc/util/TransService.hpp>

#include "SummaryTable.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/output/BpProcedure.h"
#include "host/output/OutputDocument.h"
#include "host/output/RunOutcome.h"
#include "host/render/HtmlReport.h"
#include "report/Figures.h"
#include "report/FinalWeights.h"
#include "report/SurveyPage.h"

namespace {

using xercesc::DOMElement;
using xercesc::XMLString;

std::string Utf8(const XMLCh* text) {
  const xercesc::TranscodeToStr bytes(text, "UTF-8");
  return {reinterpret_cast<const char*>(bytes.str()), bytes.length()};
}

// A page that is parsed as XML.
class Page {
public:
  explicit Page(const std::string& html) {
    const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(html.data()), html.size(),
                                            "page");
    fParser.setLoadExternalDTD(false);
    fParser.setErrorHandler(&fFaults);
    EXPECT_NO_THROW(fParser.parse(source));
  }

  std::vector<const DOMElement*> All(const char16_t* name) const { return Below(Root(), name); }
  static std::vector<const DOMElement*> Below(const DOMElement* element, const char16_t* name) {
    std::vector<const DOMElement*> found;
    const xercesc::DOMNodeList* const list = element->getElementsByTagName(name);
    for (XMLSize_t i = 0; i < list->getLength(); ++i)
      found.push_back(static_cast<const DOMElement*>(list->item(i)));
    return found;
  }
  std::vector<std::string> Texts(const char16_t* name) const {
    std::vector<std::string> texts;
    for (const DOMElement* element : All(name)) texts.push_back(Utf8(element->getTextContent()));
    return texts;
  }
  static std::string Attribute(const DOMElement* element, const char16_t* name) {
    return Utf8(element->getAttribute(name));
  }

private:
  const DOMElement* Root() const {
    return const_cast<xercesc::XercesDOMParser&>(fParser).getDocument()->getDocumentElement();
  }
  xercesc::XercesDOMParser fParser;
  xercesc::HandlerBase fFaults;  // throws the first fault that is fatal
};

// The cells of a table row by row, behind each the rows and columns that it spans: "a 1x2|\nb|c|\n".
std::string GridOf(const DOMElement* table) {
  std::string text;
  for (const DOMElement* row : Page::Below(table, u"tr")) {
    for (const DOMElement* cell = row->getFirstElementChild(); cell != nullptr;
         cell = cell->getNextElementSibling()) {
      const std::string rows = Page::Attribute(cell, u"rowspan"), columns = Page::Attribute(cell, u"colspan");
      text += Utf8(cell->getTextContent());
      if (rows != "" || columns != "")
        text += " " + (rows + "1").substr(0, 1) + "x" + (columns + "1").substr(0, 1);
      text += '|';
    }
    text += '\n';
  }
  return text;
}

// A stratum of a stage: region and district, the numbers of units requested and drawn.
struct Row {
  std::string region, district;
  SummaryTable::Pair units;
};
void AddSummary(BpProcedure* procedure, const std::string& title, const std::vector<Row>& rows) {
  const SummaryTable table(procedure, title);
  for (const Row& row : rows) {
    table.Row(Fixed(row.region), Fixed("district ="), Fixed(row.district), row.units, {50, 25});
  }
}

Page Report(const FinalWeights* weights = nullptr, const std::vector<ReportFile>& files = {}) {
  std::ostringstream out;
  WriteHtmlReport({RunStatus::kOk, &OutputDocument::Current(), files}, SurveyAdditions(weights), out);
  EXPECT_EQ(out.str().find("http", out.str().find("<style>")), out.str().find("http://www.w3.org/2000/svg"));
  return Page(out.str());
}

}  // namespace

// Text from outside appears in the page as it is, wherever it comes from, and never as markup.
TEST(HtmlReport, EscapesWhatComesFromOutside) {
  const std::string hostile = "<script>x</script> &amp; \"q\" 'a' ]]> -- 東京";
  const std::string bytes = "\x01\x1B\x7F|\xFF|\xEF\xBF\xBE|\xEF\xBF\xBF|\u0085";
  const std::string printed = "   |\uFFFD|\uFFFD|\uFFFD| ";
  for (const auto& [text, wanted] : {std::pair(hostile, hostile), std::pair(bytes, printed)}) {
    const auto& shown = wanted;  // a lambda can't take hold of the other
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
    const FinalWeights weights = {text, text,
                                  SummarizeWeights([](const auto& take) { take(2.0), take(3.0); })};
    const Page page = Report(&weights, {{"sample", text, 5}});
    EXPECT_TRUE(page.All(u"script").empty());
    for (const char16_t* place : {u"h1", u"dt", u"dd"}) EXPECT_EQ(page.Texts(place).front(), shown);
    for (const char16_t* place : {u"title", u"li", u"p", u"th", u"td", u"caption", u"small", u"figcaption"}) {
      const std::vector<std::string> texts = page.Texts(place);
      EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), [&](const std::string& found) {
        return found.find(shown) != std::string::npos;
      })) << Utf8(place);
    }
  }
}

// Header cells span what they are the header of, and say so; no cell is missing or stands on another.
TEST(HtmlReport, NestsHeadersBySpans) {
  HostSession session;
  BpProcedure procedure("SVSelect", 4);
  AddSummary(&procedure, "Stage 1", {{"North", "7", {3, 3}}, {"South", "", {2, 2}}, {"North", "8", {5, 4}}});
  {
    BpPivotTable table = procedure.PivotTable(Fixed("Uneven"), Fixed("Uneven"), true);
    const BpDimension rows = table.Dimension(Fixed("Rows"), 2);
    const BpDimension columns = table.Dimension(Fixed("Columns"), 2);
    columns.Position(kPlaceColumn, 1, true, false);
    rows.Category(Fixed("plain")).Cell(Fixed("no column"));
    columns.Group(Fixed("group"), true, 2).Category(Fixed("deep")).Cell(Fixed("1"));
    rows.Group(Fixed("outer"), true, 2).Category(Fixed("inner")).Cell(Fixed("2"));
    columns.Category(Fixed("flat")).Cell(Fixed("3"));
  }
  const Page page = Report();
  const std::vector<const DOMElement*> tables = page.All(u"table");
  ASSERT_EQ(tables.size(), 2U);
  EXPECT_EQ(GridOf(tables[0]),
            " 2x3|Number of Units Sampled 1x2|Proportion of Units Sampled 1x2|\n"
            "Requested|Actual|Requested|Actual|\n"
            "North 2x1|district = 2x1|7|3|3|50.0%|25.0%|\n"
            "8|5|4|50.0%|25.0%|\n"
            "South|district =|(blank)|2|2|50.0%|25.0%|\n");
  EXPECT_EQ(GridOf(tables[1]),
            "Rows 2x2| 2x1|group|flat 2x1|\n"
            "deep|\n"
            "plain 1x2|no column|1||\n"
            "outer|inner||2|3|\n");
  const auto scopes = [&](const DOMElement* table) {
    std::string text;
    for (const DOMElement* header : Page::Below(table, u"th"))
      text += Page::Attribute(header, u"scope") + " ";
    return text;
  };
  EXPECT_EQ(scopes(tables[0]), "colgroup colgroup col col col col rowgroup row row row rowgroup row row ");
  EXPECT_EQ(Page::Below(tables[0], u"tbody").size(), 2U);
  for (const DOMElement* table : tables) EXPECT_EQ(Page::Below(table, u"caption").size(), 1U);
}

// Bars up to the limit that the header states, points from there on.
TEST(StageFigure, ChangesItsFormAtTheLimit) {
  for (const std::size_t strata : {kMostStageBars, kMostStageBars + 1}) {
    HostSession session;
    BpProcedure procedure("SVSelect", 4);
    std::vector<Row> rows;
    for (std::size_t i = 0; i < strata; ++i) rows.push_back({"North", std::to_string(i), {4, 4}});
    AddSummary(&procedure, "stage", rows);
    std::ostringstream out;
    WriteStageFigure(*OutputDocument::Current().Tables().front(), "f", out);
    EXPECT_EQ(Page(out.str()).All(u"circle").empty(), strata == kMostStageBars);
  }
}

// Messages say what they are and how many more of a kind came; notes are by group, a list for each; a table
// of more than ten columns is marked for printing across the page.
TEST(HtmlReport, ShowsMessagesNotesAndWideTables) {
  HostSession session;
  BpProcedure procedure("SVSelect", 4);
  OutputDocument& document = OutputDocument::Current();
  document.AddMessage(kErrorLevel, "wrong", "Plan stage 2...");
  for (int i = 0; i < 102; ++i) document.AddMessage(kWarningLevel, "careful", "");
  AddNotes(2, Fixed("b"), Fixed("b1"));
  AddNotes(1, Fixed("a"), Fixed("a1"));
  AddNotes(2, Fixed("c"), Fixed("b2"));
  for (const int columnCount : {9, 10}) {
    BpPivotTable table = procedure.PivotTable(Fixed("T"), Fixed("T"), true);
    const BpDimension rows = table.Dimension(Fixed("Rows"), 2);
    const BpDimension columns = table.Dimension(Fixed("Columns"), 2);
    columns.Position(kPlaceColumn, 1, true, false);
    rows.Category(Fixed("row"));
    for (int i = 0; i < columnCount; ++i) columns.Category(Fixed(std::to_string(i))).Cell(Fixed("cell"));
  }
  const Page page = Report();
  const std::vector<std::string> items = page.Texts(u"li");
  ASSERT_EQ(items.size(), 3U + 1 + 100);  // the contents come first
  EXPECT_EQ(items[3], "Error: Plan stage 2... wrong");
  EXPECT_EQ(items[4], "Warning: careful (and 2 more like this)");
  EXPECT_EQ(items[5], "Warning: careful");
  EXPECT_EQ(page.Texts(u"dd"), (std::vector<std::string>{"a1", "b1", "b2"}));
  EXPECT_EQ(page.All(u"dl").size(), 2U);
  const std::vector<const DOMElement*> tables = page.All(u"table");
  ASSERT_EQ(tables.size(), 2U);
  EXPECT_EQ(Page::Attribute(tables[0], u"class"), "pivot");
  EXPECT_EQ(Page::Attribute(tables[1], u"class"), "pivot wide");
}

// The picture says in words what it shows, and its size is bounded however many strata there are.
TEST(StageFigure, ShowsFewAndManyStrata) {
  HostSession session;
  BpProcedure procedure("SVSelect", 4);
  AddSummary(&procedure, "few", {{"North", "7", {4, 4}}, {"North", "8", {2, 1}}, {"South", "1", {0, 0}}});
  std::vector<Row> many;
  for (int i = 0; i < 6'000; ++i)
    many.push_back({"North", std::to_string(i), {i, i - (i % 3 == 0 ? 1.0 : 0)}});
  AddSummary(&procedure, "many", many);
  AddSummary(&procedure, "even", {{"North", "7", {4, 4}}, {"North", "8", {2, 2}}});

  std::vector<std::string> pages;
  for (const auto& table : OutputDocument::Current().Tables()) {
    pages.emplace_back();
    std::ostringstream out;
    WriteStageFigure(*table, "f", out);
    pages.back() = out.str();
  }
  const Page few(pages[0]);
  EXPECT_EQ(few.Texts(u"desc"),
            (std::vector<std::string>{"6 units were requested and 5 were drawn in 3 strata. "
                                      "Fewer than requested: 1 stratum."}));
  EXPECT_EQ(few.Texts(u"text"),
            (std::vector<std::string>{"requested", "drawn", "North", "district = 7", "4 of 4", "district = 8",
                                      "1 of 2", "South", "district = 1", "0 of 0"}));
  std::string widths;
  for (const DOMElement* bar : few.All(u"rect")) widths += Page::Attribute(bar, u"width") + " ";
  EXPECT_EQ(widths, "18 18 99.60% 99.60% 49.80% 24.90% 0.00% 0.00% ");

  EXPECT_LT(pages[1].size(), 20'000U);
  EXPECT_NE(pages[1].find("in 6000 strata. Fewer than requested: 2000 strata."), std::string::npos);
  EXPECT_NE(pages[2].find("in 2 strata, each as requested."), std::string::npos);
}
