#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

// RefusedCases collects the cases of the first pass whose rate or size isn't allowed, or for which a stage's
// table has no row. Each has a message that names neither the stratum nor the value; here is what a user needs
// to mend the frame or the plan.
//
// Cost:  a case costs the text of its place; kMaxPlaces different ones are kept.
class RefusedCases {
public:
  static constexpr std::size_t kMaxExamples = 10;
  static constexpr std::size_t kMaxPlaces = 100'000;  // of a group; there may be as many as cases

  enum class Why : std::uint8_t { kRate, kSize, kNoRow };

  // All cases of one reason in one stage.
  struct Group {
    Why why;
    std::int32_t stage;
    std::int32_t variable;  // the rate or size, by its dictionary index; -1 for a table
    std::int64_t cases = 0;
    std::unordered_set<std::string> places{};  // different ones, as far as they are kept
    std::vector<std::string> examples{};       // the first of these
  };

  void Note(Why why, std::int32_t stage, std::int32_t variable, const std::string& place);

  // In the order in which they were first noted.
  const std::vector<Group>& All() const { return fvGroups; }

private:
  std::vector<Group> fvGroups;
};
