#include "host/output/OutputTable.h"

#include <absl/hash/hash.h>

#include <algorithm>
#include <cassert>
#include <utility>

OutputTable::OutputTable(std::string title, std::string kind)
    : fTitle(std::move(title)), fKind(std::move(kind)) {}

int OutputTable::AddDimension(const std::string& label) {
  assert(fvCells.empty());  // or existing cells would lack a category in the new dimension
  const int root = static_cast<int>(fvNodes.size());
  fvNodes.push_back({.text = label, .dimension = static_cast<int>(fvDimensions.size())});
  fvDimensions.push_back({.label = label, .root = root});
  fvNodesMade.push_back({.before = kNoNode, .kind = 0});
  fLastMade.push_back(kNoNode);
  return root;
}

void OutputTable::Place(int root, int place, int index, bool hideLabel) {
  Dimension& dimension = fvDimensions[static_cast<std::size_t>(NodeAt(root).dimension)];
  dimension.place = place;
  dimension.index = index;
  dimension.hideLabel = hideLabel;
}

int OutputTable::Category(int parent, const BpCellText& text) {
  const int node = Child(parent, 'c', text);
  fLastMade[static_cast<std::size_t>(NodeAt(node).dimension)] = node;
  return node;
}

void OutputTable::SetCell(int category, const BpCellText& text) {
  Categories at = fLastMade;
  at[static_cast<std::size_t>(NodeAt(category).dimension)] = category;
  Cell& cell = fvCells[CellAt(at)];
  cell.text = text.Text();
  cell.number = text.Number();
}

std::size_t OutputTable::CellAt(const Categories& at) {
  const auto made = static_cast<std::int32_t>(fvCells.size());
  const auto [last, isFirst] = fLastCell.emplace(absl::HashOf(at), made);
  const std::int32_t before = isFirst ? kNoNode : last->second;
  for (std::int32_t cell = before; cell != kNoNode; cell = fvCellsBefore[static_cast<std::size_t>(cell)]) {
    if (fvCells[static_cast<std::size_t>(cell)].at == at) return static_cast<std::size_t>(cell);
  }
  last->second = made;
  fvCells.push_back({.text = {}, .number = {}, .at = at});
  fvCellsBefore.push_back(before);
  return static_cast<std::size_t>(made);
}

void OutputTable::Close() {
  fLastNode = {};
  fLastCell = {};
  fvNodesMade = {};
  fvCellsBefore = {};
}

std::vector<int> OutputTable::Path(int category) const {
  std::vector<int> path;
  for (int node = category; node != kNoNode; node = NodeAt(node).parent) {
    path.push_back(node);
  }
  if (!path.empty()) path.pop_back();  // the root
  std::reverse(path.begin(), path.end());
  return path;
}

int OutputTable::Child(int parent, char kind, const BpCellText& text) {
  const auto made = static_cast<std::int32_t>(fvNodes.size());
  const std::size_t hash = absl::HashOf(parent, kind, text.ValueKey(), text.Text());
  const auto [last, isFirst] = fLastNode.emplace(hash, made);
  const std::int32_t before = isFirst ? kNoNode : last->second;
  for (std::int32_t node = before; node != kNoNode;
       node = fvNodesMade[static_cast<std::size_t>(node)].before) {
    const Node& known = NodeAt(node);
    if (known.parent == parent && fvNodesMade[static_cast<std::size_t>(node)].kind == kind &&
        known.valueKey == text.ValueKey() && known.text == text.Text())
      return node;
  }
  last->second = made;
  fvNodesMade.push_back({.before = before, .kind = kind});
  fvNodes.push_back({.text = text.Text(),
                     .dimension = NodeAt(parent).dimension,
                     .parent = parent,
                     .fullText = text.FullText(),
                     .valueKey = text.ValueKey()});
  return made;
}
