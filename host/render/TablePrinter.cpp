#include "host/render/TablePrinter.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "host/text/DisplayText.h"

namespace {

constexpr int kIndent = 2;           // per level of row groups
constexpr int kGap = 2;              // between columns
constexpr int kWidestHeader = 24;    // column labels are wrapped to this
constexpr int kNarrowestLabel = 16;  // space for a row label, however deep its group
constexpr int kNarrowestStub = 24;   // row labels aren't wrapped to less to make columns fit
constexpr int kNarrowestTable = 40;  // smaller widths are ignored

std::string Blanks(int count) {
  return std::string(static_cast<std::size_t>(std::max(count, 0)), ' ');
}

int WidestOf(const std::vector<std::string>& texts) {
  int widest = 0;
  for (const std::string& text : texts) widest = std::max(widest, DisplayWidth(text));
  return widest;
}

int LongestWord(const std::string& label) {
  int longest = 0;
  for (std::size_t at = 0; at < label.size();) {
    const std::size_t end = std::min(label.find(' ', at), label.size());
    longest = std::max(longest, DisplayWidth(std::string_view(label).substr(at, end - at)));
    at = end + 1;
  }
  return longest;
}

// Number of groups and categories that two headers share, counted from the outermost.
std::size_t CommonStart(const PivotLayout::Header& a, const PivotLayout::Header& b) {
  const auto [end, other] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  return static_cast<std::size_t>(end - a.begin());
}

}  // namespace

TablePrinter::TablePrinter(const OutputTable& table, int width, std::ostream& out)
    : fTable(table),
      fLayout(table),
      fWidth(std::max(width, kNarrowestTable)),
      fOut(out),
      fvColumns(MeasureColumns()),
      fStubWidth(StubWidth()) {}

void TablePrinter::Print() {
  PrintWrapped(fTable.Title());
  if (!fTable.Caption().empty()) PrintWrapped(fTable.Caption());
  for (std::size_t first = 0; first < fvColumns.size();) {
    const std::size_t last = EndOfBlock(first);
    PrintLine({});
    PrintHeader(first, last);
    PrintRows(first, last);
    first = last;
  }
  if (!fTable.Notes().empty()) PrintLine({});
  for (const std::string& note : fTable.Notes()) PrintWrapped(note);
}

// Pads to `width`; a text that is wider stays as it is.
std::string TablePrinter::Aligned(const std::string& text, int width, Alignment alignment) {
  const int room = std::max(width - DisplayWidth(text), 0);
  int left = 0;
  if (alignment == Alignment::Right) left = room;
  if (alignment == Alignment::Center) left = room / 2;
  return Blanks(left) + text + Blanks(room - left);
}

std::string TablePrinter::Label(int node) const {
  return LabelText(fTable.NodeAt(node).text);
}

// The text above the stub: the labels of the row dimensions, except hidden ones.
std::string TablePrinter::Corner() const {
  std::string corner;
  for (const OutputTable::Dimension& dimension : fTable.Dimensions()) {
    if (dimension.place == kPlaceColumn || dimension.hideLabel) continue;
    if (!corner.empty()) corner += ", ";
    corner += PrintableText(dimension.label);
  }
  return corner;
}

// Step 2. A label is measured only in the first row that has it, since it is printed only there.
int TablePrinter::StubWidth() const {
  int widest = DisplayWidth(Corner());
  const PivotLayout::Header* previous = nullptr;
  for (const PivotLayout::Header& row : fLayout.Rows()) {
    for (std::size_t i = previous == nullptr ? 0 : CommonStart(*previous, row); i < row.size(); ++i) {
      widest = std::max(widest, static_cast<int>(i) * kIndent + DisplayWidth(Label(row[i])));
    }
    previous = &row;
  }
  const int besideAll = fWidth - kGap - SpanWidth(0, fvColumns.size());
  return std::min(widest, besideAll >= kNarrowestStub ? besideAll : fWidth / 2);
}

// Step 1. A column is at least as wide as the longest word of each label above it, labels of groups included,
// so that words stay whole. Its own label is wrapped to kWidestHeader, or to less on a narrow terminal.
std::vector<TablePrinter::Column> TablePrinter::MeasureColumns() const {
  const int widest = std::min(kWidestHeader, fWidth / 2 - kGap);
  std::vector<Column> columns(fLayout.Columns().size());
  for (std::size_t c = 0; c < columns.size(); ++c) {
    const PivotLayout::Header& header = fLayout.Columns()[c];
    int& width = columns[c].width;
    for (const int node : header) width = std::max(width, std::min(LongestWord(Label(node)), widest));
    if (!header.empty()) width = std::max(width, WidestOf(WrapText(Label(header.back()), widest)));
  }
  for (const PivotLayout::Entry& entry : fLayout.Entries()) {
    const OutputTable::Cell& cell = fTable.Cells()[entry.cell];
    Column& column = columns[entry.column];
    column.width = std::max(column.width, DisplayWidth(PrintableText(cell.text)));
    column.isNumeric = column.isNumeric && cell.number.has_value();
  }
  return columns;
}

int TablePrinter::SpanWidth(std::size_t first, std::size_t last) const {
  int width = 0;
  for (std::size_t c = first; c < last; ++c) width += (c == first ? 0 : kGap) + fvColumns[c].width;
  return width;
}

// Step 3. The end of the block that starts at `first`; at least one column. `last` is the end by width
// alone, and `whole` the end of the last complete group before it.
std::size_t TablePrinter::EndOfBlock(std::size_t first) const {
  std::size_t last = first + 1;
  int width = fStubWidth + kGap + fvColumns[first].width;
  for (; last < fvColumns.size(); ++last) {
    width += kGap + fvColumns[last].width;
    if (width > fWidth) break;
  }
  std::size_t whole = last;
  while (whole < fvColumns.size() && whole > first &&
         CommonStart(fLayout.Columns()[whole - 1], fLayout.Columns()[whole]) > 0) {
    --whole;
  }
  return whole > first ? whole : last;
}

// The line of dashes is also printed when there are no column labels but a corner, to set it off from the
// rows.
void TablePrinter::PrintHeader(std::size_t first, std::size_t last) {
  std::size_t levels = 0;
  for (std::size_t c = first; c < last; ++c) levels = std::max(levels, fLayout.Columns()[c].size());
  const std::string corner = Corner();
  for (std::size_t level = 0; level < levels; ++level) {
    const bool isLeaf = level + 1 == levels;
    PrintSpans(SpansAt(level, first, last), isLeaf, isLeaf ? corner : std::string());
  }
  if (levels == 0 && !corner.empty()) PrintLine(corner);
  if (levels > 0 || !corner.empty()) {
    const int gap = fStubWidth > 0 ? kGap : 0;
    PrintLine(std::string(static_cast<std::size_t>(fStubWidth + gap + SpanWidth(first, last)), '-'));
  }
}

// The labels of one level over columns first..last-1. Columns with shorter headers get an empty span each.
std::vector<TablePrinter::Span> TablePrinter::SpansAt(std::size_t level, std::size_t first,
                                                      std::size_t last) const {
  std::vector<Span> spans;
  for (std::size_t c = first; c < last;) {
    const PivotLayout::Header& header = fLayout.Columns()[c];
    std::size_t end = c + 1;
    while (end < last && level < header.size() && CommonStart(header, fLayout.Columns()[end]) > level) ++end;
    Span span = {.first = c, .last = end, .lines = {}};
    if (level < header.size()) span.lines = WrapText(Label(header[level]), std::max(SpanWidth(c, end), 1));
    spans.push_back(std::move(span));
    c = end;
  }
  return spans;
}

// Prints one level of the header. Labels of several lines are aligned at the bottom, next to what they
// label. The corner goes into the last line.
void TablePrinter::PrintSpans(const std::vector<Span>& spans, bool isLeaf, const std::string& corner) {
  std::size_t height = 1;
  for (const Span& span : spans) height = std::max(height, span.lines.size());
  for (std::size_t i = 0; i < height; ++i) {
    std::string line = Aligned(i + 1 == height ? corner : std::string(), fStubWidth, Alignment::Left);
    for (const Span& span : spans) {
      const std::size_t above = height - span.lines.size();
      const Alignment alignment = isLeaf ? AlignmentOf(span.first) : Alignment::Center;
      if (!line.empty()) line += Blanks(kGap);
      line += Aligned(i < above ? std::string() : span.lines[i - above], SpanWidth(span.first, span.last),
                      alignment);
    }
    PrintLine(std::move(line));
  }
}

// `at` walks through the entries once: rows and entries are both in order, and entries of columns outside
// this block are skipped. A group's line is printed when the group begins, i.e. for the levels at which a
// row's header differs from the one before.
void TablePrinter::PrintRows(std::size_t first, std::size_t last) {
  const std::vector<PivotLayout::Entry>& entries = fLayout.Entries();
  const PivotLayout::Header* previous = nullptr;
  std::size_t at = 0;
  for (std::size_t r = 0; r < fLayout.Rows().size(); ++r) {
    const PivotLayout::Header& row = fLayout.Rows()[r];
    const std::size_t common = previous == nullptr ? 0 : CommonStart(*previous, row);
    previous = &row;
    for (std::size_t i = common; i + 1 < row.size(); ++i) PrintLine(StubLines(row[i], i));
    std::string line = row.empty() ? Blanks(fStubWidth) : StubLines(row.back(), row.size() - 1);
    for (std::size_t c = first; c < last; ++c) {
      while (at < entries.size() && entries[at].row == r && entries[at].column < c) ++at;
      const bool isHere = at < entries.size() && entries[at].row == r && entries[at].column == c;
      const std::string text = isHere ? PrintableText(fTable.Cells()[entries[at].cell].text) : std::string();
      if (!line.empty()) line += Blanks(kGap);
      line += Aligned(text, fvColumns[c].width, AlignmentOf(c));
    }
    PrintLine(std::move(line));
    while (at < entries.size() && entries[at].row == r) ++at;
  }
}

// Prints all lines of a row label except the last, and returns that one padded to the stub's width, so that
// the caller can put cells behind it. A label that doesn't fit is indented less, to leave it kNarrowestLabel
// columns.
std::string TablePrinter::StubLines(int node, std::size_t level) {
  const std::string label = Label(node);
  int indent = static_cast<int>(level) * kIndent;
  if (indent + DisplayWidth(label) > fStubWidth) {
    indent = std::clamp(fStubWidth - kNarrowestLabel, 0, indent);
  }
  std::vector<std::string> lines = WrapText(label, std::max(fStubWidth - indent, 1));
  for (std::size_t i = 0; i + 1 < lines.size(); ++i) PrintLine(Blanks(indent) + lines[i]);
  return Aligned(Blanks(indent) + lines.back(), fStubWidth, Alignment::Left);
}

void TablePrinter::PrintWrapped(const std::string& text) {
  for (const std::string& line : WrapText(PrintableText(text), fWidth)) PrintLine(line);
}

// All output goes through here, so that no line ends in blanks.
void TablePrinter::PrintLine(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  fOut << line << '\n';
}
