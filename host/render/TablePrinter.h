#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "host/render/PivotLayout.h"

// TablePrinter prints one table as plain text:
//
//   Summary stage 1                  title, then the caption if there is one
//
//                Requested           column labels: one level per line, the columns' own labels last
//   Region     Number       Rate     at the left the corner: the labels of the row dimensions
//   ----------------------------
//   North                            a group of rows has a line of its own,
//     A            12        0.5     and what belongs to it is indented
//     B            10        0.4
//
// The left part with the row labels is called the stub. Layout is done in this order, and each step takes
// the result of the previous ones as given:
//
//   1. Columns. As wide as the widest cell, because a cell is never cut or wrapped: a shortened number is a
//      wrong number. Column labels are wrapped, and widen a column only up to kWidestHeader.
//   2. Stub. As wide as its longest label if all columns then fit side by side. If not, row labels are
//      wrapped to make the columns fit, but not below kNarrowestStub; if that isn't enough either, to half
//      the width.
//   3. Blocks. Columns that don't fit beside the stub are printed below in further blocks, each with the
//      stub repeated. A block ends before an outermost group of columns that would be divided, unless that
//      group is too wide for any block.
//
// A single column that is wider than the space is printed anyway, so lines can be longer than the width
// asked for.
//
// Use:        construct, Print() once.
// Ownership:  borrows the table and the stream, which must outlive it.
// Units:      widths are columns of the terminal, as in host/text/DisplayText.h.
class TablePrinter {
public:
  TablePrinter(const OutputTable& table, int width, std::ostream& out);

  void Print();

private:
  enum class Alignment : std::uint8_t { Left, Center, Right };
  struct Column {
    int width = 0;
    bool isNumeric = true;  // no cell is anything else; such a column is aligned to the right
  };
  // A label over the adjacent columns first..last-1, wrapped to their common width.
  struct Span {
    std::size_t first = 0;
    std::size_t last = 0;
    std::vector<std::string> lines;
  };

  static std::string Aligned(const std::string& text, int width, Alignment alignment);
  Alignment AlignmentOf(std::size_t column) const {
    return fvColumns[column].isNumeric ? Alignment::Right : Alignment::Left;
  }
  std::string Label(int node) const;
  std::string Corner() const;
  int StubWidth() const;
  std::vector<Column> MeasureColumns() const;

  int SpanWidth(std::size_t first, std::size_t last) const;
  std::size_t EndOfBlock(std::size_t first) const;
  void PrintHeader(std::size_t first, std::size_t last);
  std::vector<Span> SpansAt(std::size_t level, std::size_t first, std::size_t last) const;
  void PrintSpans(const std::vector<Span>& spans, bool isLeaf, const std::string& corner);
  void PrintRows(std::size_t first, std::size_t last);
  std::string StubLines(int node, std::size_t level);
  void PrintWrapped(const std::string& text);
  void PrintLine(std::string line);

  // Initialised in this order: each depends on those before it.
  const OutputTable& fTable;
  PivotLayout fLayout;
  int fWidth;
  std::ostream& fOut;
  std::vector<Column> fvColumns;
  int fStubWidth;
};
