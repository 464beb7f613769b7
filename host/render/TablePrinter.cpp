#include "host/render/TablePrinter.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "host/text/DisplayText.h"

namespace {

constexpr int kIndent = 2;           // of one level of row groups
constexpr int kGap = 2;              // between columns
constexpr int kWidestHeader = 24;    // a column label is wrapped to this
constexpr int kNarrowestLabel = 16;  // however deep a row label is indented, it has this room
constexpr int kNarrowestStub = 24;   // row labels aren't wrapped to less for the columns' sake
constexpr int kNarrowestTable = 40;  // a smaller width than this isn't kept to

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

// How many nodes two headers have in common at their start.
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

// `text` in a field of that width; a wider one is left as it is.
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

// What stands over the row labels: the labels of the row dimensions that show theirs.
std::string TablePrinter::Corner() const {
  std::string corner;
  for (const OutputTable::Dimension& dimension : fTable.Dimensions()) {
    if (dimension.place == kPlaceColumn || dimension.hideLabel) continue;
    if (!corner.empty()) corner += ", ";
    corner += PrintableText(dimension.label);
  }
  return corner;
}

// The room of the row labels: what the longest takes, but no more than lets all columns stand beside each
// other; where that is too little, no more than half the width.
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

// A column is as wide as its widest cell and its own label; the labels over it are broken only between words.
// No label makes it wider than what fits beside the row labels.
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

// The first column behind those that fit beside the row labels, at least one. An outermost group that doesn't
// fit as a whole goes to the next block, unless it begins this one.
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

// The lines of a level of the header; labels stand at its bottom.
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

// Prints the label's lines but the last, which is given back with the stub's width. Deep groups whose labels
// don't fit are indented less, so that the label keeps room.
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

void TablePrinter::PrintLine(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  fOut << line << '\n';
}
