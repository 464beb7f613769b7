#pragma once

#include <absl/container/flat_hash_map.h>
#include <absl/container/inlined_vector.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/output/BpTable.h"
#include "host/output/BpText.h"

// OutputTable is the data of a pivot table. BpTable.h explains the model (dimensions, groups, categories,
// current category) and is how a procedure fills one.
//
// Use:        filled through the Bp handles, then Close(), then read by renderers.
// Nodes:      the nodes of all dimensions share one numbering, from 0 in the order of their creation.
//             Renderers rely on that order. A dimension's root is its own node.
// Cells:      a cell has one category per dimension. kNoNode means that the dimension had no current category
//             when the cell was set.
// Cost:       about 80 bytes per cell and 112 per node, plus texts of more than 15 bytes; until Close() about 20 more.
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
    int parent = kNoNode;    // kNoNode for a root
    std::string fullText{};  // see BpCellText::FullText()
    std::string valueKey{};  // see BpCellText::ValueKey()
  };
  using Categories = absl::InlinedVector<int, 4>;
  struct Cell {
    std::string text;
    std::optional<double> number;  // see BpCellText::Number()
    Categories at;                 // its category in each dimension
  };

  OutputTable(std::string title, std::string kind);

  void SetCaption(const std::string& caption) { fCaption = caption; }
  void AddNote(const std::string& note) { fvNotes.push_back(note); }

  // Returns the root of the new dimension. REQUIRES: no cell has been set.
  int AddDimension(const std::string& label);
  void Place(int root, int place, int index, bool hideLabel);

  // The child of `parent` with this text and value key, created if missing. Category() also makes it current.
  int Group(int parent, const BpCellText& text) { return Child(parent, 'g', text); }
  int Category(int parent, const BpCellText& text);

  // Sets the cell at `category` and the current category of every other dimension. A cell that is set again
  // gets the new text and keeps its position in Cells().
  void SetCell(int category, const BpCellText& text);

  // Frees the indexes that are only needed to build the table.
  void Close();

  const std::string& Title() const { return fTitle; }
  const std::string& Kind() const { return fKind; }
  const std::string& Caption() const { return fCaption; }
  const std::vector<std::string>& Notes() const { return fvNotes; }
  const std::vector<Dimension>& Dimensions() const { return fvDimensions; }
  const Node& NodeAt(int node) const { return fvNodes[static_cast<std::size_t>(node)]; }
  const std::vector<Cell>& Cells() const { return fvCells; }  // by first SetCell()

  // The path to `category` from the outermost group inward, without the root. Empty for kNoNode.
  std::vector<int> Path(int category) const;

private:
  // `kind` is 'g' or 'c': a group and a category with the same text are different nodes.
  int Child(int parent, char kind, const BpCellText& text);
  // The number of the cell at a place, created if missing.
  std::size_t CellAt(const Categories& at);

  std::string fTitle;
  std::string fKind;
  std::string fCaption;
  std::vector<std::string> fvNotes;
  std::vector<Dimension> fvDimensions;
  std::vector<Node> fvNodes;
  std::vector<Cell> fvCells;
  Categories fLastMade;  // current category of each dimension, or kNoNode

  // Nodes by the hash of parent, kind, value key and text, and cells by that of their place: the last made with that
  // hash. Those made before it follow, each by the number before it; kNoNode ends them.
  absl::flat_hash_map<std::size_t, std::int32_t> fLastNode;
  absl::flat_hash_map<std::size_t, std::int32_t> fLastCell;
  struct Made {
    std::int32_t before;
    char kind;
  };
  std::vector<Made> fvNodesMade;            // parallel to fvNodes
  std::vector<std::int32_t> fvCellsBefore;  // parallel to fvCells
};
