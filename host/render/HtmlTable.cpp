#include "host/render/HtmlTable.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <vector>

#include "host/output/OutputTable.h"
#include "host/render/HtmlText.h"
#include "host/render/PivotLayout.h"
#include "host/text/DisplayText.h"
#include "host/text/ReadableNumber.h"

namespace {

using Headers = std::vector<PivotLayout::Header>;

// Tables with more columns than this, row headers included, are printed in landscape.
constexpr std::size_t kWidestUpright = 10;

// The length of the longest header: how many levels of header cells this side needs.
std::size_t DepthOf(const Headers& headers) {
  std::size_t depth = 0;
  for (const PivotLayout::Header& header : headers) depth = std::max(depth, header.size());
  return depth;
}

// Whether header i continues the header cell of header i - 1 at `level`: both have the same nodes from the
// outermost down to that level. False for i == 0 and past the end.
bool GoesOn(const Headers& headers, std::size_t i, std::size_t level) {
  if (i == 0 || i == headers.size()) return false;
  const PivotLayout::Header& before = headers[i - 1];
  const PivotLayout::Header& header = headers[i];
  return before.size() > level && header.size() > level &&
         std::equal(before.begin(), before.begin() + static_cast<std::ptrdiff_t>(level) + 1, header.begin());
}

// Number of headers, from `first` on, that share its cell at `level`.
std::size_t SpanOf(const Headers& headers, std::size_t first, std::size_t level) {
  std::size_t last = first + 1;
  while (GoesOn(headers, last, level)) ++last;
  return last - first;
}

// A rowspan or colspan attribute; nothing for a span of 1, which is the default.
std::string Span(const char* attribute, std::size_t count) {
  return count == 1 ? std::string() : std::string(" ") + attribute + "=\"" + std::to_string(count) + '"';
}

// A share below this many percent loses too many of its digits in the text of its cell.
constexpr double kSmallShare = 1.0;

// What a page shows in a cell: its text, but for a small share two digits, so that none looks like 0.
std::string CellText(const OutputTable::Cell& cell) {
  const bool isShare = cell.number && cell.text.ends_with('%');
  const double size = isShare ? std::abs(*cell.number) : 0.0;
  return size > 0.0 && size < kSmallShare ? ReadableNumber(*cell.number, 2) + "%" : cell.text;
}

// Writes one table. Single use: construct, Write(), discard.
class TableWriter {
public:
  TableWriter(const OutputTable& table, std::ostream& out)
      : fTable(table),
        fOut(out),
        fLayout(table),
        fRowDepth(DepthOf(fLayout.Rows())),
        fColumnDepth(DepthOf(fLayout.Columns())) {}

  void Write(const std::string& id) {
    const bool isWide = fRowDepth + fLayout.Columns().size() > kWidestUpright;
    fOut << "<div class=\"scroll\" role=\"region\" tabindex=\"0\" aria-labelledby=\"" << id << "\">\n<table"
         << (isWide ? " class=\"pivot wide\"" : " class=\"pivot\"") << ">\n<caption id=\"" << id << "\">"
         << HtmlText(fTable.Title());
    if (!fTable.Caption().empty()) fOut << "<small>" << HtmlText(fTable.Caption()) << "</small>";
    fOut << "</caption>\n";
    if (!fLayout.Entries().empty()) {
      WriteColumnGroups();
      WriteHead();
      WriteBody();
    }
    fOut << "</table>\n</div>\n";
    for (const std::string& note : fTable.Notes()) fOut << "<p class=\"note\">" << HtmlText(note) << "</p>\n";
  }

private:
  std::string Label(int node) const { return HtmlText(LabelText(fTable.NodeAt(node).text)); }

  // The labels of the row dimensions, except hidden ones.
  std::string Corner() const {
    std::string corner;
    for (const OutputTable::Dimension& dimension : fTable.Dimensions()) {
      if (dimension.place == kPlaceColumn || dimension.hideLabel) continue;
      corner += (corner.empty() ? "" : ", ") + HtmlText(dimension.label);
    }
    return corner;
  }

  // The groups that scope="colgroup" refers to: the row headers, then each outermost group of columns.
  void WriteColumnGroups() {
    if (fRowDepth > 0) fOut << "<colgroup" << Span("span", fRowDepth) << "></colgroup>\n";
    for (std::size_t c = 0; c < fLayout.Columns().size();) {
      const std::size_t span = SpanOf(fLayout.Columns(), c, 0);
      fOut << "<colgroup" << Span("span", span) << "></colgroup>\n";
      c += span;
    }
  }

  // A header cell is written in the line of its level, at the first column that it spans. A column without
  // any category has one empty cell for all levels.
  void WriteHead() {
    if (fColumnDepth == 0) return;
    fOut << "<thead>\n";
    for (std::size_t level = 0; level < fColumnDepth; ++level) {
      fOut << "<tr>";
      if (level == 0 && fRowDepth > 0) {
        fOut << "<td class=\"corner\"" << Span("colspan", fRowDepth) << Span("rowspan", fColumnDepth) << '>'
             << Corner() << "</td>";
      }
      const Headers& columns = fLayout.Columns();
      for (std::size_t c = 0; c < columns.size(); ++c) {
        if (columns[c].empty() && level == 0) fOut << "<td" << Span("rowspan", fColumnDepth) << "></td>";
        if (level < columns[c].size() && !GoesOn(columns, c, level)) WriteColumnHeader(c, level);
      }
      fOut << "</tr>\n";
    }
    fOut << "</thead>\n";
  }

  // A leaf takes the remaining levels as well, so that the columns below it start in the same line. Only the
  // outermost level has the scope of a group: that is how WriteColumnGroups() divides the columns.
  void WriteColumnHeader(std::size_t column, std::size_t level) {
    const PivotLayout::Header& header = fLayout.Columns()[column];
    const bool isLeaf = level + 1 == header.size();
    const std::size_t columns = SpanOf(fLayout.Columns(), column, level);
    fOut << "<th scope=\"" << (level == 0 && !isLeaf ? "colgroup" : "col") << '"' << Span("colspan", columns)
         << Span("rowspan", isLeaf ? fColumnDepth - level : 1) << '>' << Label(header[level]) << "</th>";
  }

  // A new <tbody> for each outermost group of rows, if there are groups. A row without any category has an
  // empty cell in place of its headers.
  void WriteBody() {
    const Headers& rows = fLayout.Rows();
    const bool hasGroups = fRowDepth > 1;
    fOut << "<tbody>\n";
    for (std::size_t r = 0; r < rows.size(); ++r) {
      if (hasGroups && r > 0 && !GoesOn(rows, r, 0)) fOut << "</tbody>\n<tbody>\n";
      fOut << "<tr>";
      if (rows[r].empty() && fRowDepth > 0) fOut << "<td" << Span("colspan", fRowDepth) << "></td>";
      for (std::size_t level = 0; level < rows[r].size(); ++level) {
        if (!GoesOn(rows, r, level)) WriteRowHeader(r, level);
      }
      WriteCells(r);
      fOut << "</tr>\n";
    }
    fOut << "</tbody>\n";
  }

  void WriteRowHeader(std::size_t row, std::size_t level) {
    const PivotLayout::Header& header = fLayout.Rows()[row];
    const bool isLeaf = level + 1 == header.size();
    const std::size_t rows = SpanOf(fLayout.Rows(), row, level);
    fOut << "<th scope=\"" << (level == 0 && !isLeaf ? "rowgroup" : "row") << '"' << Span("rowspan", rows)
         << Span("colspan", isLeaf ? fRowDepth - level : 1) << '>' << Label(header[level]) << "</th>";
  }

  // REQUIRES: rows are written in order. The entries are in the same order, so fNext only moves forward.
  void WriteCells(std::size_t row) {
    const std::vector<PivotLayout::Entry>& entries = fLayout.Entries();
    for (std::size_t c = 0; c < fLayout.Columns().size(); ++c) {
      const bool isHere = fNext < entries.size() && entries[fNext].row == row && entries[fNext].column == c;
      if (!isHere) {
        fOut << "<td></td>";
        continue;
      }
      const OutputTable::Cell& cell = fTable.Cells()[entries[fNext++].cell];
      fOut << (cell.number ? "<td class=\"number\">" : "<td>") << HtmlText(CellText(cell)) << "</td>";
    }
  }

  const OutputTable& fTable;
  std::ostream& fOut;
  PivotLayout fLayout;
  std::size_t fRowDepth;     // levels of row headers: columns before the first cell
  std::size_t fColumnDepth;  // levels of column headers: lines above the first row
  std::size_t fNext = 0;     // the next entry to write
};

}  // namespace

void WriteHtmlTable(const OutputTable& table, const std::string& id, std::ostream& out) {
  TableWriter(table, out).Write(id);
}
