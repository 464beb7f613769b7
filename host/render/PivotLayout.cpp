#include "host/render/PivotLayout.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <tuple>
#include <utility>

namespace {

// Numbers of the dimensions on one side, outermost (highest index) first. Equal indices keep the order in
// which the dimensions were made. Any place that isn't kPlaceColumn counts as the row side.
std::vector<std::size_t> DimensionsAt(const OutputTable& table, int place) {
  const std::vector<OutputTable::Dimension>& all = table.Dimensions();
  std::vector<std::size_t> dimensions;
  for (std::size_t d = 0; d < all.size(); ++d) {
    if ((all[d].place == kPlaceColumn) == (place == kPlaceColumn)) dimensions.push_back(d);
  }
  std::stable_sort(dimensions.begin(), dimensions.end(),
                   [&](std::size_t a, std::size_t b) { return all[a].index > all[b].index; });
  return dimensions;
}

// One side of the grid: its headers, and for each cell of the table the position of its header.
struct Side {
  std::vector<PivotLayout::Header> headers;
  std::vector<std::uint32_t> ofCell;
};

// Sorts the headers, which are in the order of their first cell, and adjusts the cells' positions.
void SortSide(Side* side) {
  std::vector<std::uint32_t> order(side->headers.size());
  std::iota(order.begin(), order.end(), 0U);
  std::sort(order.begin(), order.end(),
            [&](std::uint32_t a, std::uint32_t b) { return side->headers[a] < side->headers[b]; });
  std::vector<PivotLayout::Header> sorted(order.size());
  std::vector<std::uint32_t> place(order.size());
  for (std::uint32_t i = 0; i < order.size(); ++i) {
    sorted[i] = std::move(side->headers[order[i]]);
    place[order[i]] = i;
  }
  side->headers = std::move(sorted);
  for (std::uint32_t& header : side->ofCell) header = place[header];
}

Side MakeSide(const OutputTable& table, int place) {
  const std::vector<std::size_t> dimensions = DimensionsAt(table, place);
  Side side;
  side.ofCell.reserve(table.Cells().size());
  // Position of each combination of categories. The combination is the key, not the header: a header is made
  // of paths, which are needed once per row, while this is looked up once per cell.
  std::map<std::vector<int>, std::uint32_t> known;
  std::vector<int> categories;
  for (const OutputTable::Cell& cell : table.Cells()) {
    categories.clear();
    for (const std::size_t d : dimensions) categories.push_back(cell.at[d]);
    const auto [found, isNew] = known.try_emplace(categories, static_cast<std::uint32_t>(known.size()));
    side.ofCell.push_back(found->second);
    if (!isNew) continue;
    PivotLayout::Header& header = side.headers.emplace_back();
    for (const int category : categories) {
      const std::vector<int> path = table.Path(category);
      header.insert(header.end(), path.begin(), path.end());
    }
  }
  SortSide(&side);
  return side;
}

}  // namespace

PivotLayout::PivotLayout(const OutputTable& table) {
  Side rows = MakeSide(table, kPlaceRow);
  Side columns = MakeSide(table, kPlaceColumn);
  fvEntries.reserve(table.Cells().size());
  for (std::uint32_t cell = 0; cell < table.Cells().size(); ++cell) {
    fvEntries.push_back({.row = rows.ofCell[cell], .column = columns.ofCell[cell], .cell = cell});
  }
  std::sort(fvEntries.begin(), fvEntries.end(), [](const Entry& a, const Entry& b) {
    return std::tie(a.row, a.column) < std::tie(b.row, b.column);
  });
  fvRows = std::move(rows.headers);
  fvColumns = std::move(columns.headers);
}
