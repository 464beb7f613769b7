#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "backend/svcommon/PlanLines.h"

// What a value of a JSON text is.
enum class JsonKind : std::uint8_t { kNull, kBoolean, kNumber, kText, kList, kObject };

// JsonTree is a JSON text with the place of each value, for a reader that says what is wrong with a file and
// where. The JSON library parses the text; its own documents know no places.
//
// Values are numbered in the order of the text, the root being 0. What a list or object holds comes behind it,
// up to End(). An object holds pairs: a name, which is a text, and its value. Names may repeat.
//
// Use:        Parse() once, then read.
// Ownership:  owns the text. Views into it live as long as the tree.
// Bounds:     kMax... below, each far above what a plan needs, so that no file takes more than a second and a
//             few times its size in memory.
class JsonTree {
public:
  static constexpr std::size_t kMaxBytes = std::size_t{64} << 20;
  static constexpr std::size_t kMaxValues = 2'000'000;                // names of members too
  static constexpr std::size_t kMaxDepth = 100;                       // of lists and objects
  static constexpr std::size_t kMaxTextBytes = std::size_t{1} << 20;  // of a text or number, as it is written

  using Index = std::uint32_t;

  // Why a text isn't read, and where.
  struct Problem {
    std::size_t offset = 0;
    std::string what;
  };

  // Empty if the text was parsed, to its end.
  std::optional<Problem> Parse(std::string text);

  JsonKind Kind(Index value) const { return fvNodes[value].kind; }
  Index End(Index value) const { return fvNodes[value].end; }
  // What is in a list, or the names and values of an object in turns.
  std::vector<Index> Entries(Index value) const;

  bool Boolean(Index value) const { return fvNodes[value].number != 0.0; }
  double Number(Index value) const { return fvNodes[value].number; }
  std::string_view Text(Index value) const;
  // A number as it is written.
  std::string_view Written(Index value) const;

  // Line and column of a value; columns count characters. Cost: linear in its offset.
  SV_XML::PlanPosition PlaceOf(Index value) const { return PlaceOfByte(fvNodes[value].offset); }
  SV_XML::PlanPosition PlaceOfByte(std::size_t offset) const;

private:
  friend class JsonTreeBuilder;

  struct Node {
    JsonKind kind;
    bool isDecoded = false;  // of a text with escapes, which is in fDecoded
    std::uint32_t offset;    // where the value begins in the text
    Index end;               // the number of the value behind this one and all that it holds
    double number = 0.0;
    std::uint32_t textBegin = 0;
    std::uint32_t textLength = 0;
  };

  std::string fText;
  std::string fDecoded;
  std::vector<Node> fvNodes;
};
