#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "host/output/BpTable.h"
#include "host/output/BpText.h"

// OutputTable is the data of one pivot table: dimensions, each a tree of groups and categories, and the cells
// where categories meet.
//
// Use:        a BpPivotTable fills it; Close() ends that; then it is only read.
// Units:      nodes of all trees are numbered from 0 in the order made; the root of each is the dimension
//             itself. kNoNode as a cell's place in a dimension means that it had no category yet.
// Cost:       about 16 bytes per cell and dimension beside the texts.
class OutputTable {
public:
  static constexpr int kNoNode = -1;

  struct Dimension {
    std::string label;
    int place = kPlaceRow;
    int index = 0;
    bool hideLabel = false;
    int root = kNoNode;
  };
  struct Node {
    std::string text;
    int dimension = 0;
    int parent = kNoNode;  // kNoNode for a root
  };
  struct Cell {
    std::string text;
    std::optional<double> number;
    std::vector<int> at;  // the category in each dimension
  };

  OutputTable(std::string title, std::string kind);

  void SetCaption(const std::string& caption) { fCaption = caption; }
  void AddNote(const std::string& note) { fvNotes.push_back(note); }

  // The root of the new dimension.
  int AddDimension(const std::string& label);
  void Place(int root, int place, int index, bool hideLabel);

  // The group or category below `parent`: the one made before with the same text and values, or a new one.
  int Group(int parent, const BpCellText& text) { return Child(parent, 'g', text); }
  int Category(int parent, const BpCellText& text);

  // A cell set again keeps its place in the order.
  void SetCell(int category, const BpCellText& text);

  // Frees what only the construction needs.
  void Close();

  const std::string& Title() const { return fTitle; }
  const std::string& Kind() const { return fKind; }
  const std::string& Caption() const { return fCaption; }
  const std::vector<std::string>& Notes() const { return fvNotes; }
  const std::vector<Dimension>& Dimensions() const { return fvDimensions; }
  const Node& NodeAt(int node) const { return fvNodes[static_cast<std::size_t>(node)]; }
  const std::vector<Cell>& Cells() const { return fvCells; }  // in the order in which they were first set

  // The nodes from the outermost group to `category`, the root left out; empty for kNoNode.
  std::vector<int> Path(int category) const;

private:
  int Child(int parent, char sort, const BpCellText& text);

  std::string fTitle;
  std::string fKind;
  std::string fCaption;
  std::vector<std::string> fvNotes;
  std::vector<Dimension> fvDimensions;
  std::vector<Node> fvNodes;
  std::vector<Cell> fvCells;
  std::vector<int> fvLastMade;                           // per dimension
  std::unordered_map<std::string, int> fNodeOfKey;       // parent, sort, values and text
  std::unordered_map<std::string, std::size_t> fCellAt;  // the bytes of Cell::at
};
