#include "backend/svselect/records/RefusedCases.h"

#include <algorithm>

void RefusedCases::Note(Why why, std::int32_t stage, std::int32_t variable, const std::string& place) {
  auto group = std::find_if(fvGroups.begin(), fvGroups.end(), [&](const Group& known) {
    return known.why == why && known.stage == stage && known.variable == variable;
  });
  if (group == fvGroups.end())
    group = fvGroups.insert(group, Group{.why = why, .stage = stage, .variable = variable});
  ++group->cases;
  if (group->places.size() == kMaxPlaces) return;
  if (group->places.insert(place).second && group->examples.size() < kMaxExamples)
    group->examples.push_back(place);
}
