#include <algorithm>
#include <cmath>
#include <iterator>
#include <map>
#include <optional>
#include <ostream>
#include <utility>
#include <vector>

#include "backend/svselect/results/SummaryTableKind.h"
#include "host/output/OutputTable.h"
#include "host/render/HtmlText.h"
#include "host/render/PivotLayout.h"
#include "host/text/DisplayText.h"
#include "host/text/ReadableNumber.h"
#include "report/Figures.h"
#include "report/SvgText.h"
#include "report/WeightSummary.h"

// The figure of a stage: requested against drawn. A survey has few strata or thousands, so there are two
// forms:
//
//   up to kMostStageBars strata      a bar for each, the picture growing with their number; labels nested
//   like
//                                    the row headers of the table
//   more                             a plot of fixed size, units drawn against units requested; a stratum
//   below
//                                    the diagonal got fewer units than requested
//
// Both are found in the summary table that the procedure has put into the document, by its kind and the
// labels of its columns (SummaryTableKind.h). The words of the description come from the numbers too, since a
// picture alone says nothing to a screen reader.

namespace {

// Bars. Heights and indents are pixels.
constexpr int kLegendHeight = 28;
constexpr int kGroupHeight = 22;           // a line that names a group of strata
constexpr int kBarHeight = 38;             // one stratum: a line with its label and numbers, the bar below
constexpr int kIndent = 12;                // for each level of groups
constexpr std::size_t kDeepestIndent = 6;  // levels; deeper ones aren't indented further
constexpr int kLabelColumns = 34;          // characters of a label that fit beside the numbers on a phone
constexpr int kIndentColumns = 2;          // characters lost to each indent

// Points. Positions across are percent of the width, positions down are pixels; see SvgText.h.
constexpr int kPlotTop = 24;
constexpr int kPlotBottom = 300;
constexpr int kPlotHeight = 340;
constexpr double kPlotLeft = 13.0;
constexpr double kPlotRight = 98.0;
constexpr int kMostTicks = 5;
constexpr double kMostPoints = 40.0;    // places along each axis; strata within one place share a point
constexpr double kLargestRadius = 9.0;  // pixels
constexpr double kSmallestRadius = 2.5;

// How a kind of table, its columns and what they hold are called.
struct Words {
  const char* kind;
  const char* units;      // label of the group of columns
  const char* requested;  // labels of its columns
  const char* actual;
  const char* asked;  // in sentences and legends
  const char* given;
  const char* wereAsked;
  const char* wereGiven;
};
constexpr Words kWords[] = {
    {SummaryTableKind::kKind, SummaryTableKind::kUnitsSampled, SummaryTableKind::kRequested,
     SummaryTableKind::kActual, "requested", "drawn", "were requested", "were drawn"},
    {PreviewTableKind::kKind, PreviewTableKind::kUnits, PreviewTableKind::kAsked, PreviewTableKind::kPossible,
     "asked for", "possible", "are asked for", "are possible"},
};

struct Stratum {
  PivotLayout::Header header;  // nodes of the table from the outermost group to the stratum itself
  double requested = 0.0;      // units
  double actual = 0.0;
};

// The member that a column of the table fills; null for the proportions, which the picture leaves out.
double Stratum::*SizeOfColumn(const OutputTable& table, const PivotLayout::Header& header,
                              const Words& words) {
  if (header.size() != 2 || table.NodeAt(header[0]).text != words.units) return nullptr;
  const std::string& value = table.NodeAt(header[1]).text;
  if (value == words.requested) return &Stratum::requested;
  return value == words.actual ? &Stratum::actual : nullptr;
}

// The strata in the order of the table's rows; empty if it has no numbers, as with too many strata variables.
std::vector<Stratum> StrataOf(const OutputTable& table, const Words& words) {
  const PivotLayout layout(table);
  std::vector<Stratum> strata(layout.Rows().size());
  for (std::size_t r = 0; r < strata.size(); ++r) strata[r].header = layout.Rows()[r];
  bool hasSizes = false;
  for (const PivotLayout::Entry& entry : layout.Entries()) {
    double Stratum::*const size = SizeOfColumn(table, layout.Columns()[entry.column], words);
    const std::optional<double>& number = table.Cells()[entry.cell].number;
    if (size == nullptr || !number) continue;
    strata[entry.row].*size = *number;
    hasSizes = true;
  }
  if (!hasSizes) strata.clear();
  return strata;
}

// The caption and description: totals, and in how many strata the draw missed its target.
std::string InWords(const std::vector<Stratum>& strata, const Words& of) {
  double requested = 0.0;
  double actual = 0.0;
  std::size_t less = 0;
  std::size_t more = 0;
  for (const Stratum& stratum : strata) {
    requested += stratum.requested;
    actual += stratum.actual;
    if (stratum.actual < stratum.requested) ++less;
    if (stratum.actual > stratum.requested) ++more;
  }
  const auto count = [](std::size_t n) { return ReadableNumber(static_cast<double>(n)); };
  std::string words = ReadableNumber(requested) + " units " + of.wereAsked + " and " +
                      ReadableNumber(actual) + " " + of.wereGiven;
  if (strata.size() > 1) words += " in " + count(strata.size()) + " strata";
  words += less + more == 0 ? std::string(", each as ") + of.asked + "." : ".";
  // Without strata "each" would have nothing to refer to.
  if (strata.size() == 1 && less + more == 0)
    words = ReadableNumber(actual) + " units " + of.wereGiven + ", as " + of.asked + ".";
  if (less > 0)
    words +=
        std::string(" Fewer than ") + of.asked + ": " + count(less) + (less == 1 ? " stratum." : " strata.");
  if (more > 0)
    words +=
        std::string(" More than ") + of.asked + ": " + count(more) + (more == 1 ? " stratum." : " strata.");
  return words;
}

// At least 1, so that it can divide.
double LargestOf(const std::vector<Stratum>& strata) {
  double largest = 1.0;
  for (const Stratum& stratum : strata) largest = std::max({largest, stratum.requested, stratum.actual});
  return largest;
}

// Cuts a text that is wider than `columns`; an ellipsis replaces the rest.
std::string Shortened(const std::string& text, int columns) {
  std::string printable = PrintableText(text);
  if (DisplayWidth(printable) <= columns) return printable;
  return WrapText(printable, columns - 1).front() + "\u2026";
}

// --- few strata: a bar for each --------------------------------------------------------------------------

// Draws one picture of bars. Single use: construct, Height() for the frame of the picture, Write(), discard.
// The strata are in a tree of groups, one level for each strata variable and its category: a group gets a
// line of its own above its first stratum, as in a table with nested row headers.
class BarWriter {
public:
  BarWriter(const OutputTable& table, const std::vector<Stratum>& strata, const Words& words,
            std::ostream& out)
      : fTable(table), fStrata(strata), fWords(words), fOut(out), fLargest(LargestOf(strata)) {}

  int Height() const {
    int height = kLegendHeight;
    for (std::size_t i = 0; i < fStrata.size(); ++i)
      height += kBarHeight + kGroupHeight * static_cast<int>(GroupsOf(i) - FirstGroup(i));
    return height;
  }

  void Write() {
    WriteLegend();
    for (std::size_t i = 0; i < fStrata.size(); ++i) {
      for (std::size_t level = FirstGroup(i); level < GroupsOf(i); ++level) WriteGroup(i, level);
      WriteStratum(i);
    }
  }

private:
  // Number of levels that have lines of their own. The last two nodes of a header share the stratum's line:
  // "type =" and its category.
  std::size_t GroupsOf(std::size_t i) const {
    const std::size_t nodes = fStrata[i].header.size();
    return nodes > 2 ? nodes - 2 : 0;
  }

  // The outermost level at which a group begins with this stratum; GroupsOf(i) if none does.
  std::size_t FirstGroup(std::size_t i) const {
    if (i == 0) return 0;
    const PivotLayout::Header& before = fStrata[i - 1].header;
    const PivotLayout::Header& header = fStrata[i].header;
    const auto differ = std::mismatch(before.begin(), before.end(), header.begin(), header.end()).second;
    return std::min(static_cast<std::size_t>(differ - header.begin()), GroupsOf(i));
  }

  // Blank categories get a visible label.
  std::string Text(std::size_t i, std::size_t level) const {
    return LabelText(fTable.NodeAt(fStrata[i].header[level]).text);
  }

  // One bar of each kind. The bar of the units drawn lies inside that of the units requested.
  void WriteLegend() {
    fOut << "<rect class=\"requested\" x=\"0\" y=\"3\" width=\"18\" height=\"14\"/>\n";
    WriteSvgText("24", 15, "start", fWords.asked, fOut);
    fOut << "<rect class=\"actual\" x=\"110\" y=\"6\" width=\"18\" height=\"8\"/>\n";
    WriteSvgText("134", 15, "start", fWords.given, fOut);
    fY = kLegendHeight;
  }

  void WriteLabel(std::size_t level, int y, const std::string& label) {
    const int indents = static_cast<int>(std::min(level, kDeepestIndent));
    WriteSvgText(std::to_string(kIndent * indents), y, "start",
                 Shortened(label, kLabelColumns - kIndentColumns * indents), fOut);
  }

  void WriteGroup(std::size_t i, std::size_t level) {
    WriteLabel(level, fY + 15, Text(i, level));
    fY += kGroupHeight;
  }

  // A frame without strata variables is one stratum, without a header.
  void WriteStratum(std::size_t i) {
    const Stratum& stratum = fStrata[i];
    const std::size_t nodes = stratum.header.size();
    std::string label = nodes == 0 ? "all units" : Text(i, nodes - 1);
    if (nodes > 1) label = Text(i, nodes - 2) + " " + label;
    WriteLabel(GroupsOf(i), fY + 14, label);
    const std::string numbers = ReadableNumber(stratum.actual) + " of " + ReadableNumber(stratum.requested);
    WriteSvgText("100%", fY + 14, "end", numbers, fOut);
    WriteBar("requested", stratum.requested, fY + 19, 14);
    WriteBar("actual", stratum.actual, fY + 22, 8);
    fY += kBarHeight;
  }

  void WriteBar(const char* kind, double size, int y, int height) {
    // 99.6 % and not 100: the outline is drawn half outside the bar and would be cut off.
    const double width = 99.6 * std::max(size, 0.0) / fLargest;
    fOut << "<rect class=\"" << kind << "\" x=\"1\" y=\"" << y << "\" width=\"" << Across(width)
         << "\" height=\"" << height << "\"/>\n";
  }

  const OutputTable& fTable;
  const std::vector<Stratum>& fStrata;
  const Words& fWords;
  std::ostream& fOut;
  double fLargest;  // units, the full width
  int fY = 0;       // pixels, top of the next line
};

// --- many strata: points ---------------------------------------------------------------------------------

// Scales of the plot of units drawn (up) against units requested (across). Both run from 0 to the same end,
// so that strata drawn as requested are on the diagonal. Steps are whole units.
struct Axes {
  explicit Axes(double largest)
      : tick(std::max(RoundStep(largest, kMostTicks), 1.0)), end(std::ceil(largest / tick) * tick) {}

  double X(double size) const { return kPlotLeft + (kPlotRight - kPlotLeft) * size / end; }
  double Y(double size) const { return kPlotBottom - (kPlotBottom - kPlotTop) * size / end; }

  double tick;  // units between two labels
  double end;   // units
};

// Grid, labels and the diagonal. The last label across ends at the edge, where half of it would be cut off.
void WriteAxes(const Axes& axes, const Words& words, std::ostream& out) {
  for (double at = 0.0; at <= axes.end + axes.tick / 2; at += axes.tick) {
    const int y = static_cast<int>(std::lround(axes.Y(at)));
    WriteSvgGridLine(kPlotLeft, kPlotRight, y, out);
    WriteSvgText(Across(kPlotLeft - 1.5), y + 4, "end", ReadableNumber(at), out);
    WriteSvgText(Across(axes.X(at)), kPlotBottom + 18, at == axes.end ? "end" : "middle", ReadableNumber(at),
                 out);
  }
  WriteSvgText("0", 12, "start", std::string("units ") + words.given, out);
  WriteSvgText(Across(kPlotRight), kPlotBottom + 36, "end", std::string("units ") + words.asked, out);
  out << "<line class=\"equal\" x1=\"" << Across(axes.X(0)) << "\" y1=\"" << kPlotBottom << "\" x2=\""
      << Across(axes.X(axes.end)) << "\" y2=\"" << kPlotTop << "\"/>\n";
}

// Strata in the same square of a grid of kMostPoints by kMostPoints make one point: with thousands of strata
// most would be drawn over each other. The area of a point is in proportion to the number of its strata, but
// never so small that it can't be seen.
void WritePoints(const std::vector<Stratum>& strata, const Axes& axes, std::ostream& out) {
  const double side = std::max(std::ceil(axes.end / kMostPoints), 1.0);
  const auto square = [&](double size) { return static_cast<int>(std::max(size, 0.0) / side); };
  std::map<std::pair<int, int>, int> points;
  int most = 0;
  for (const Stratum& stratum : strata)
    most = std::max(most, ++points[{square(stratum.requested), square(stratum.actual)}]);
  for (const auto& [at, count] : points) {
    // The middle of a square over whole numbers: a square of side 1 holds one number, and is drawn there.
    const auto middle = [&](int place) { return side * place + (side - 1.0) / 2.0; };
    const double radius =
        std::max(kLargestRadius * std::sqrt(static_cast<double>(count) / most), kSmallestRadius);
    out << "<circle class=\"" << (at.second < at.first ? "fewer" : "actual") << "\" cx=\""
        << Across(axes.X(middle(at.first))) << "\" cy=\"" << std::lround(axes.Y(middle(at.second)))
        << "\" r=\"" << std::lround(radius * 10) / 10.0 << "\"/>\n";
  }
}

}  // namespace

void WriteStageFigure(const OutputTable& table, const std::string& id, std::ostream& out) {
  const auto* const found = std::find_if(std::begin(kWords), std::end(kWords),
                                         [&](const Words& words) { return table.Kind() == words.kind; });
  if (found == std::end(kWords)) return;
  const Words& words = *found;
  const std::vector<Stratum> strata = StrataOf(table, words);
  if (strata.empty()) return;
  const std::string description = InWords(strata, words);
  const std::string title =
      std::string("Units ") + words.asked + " and " + words.given + ": " + table.Title();
  const bool hasBars = strata.size() <= kMostStageBars;
  out << "<figure>\n<figcaption><strong>" << HtmlText(table.Title()) << ".</strong> "
      << HtmlText(description);
  if (!hasBars) {
    out << " A point stands for the strata with such numbers, its area for how many they are; on the line "
           "the "
           "units "
        << words.given << " are those " << words.asked << ".";
  }
  out << "</figcaption>\n";
  if (hasBars) {
    BarWriter bars(table, strata, words, out);
    OpenSvg(id, bars.Height(), title, description, out);
    bars.Write();
  } else {
    const Axes axes(LargestOf(strata));
    OpenSvg(id, kPlotHeight, title, description, out);
    WriteAxes(axes, words, out);
    WritePoints(strata, axes, out);
  }
  out << "</svg>\n</figure>\n";
}
