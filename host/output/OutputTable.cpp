#include "host/output/OutputTable.h"

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
  fvLastMade.push_back(kNoNode);
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
  fvLastMade[static_cast<std::size_t>(NodeAt(node).dimension)] = node;
  return node;
}

void OutputTable::SetCell(int category, const BpCellText& text) {
  std::vector<int> at = fvLastMade;
  at[static_cast<std::size_t>(NodeAt(category).dimension)] = category;
  const std::string key(reinterpret_cast<const char*>(at.data()), at.size() * sizeof(int));
  const auto [found, isNew] = fCellAt.emplace(key, fvCells.size());
  if (isNew) fvCells.push_back({.text = {}, .number = {}, .at = std::move(at)});
  fvCells[found->second].text = text.Text();
  fvCells[found->second].number = text.Number();
}

void OutputTable::Close() {
  fNodeOfKey = {};
  fCellAt = {};
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
  std::string key = std::to_string(parent) + kind + std::to_string(text.ValueKey().size()) + ':';
  key += text.ValueKey();
  key += text.Text();
  const int node = static_cast<int>(fvNodes.size());
  const auto [found, isNew] = fNodeOfKey.emplace(std::move(key), node);
  if (isNew) {
    fvNodes.push_back({.text = text.Text(),
                       .dimension = NodeAt(parent).dimension,
                       .parent = parent,
                       .fullText = text.FullText(),
                       .valueKey = text.ValueKey()});
  }
  return found->second;
}
