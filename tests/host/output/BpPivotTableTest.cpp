#include <cmath>
#include <cstring>
#include <sstream>

#include "SummaryTable.h"
#include "host/output/BpComposite.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpTable.h"
#include "host/output/BpText.h"
#include "host/output/OutputDocument.h"
#include "host/output/OutputTable.h"
#include "host/output/RunOutcome.h"
#include "host/render/JsonReport.h"
#include "host/render/TextRenderer.h"
#include "host/text/DisplayText.h"

namespace {

std::string AsText(int width = 100) {
  std::ostringstream out;
  RenderText(OutputDocument::Current(), width, out);
  return '\n' + out.str();
}
// region, a string with a label and a value label; district, a number that shows no decimals.
KORV_Variable Region() {
  KORV_Variable region("region", 8);
  region.SetLabel("Region of work", 6);
  region.SetValueLabels({{{.number = 0, .text = "N"}, "North"}});
  return region;
}
KORV_Variable District() {
  KORV_Variable district("district", 0);
  district.SetFormat(kFormatF, 8, 0);
  return district;
}

BpComposite Equation(const char* pattern, const KORV_Variable& variable, const OBS* value) {
  BpComposite equation(pattern, false);
  equation.Add(BpVariable(variable, kShowInTable));
  if (value != nullptr) equation.Add(BpDataValue(variable, value, kShowInTable));
  equation.Finish();
  return equation;
}

void AddRow(const SummaryTable& table, const char* region, double district, double size, double rate) {
  OBS regionCell;
  std::memcpy(regionCell.text, (region + std::string(sizeof regionCell.text, ' ')).data(),
              sizeof regionCell.text);
  const OBS districtCell = {.number = district};
  table.Row(Equation("^1 = ^2", Region(), &regionCell), Equation("^1 =", District(), nullptr),
            BpDataValue(District(), &districtCell, kShowInTable), {size, size - 1}, {rate, rate / 2});
}

}  // namespace

TEST_F(ShownTable, NestsRowsAndColumns) {
  {
    SummaryTable table(&fProcedure, "Summary stage 1");
    AddRow(table, "N", 7, 12, 25);
    AddRow(table, "South", 10, 3, 100);
    AddRow(table, "N", 8, 2000, 12.5);  // comes late and stands with its group
    table.table.Note(BpAnnotation(Fixed("A note that is a little too long for one line.").Replicate(), -1));
    EXPECT_EQ(AsText(), "\n");  // nothing appears before the drop
  }
  EXPECT_EQ(AsText(), R"(
SVSelect

Summary stage 1
Plan File plan.xml

                 Number of Units     Proportion of Units
                     Sampled               Sampled
                Requested   Actual   Requested      Actual
----------------------------------------------------------
Region = North
  district =
    7                  12       11       25.0%       12.5%
    8                2000     1999       12.5%        6.2%
Region = South
  district =
    10                  3        2      100.0%       50.0%

A note that is a little too long for one line.
)");
  // Two columns short of the whole width: the second group isn't torn but goes below, with its row headers.
  const std::string folded = AsText(45);
  EXPECT_TRUE(folded.ends_with("A note that is a little too long for one\nline.\n"));
  EXPECT_EQ(folded.substr(0, folded.find("A note")), AsText(57).substr(0, AsText(57).find("A note")));
  EXPECT_NE(folded.find("        2\n\n                 Proportion of Units\n"), std::string::npos);
  EXPECT_NE(folded.find("Region = North\n  district =\n    7                25.0%       12.5%\n"),
            std::string::npos);
}

// Eighteen levels of long and wide labels, a table of rows alone, a cell without a column.
TEST_F(ShownTable, KeepsToTheWidth) {
  AddNotes(2, Fixed("B"), Fixed("b"));
  AddNotes(1, Fixed("A label"), Fixed("東京都港区 " + std::string(150, 'x')));
  {
    BpPivotTable table = fProcedure.PivotTable(Fixed("Deep"), Fixed("Deep"), true);
    const BpDimension rows = table.Dimension(Fixed("Rows"), 2);
    const BpDimension columns = table.Dimension(Fixed("Columns"), 2);
    columns.Position(kPlaceColumn, 1, true, false);
    BpGroup group = rows;
    for (int level = 0; level < 18; ++level) {
      group = group.Group(Fixed("東京都港区 = a long label of level " + std::to_string(level)), true, 2);
    }
    group.Category(Fixed("leaf")).Cell(Fixed("no column"));
    columns.Category(Fixed(std::string(60, 'w'))).Cell(Fixed("cell"));
  }
  EXPECT_TRUE(AsText().starts_with("\nSVSelect\n\nA label  "));
  for (const int width : {0, 40, 61, 100}) {
    const std::string text = AsText(width);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
      EXPECT_LE(DisplayWidth(line), std::max(width, 40)) << line;
    for (const char* word : {"Rows", "17", "leaf", "column", "cell"})
      EXPECT_NE(text.find(word), std::string::npos) << word << " at " << width;
  }
}

// Values that are shown alike stay apart; the same value in another place of the order doesn't.
TEST_F(ShownTable, TellsValuesApartByValue) {
  {
    const SummaryTable table(&fProcedure, "Summary stage 1");
    for (const double district : {7.1, 7.2, 7.1, 0.0, -0.0}) AddRow(table, "N", district, 10 * district, 0);
    AddRow(table, "North", 7.1, 5, 0);  // the text of another value's label
  }
  EXPECT_EQ(OutputDocument::Current().Tables().at(0)->Cells().size(), 4U * 4);  // four cells a row
}

TEST_F(ShownTable, JsonHasItsFixedForm) {
  OutputDocument::Current().AddMessage(2, "a \"b\" \xFF", "Plan stage 1...");
  AddNotes(1, Fixed("Plan File"), Fixed("plan.xml"));
  {
    BpPivotTable table = fProcedure.PivotTable(Fixed("Renamed"), Fixed("Kind"), true);
    table.Caption(Fixed("caption"));
    const BpDimension name = table.Dimension(Fixed("Name"), 0);
    name.Position(kPlaceRow, 1, false, false);
    const BpCategory old = name.Group(Fixed("group"), true, 2).Category(Fixed("old"));
    const BpCategory none = name.Category(Fixed("none"));
    name.Category(Fixed("last made, but not asked"));
    old.Cell(BpString("first", false));
    old.Cell(BpNumber(12.25, BpProcedure::Percent()));
    none.Cell(BpNumber(std::nan(""), BpProcedure::Count()));
    table.Note(BpAnnotation(Fixed("so").Replicate(), -1));
    const BpPivotTable empty = fProcedure.PivotTable(Fixed("Empty"), Fixed("Empty"), true);
  }
  std::ostringstream out;
  WriteJsonReport({.status = RunStatus::kOk,
                   .document = &OutputDocument::Current(),
                   .files = {{"sample", "s.csv", 120}},
                   .remarks = {"2 of 9 cases are left out"},
                   .facts = {{"Frame", {"f.csv"}, RunFact::Kind::kPlain},
                             {"Plan", {"<a>", "</a>"}, RunFact::Kind::kLong},
                             {"Day", {"2026-11-23"}, RunFact::Kind::kVarying}}},
                  out);
  EXPECT_EQ(out.str(), R"({"procedure": "SVSelect", "status": "ok",
"messages": [
{"level":"warning","text":"a \"b\" �","group":"Plan stage 1...","repeats":0}],
"notes": [
{"group":1,"label":"Plan File","text":"plan.xml"}],
"tables": [
{"title": "Renamed", "kind": "Kind", "caption": "caption", "notes": ["so"],
"dimensions": [
{"label":"Name","place":"row","index":1}],
"cells": [
{"at":{"Name":["group","old"]},"value":12.25,"text":"12.2%"},
{"at":{"Name":["none"]},"text":"."}]}],
"files": [
{"role":"sample","path":"s.csv","cases":120}],
"remarks": [
"2 of 9 cases are left out"],
"facts": [
{"label":"Frame","lines":["f.csv"]},
{"label":"Plan","lines":["<a>","</a>"]}]}
)");
}

// Dimensions of one label keep their own members, and none takes the name that another one has.
TEST_F(ShownTable, JsonKeepsDimensionsOfOneLabelApart) {
  {
    BpPivotTable table = fProcedure.PivotTable(Fixed("T"), Fixed("T"), true);
    std::vector<BpDimension> dimensions;
    for (const char* label : {"A", "A", "A (2)", "A"}) dimensions.push_back(table.Dimension(Fixed(label), 2));
    for (const char* text : {"a", "b", "c"}) {
      const auto i = static_cast<std::size_t>(*text - 'a');
      dimensions[i].Category(Fixed(text));
    }
    dimensions[3].Category(Fixed("d")).Cell(Fixed("cell"));
  }
  std::ostringstream out;
  WriteJsonReport({.status = RunStatus::kOk, .document = &OutputDocument::Current()}, out);
  const char* const kCell = R"x({"A":["a"],"A (2)":["b"],"A (2) (2)":["c"],"A (3)":["d"]})x";
  EXPECT_NE(out.str().find(kCell), std::string::npos) << out.str();
}
