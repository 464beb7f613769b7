#include <algorithm>
#include <cmath>
#include <ostream>

#include "host/text/ReadableNumber.h"
#include "report/Figures.h"
#include "report/SvgText.h"
#include "report/WeightSummary.h"

// The histogram of the weights. Bins and edges come from WeightSummary; here they only get a place in the
// picture. Counts of cases are on the vertical axis, from 0, in round steps of at least one case.

namespace {

// Positions across are percent of the width, positions down are pixels; see SvgText.h.
constexpr int kTop = 36;
constexpr int kBottom = 210;
constexpr int kHeight = 250;
constexpr double kLeft = 13.0;
constexpr double kRight = 98.0;
constexpr int kMostTicks = 4;
constexpr std::size_t kMostEdges = 5;  // labels below the bars, beside the last one
constexpr double kGap = 0.06;          // share of a bin left free on each side of its bar

// The description: range, mean, and the bin with the most weights.
// REQUIRES: there are bins.
std::string InWords(const WeightSummary& weights) {
  const auto fullest = std::max_element(weights.bins.begin(), weights.bins.end());
  const auto bin = static_cast<std::size_t>(fullest - weights.bins.begin());
  return "The weights of " + ReadableNumber(static_cast<double>(weights.count)) + " cases run from " +
         ReadableNumber(weights.smallest) + " to " + ReadableNumber(weights.largest) + ", with a mean of " +
         ReadableNumber(weights.mean) + "; most of them, " + ReadableNumber(static_cast<double>(*fullest)) +
         ", between " + ReadableNumber(weights.edges[bin]) + " and " +
         ReadableNumber(weights.edges[bin + 1]) + ".";
}

// Draws one histogram. Single use: construct, Write(), discard.
// REQUIRES: there are bins.
class HistogramWriter {
public:
  HistogramWriter(const WeightSummary& weights, std::ostream& out)
      : fWeights(weights),
        fOut(out),
        fTick(std::max(RoundStep(Fullest(), kMostTicks), 1.0)),
        fEnd(std::ceil(Fullest() / fTick) * fTick) {}

  void Write() {
    WriteCounts();
    for (std::size_t i = 0; i < fWeights.bins.size(); ++i) WriteBar(i);
    WriteEdges();
    WriteMean();
  }

private:
  double Fullest() const {
    return static_cast<double>(*std::max_element(fWeights.bins.begin(), fWeights.bins.end()));
  }
  // Position of a point on the axis of weights, in bins from the first edge. Every bin has the same width in
  // the picture, on a logarithmic axis too.
  double X(double bins) const {
    return kLeft + (kRight - kLeft) * bins / static_cast<double>(fWeights.bins.size());
  }
  int Y(double count) const {
    return static_cast<int>(std::lround(kBottom - (kBottom - kTop) * count / fEnd));
  }

  void WriteCounts() {
    for (double at = 0.0; at <= fEnd + fTick / 2; at += fTick) {
      WriteSvgGridLine(kLeft, kRight, Y(at), fOut);
      WriteSvgText(Across(kLeft - 1.5), Y(at) + 4, "end", ReadableNumber(at), fOut);
    }
    WriteSvgText("0", 12, "start", "cases", fOut);
  }

  // At least one pixel high: a bin with a single case among millions must not look empty.
  void WriteBar(std::size_t i) {
    if (fWeights.bins[i] == 0) return;
    const int top = std::min(Y(static_cast<double>(fWeights.bins[i])), kBottom - 1);
    const auto place = static_cast<double>(i);
    fOut << "<rect class=\"actual\" x=\"" << Across(X(place + kGap)) << "\" y=\"" << top << "\" width=\""
         << Across(X(place + 1.0 - kGap) - X(place + kGap)) << "\" height=\"" << kBottom - top << "\"/>\n";
  }

  // With many edges only every second, third and so on has a label; the last one may have none.
  void WriteEdges() {
    const std::size_t every = (fWeights.bins.size() + kMostEdges - 1) / kMostEdges;
    for (std::size_t i = 0; i <= fWeights.bins.size(); i += every) {
      const bool isLast = i == fWeights.bins.size();
      WriteSvgText(Across(X(static_cast<double>(i))), kBottom + 18, isLast ? "end" : "middle",
                   ReadableNumber(fWeights.edges[i]), fOut);
    }
    WriteSvgText(Across(kRight), kBottom + 36, "end",
                 fWeights.isLogarithmic ? "weight, cut at 1, 2 and 5 times powers of ten" : "weight", fOut);
  }

  // Bins from the first edge to the mean. Inside a bin the axis is linear or logarithmic as the edges are.
  // The search leaves out the outer edges: by rounding the mean can be a little beyond them.
  double PlaceOfMean() const {
    const auto above = std::upper_bound(fWeights.edges.begin() + 1, fWeights.edges.end() - 1, fWeights.mean);
    const double upper = *above;
    const double lower = *(above - 1);
    const double within = fWeights.isLogarithmic ? std::log(fWeights.mean / lower) / std::log(upper / lower)
                                                 : (fWeights.mean - lower) / (upper - lower);
    return static_cast<double>(above - 1 - fWeights.edges.begin()) + within;
  }

  void WriteMean() {
    const double bins = PlaceOfMean();
    const std::string x = Across(X(bins));
    fOut << "<line class=\"mean\" x1=\"" << x << "\" x2=\"" << x << "\" y1=\"" << kTop - 12 << "\" y2=\""
         << kBottom << "\"/>\n";
    // The text is on the side of the line that has more room.
    const bool isRight = X(bins) > (kLeft + kRight) / 2;
    WriteSvgText(x, kTop - 16, isRight ? "end" : "start", "mean " + ReadableNumber(fWeights.mean), fOut);
  }

  const WeightSummary& fWeights;
  std::ostream& fOut;
  double fTick;  // cases between two grid lines
  double fEnd;   // cases at the top of the plot
};

}  // namespace

void WriteWeightFigure(const WeightSummary& weights, const std::string& id, std::ostream& out) {
  if (weights.bins.empty()) return;
  OpenSvg(id, kHeight, "Distribution of the weights", InWords(weights), out);
  HistogramWriter(weights, out).Write();
  out << "</svg>\n";
}
