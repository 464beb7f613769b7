#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "host/render/PivotLayout.h"

// TablePrinter prints one table as plain text: rows with nested groups indented, columns aligned, numbers to
// the right. Row labels are wrapped where that lets all columns stand beside each other within the width;
// where it doesn't, the further columns follow in blocks, each with the row labels again, and groups of
// columns stay together. Cells are never cut.
//
// Ownership:  borrows the table and the stream, which must outlive it.
class TablePrinter {
public:
  TablePrinter(const OutputTable& table, int width, std::ostream& out);

  void Print();

private:
  enum class Alignment : std::uint8_t { Left, Center, Right };
  struct Column {
    int width = 0;
    bool isNumeric = true;  // all its cells are numbers
  };
  // A header cell over neighbouring columns first..last-1.
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

  const OutputTable& fTable;
  PivotLayout fLayout;
  int fWidth;
  std::ostream& fOut;
  std::vector<Column> fvColumns;
  int fStubWidth;
};
