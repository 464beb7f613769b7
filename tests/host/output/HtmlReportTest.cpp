#include "host/output/HtmlReport.h"

#include <cmath>
#include <sstream>
#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/TransService.hpp>

#include "host/environment/ErrorSink.h"
#include "host/environment/HostSession.h"
#include "host/output/AddNotes.h"
#include "host/output/BpNumber.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpString.h"
#include "host/output/FinalWeights.h"
#include "host/output/OutputDocument.h"
#include "host/output/RunOutcome.h"
#include "host/output/StageFigure.h"

namespace {

using xercesc::DOMElement;
using xercesc::XMLString;

class FirstFault : public xercesc::ErrorHandler {
public:
  void warning(const xercesc::SAXParseException&) override {}
  void error(const xercesc::SAXParseException& fault) override { Take(fault); }
  void fatalError(const xercesc::SAXParseException& fault) override { Take(fault); }
  void resetErrors() override {}
  std::string text;

private:
  void Take(const xercesc::SAXParseException& fault) {
    if (text.empty()) text = std::to_string(fault.getLineNumber()) + ": " + Utf8(fault.getMessage());
  }

public:
  static std::string Utf8(const XMLCh* text) {
    const xercesc::TranscodeToStr bytes(text, "UTF-8");
    return {reinterpret_cast<const char*>(bytes.str()), bytes.length()};
  }
};

// A page that is parsed as XML.
class Page {
public:
  explicit Page(const std::string& html) {
    const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(html.data()), html.size(),
                                            "page");
    fParser.setLoadExternalDTD(false);
    fParser.setErrorHandler(&fFault);
    fParser.parse(source);
    EXPECT_EQ(fFault.text, "");
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
    for (const DOMElement* element : All(name)) texts.push_back(FirstFault::Utf8(element->getTextContent()));
    return texts;
  }
  static std::string Attribute(const DOMElement* element, const char16_t* name) {
    return FirstFault::Utf8(element->getAttribute(name));
  }

private:
  const DOMElement* Root() const {
    return const_cast<xercesc::XercesDOMParser&>(fParser).getDocument()->getDocumentElement();
  }
  xercesc::XercesDOMParser fParser;
  FirstFault fFault;
};

std::size_t SpanOf(const DOMElement* cell, const char16_t* name) {
  const std::string span = Page::Attribute(cell, name);
  return span.empty() ? 1 : std::stoul(span);
}

// The texts of a table's cells, each as often as it spans rows and columns: "a|a\nb|c\n".
std::string GridOf(const DOMElement* table) {
  std::vector<std::vector<std::string>> grid;
  std::size_t r = 0;
  for (const DOMElement* row : Page::Below(table, u"tr")) {
    std::size_t c = 0;
    grid.resize(std::max(grid.size(), r + 1));
    for (const DOMElement* cell = row->getFirstElementChild(); cell != nullptr;
         cell = cell->getNextElementSibling()) {
      while (c < grid[r].size() && !grid[r][c].empty()) ++c;
      for (std::size_t i = 0; i < SpanOf(cell, u"rowspan"); ++i) {
        for (std::size_t k = 0; k < SpanOf(cell, u"colspan"); ++k) {
          grid.resize(std::max(grid.size(), r + i + 1));
          grid[r + i].resize(std::max(grid[r + i].size(), c + k + 1));
          std::string& place = grid[r + i][c + k];
          EXPECT_EQ(place, "") << "two cells in row " << r + i << ", column " << c + k;
          place = "." + FirstFault::Utf8(cell->getTextContent());
        }
      }
    }
    ++r;
  }
  std::string text;
  for (const std::vector<std::string>& row : grid) {
    for (const std::string& place : row) text += (place.empty() ? "HOLE" : place.substr(1)) + "|";
    text += '\n';
  }
  return text;
}

BpString Fixed(const std::string& text) {
  return {text, true};
}

// The summary of a stage: the strata by region and district, the numbers of each.
struct Row {
  const char* region;
  std::string district;
  double requested;
  double actual;
};
void AddSummary(BpProcedure* procedure, const std::string& title, const std::vector<Row>& rows) {
  BpPivotTable table = procedure->PivotTable(Fixed(title), Fixed("Summary"), true);
  const BpDimension value = table.Dimension(Fixed("Value"), 2);
  const BpDimension statistics = table.Dimension(Fixed("Statistics"), 2);
  const BpDimension variables = table.Dimension(Fixed("Variables"), 2);
  value.Position(kPlaceColumn, 1, true, false);
  statistics.Position(kPlaceColumn, 2, true, false);
  variables.Position(kPlaceRow, 1, true, false);
  for (const Row& row : rows) {
    variables.Group(Fixed(row.region), true, 2)
        .Group(Fixed("district ="), true, 2)
        .Category(Fixed(row.district));
    for (const char* statistic : {"Number of Units Sampled", "Rate"}) {
      statistics.Category(Fixed(statistic));
      value.Category(Fixed("Requested")).Cell(BpNumber(row.requested, BpProcedure::Count()));
      value.Category(Fixed("Actual")).Cell(BpNumber(row.actual, BpProcedure::Count()));
    }
  }
}

Page Report(const FinalWeights* weights = nullptr, const std::vector<ReportFile>& files = {}) {
  std::ostringstream out;
  WriteHtmlReport(OutputDocument::Current(), {"ok", files}, weights, out);
  EXPECT_EQ(out.str().find("http", out.str().find("<style>")), out.str().find("http://www.w3.org/2000/svg"));
  return Page(out.str());
}

}  // namespace

// What comes from outside stands in the page as it is, wherever it comes from, and never as markup.
TEST(HtmlReport, EscapesWhatComesFromOutside) {
  const std::string hostile = "<script>x</script> &amp; \"q\" 'a' ]]> -- 東京";
  const std::string bytes = "\x01\x1B\x7F|\xFF|\xEF\xBF\xBE|\xEF\xBF\xBF|\u0085";
  const std::string printed = "   |\uFFFD|\uFFFD|\uFFFD| ";
  for (const auto& [text, shown] : {std::pair(hostile, hostile), std::pair(bytes, printed)}) {
    HostSession session;
    BpProcedure procedure(text, 4);
    OutputDocument::Current().AddMessage(kErrorLevel, text, text);
    AddNotes(1, Fixed(text), Fixed(text));
    AddSummary(&procedure, text, {{text.c_str(), text, 2, 1}});
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
      })) << FirstFault::Utf8(place);
    }
  }
}

// Header cells span what they are the header of, and say so; no cell is missing or stands on another.
TEST(HtmlReport, NestsHeadersBySpans) {
  HostSession session;
  BpProcedure procedure("SVSelect", 4);
  AddSummary(&procedure, "Stage 1", {{"North", "7", 3, 3}, {"South", "1", 2, 2}, {"North", "8", 5, 4}});
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
            "|||Number of Units Sampled|Number of Units Sampled|Rate|Rate|\n"
            "|||Requested|Actual|Requested|Actual|\n"
            "North|district =|7|3|3|3|3|\n"
            "North|district =|8|5|4|5|4|\n"
            "South|district =|1|2|2|2|2|\n");
  EXPECT_EQ(GridOf(tables[1]),
            "Rows|Rows||group|flat|\n"
            "Rows|Rows||deep|flat|\n"
            "plain|plain|no column|1||\n"
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

// The picture says in words what it shows, and its size is bounded however many strata there are.
TEST(StageFigure, ShowsFewAndManyStrata) {
  HostSession session;
  BpProcedure procedure("SVSelect", 4);
  AddSummary(&procedure, "few", {{"North", "7", 4, 4}, {"North", "8", 2, 1}, {"South", "1", 0, 0}});
  std::vector<Row> many;
  for (int i = 0; i < 6'000; ++i)
    many.push_back({"North", std::to_string(i), 1.0 * i, i - (i % 3 == 0 ? 1.0 : 0)});
  AddSummary(&procedure, "many", many);
  AddSummary(&procedure, "even", {{"North", "7", 4, 4}, {"North", "8", 2, 2}});

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
  EXPECT_NE(pages[1].find("in 6,000 strata. Fewer than requested: 2,000 strata."), std::string::npos);
  EXPECT_NE(pages[2].find("in 2 strata, each as requested."), std::string::npos);
}
