#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace SV_XML {

// A place in a plan file. Line and column count from 1; both are 0 if no place is known.
struct PlanPosition {
  std::uint64_t line = 0;
  std::uint64_t column = 0;
};

// PlanLines collects lines about a plan: its faults, or its contradictions. A plan can have a fault in each of
// a hundred thousand rows, so only the first lines are kept, and the others are counted.
class PlanLines {
public:
  static constexpr std::size_t kMaxKept = 10;

  bool IsFull() const { return fvKept.size() == kMaxKept; }
  // Once the list is full the line is only counted, and may be empty.
  void Add(std::string line) {
    if (IsFull()) {
      ++fFurther;
    } else {
      fvKept.push_back(std::move(line));
    }
  }
  bool IsEmpty() const { return fvKept.empty(); }
  // The lines, and one about those that were only counted.
  std::vector<std::string> All() const {
    std::vector<std::string> lines = fvKept;
    if (fFurther > 0) lines.push_back("... and " + std::to_string(fFurther) + " more of the plan");
    return lines;
  }

private:
  std::vector<std::string> fvKept;
  std::size_t fFurther = 0;
};

}  // namespace SV_XML
