#include <fmt/format.h>
#include <fmt/ranges.h>

#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "backend/svselect/run/FindingTexts.h"
#include "host/engine/ProcedureDataSource.h"

// What is said about cases that are refused, or lack a value.

namespace {

std::string Cases(std::int64_t count) {
  return count == 1 ? "1 case" : fmt::format("{} cases", count);
}

std::string PlacesOf(const RefusedCases::Group& group) {
  std::vector<std::string> places = group.examples;
  const std::size_t more = group.places.size() - places.size();
  const bool isCut = group.places.size() == RefusedCases::kMaxPlaces;
  if (more > 0) places.push_back(fmt::format("and {}{} more", isCut ? "at least " : "", more));
  return fmt::format("{}", fmt::join(places, "; "));
}

// "20 with an invalid rate in r".
std::string Reason(const RefusedCases::Group& group, const FindingNames& names) {
  if (group.why == RefusedCases::Why::kNoRow)
    return fmt::format("{} without a row in the table of stage {}", group.cases, group.stage);
  return fmt::format("{} with an invalid {} in {}", group.cases,
                     group.why == RefusedCases::Why::kRate ? "rate" : "size",
                     names.dataSource.GetVariable(group.variable).GetName());
}

}  // namespace

std::vector<std::string> RefusedTexts(const FindingNames& names) {
  std::vector<std::string> texts;
  for (const RefusedCases::Group& group : names.adapter.Refused().All()) {
    if (group.why == RefusedCases::Why::kNoRow) {
      texts.push_back(fmt::format("{}the table has no row for {} ({}): add {}",
                                  names.specs.TableLine(group.stage), Cases(group.cases), PlacesOf(group),
                                  group.places.size() == 1 ? "one" : "rows"));
      continue;
    }
    const bool isRate = group.why == RefusedCases::Why::kRate;
    texts.push_back(
        fmt::format("stage {}: {} {} an invalid {} in {} ({}): {}", group.stage, Cases(group.cases),
                    group.cases == 1 ? "has" : "have", isRate ? "rate" : "sample size",
                    names.dataSource.GetVariable(group.variable).GetName(), PlacesOf(group),
                    isRate ? "a rate is above 0 and at most 1" : "a size is a whole number above 0"));
  }
  return texts;
}

std::string LeftOutText(const FindingNames& names) {
  const SVInputAdapter::LeftOut leftOut = names.adapter.CasesLeftOut();
  if (leftOut.cases == 0) return "";
  std::vector<std::string> reasons;
  for (const auto& [variable, cases] : leftOut.byVariable) {
    reasons.push_back(fmt::format("{} without {}", cases, names.dataSource.GetVariable(variable).GetName()));
  }
  for (const RefusedCases::Group& group : names.adapter.Refused().All())
    reasons.push_back(Reason(group, names));
  return fmt::format("{} of {} cases {} left out: {}", leftOut.cases, leftOut.of,
                     leftOut.cases == 1 ? "is" : "are", fmt::join(reasons, ", "));
}
