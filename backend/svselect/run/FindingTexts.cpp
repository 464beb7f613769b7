#include "backend/svselect/run/FindingTexts.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "backend/svcommon/design/MethodTable.h"
#include "backend/svselect/command/SVSValidSpecs.h"
#include "backend/svselect/design/SVSCompSettings.h"
#include "backend/svselect/design/SVSFindings.h"
#include "backend/svselect/records/SVSInputAdapter.h"
#include "host/engine/ProcedureDataSource.h"
#include "host/model/Values.h"
#include "host/numeric/Obs.h"
#include "host/output/BpText.h"

namespace {

using Example = SVSFinding::Example;

// Probabilities that differ by less are the same but for rounding.
constexpr double kSameProb = 1e-9;

// A number of a user, in full; a missing one in words.
std::string Number(double value) {
  return value == MCMV::gMissingValue ? "none" : NumberText(value);
}

// A number that was computed.
std::string Rounded(double value) {
  return fmt::format("{:.6g}", value);
}

// --- the places ------------------------------------------------------------------------------------------

// "county = 12, school = North": the variables in these slots of the record with the values of their codes.
void AddValues(const FindingNames& names, const std::vector<std::int32_t>& slots, const SVKey& key,
               std::vector<std::string>* words) {
  for (std::int32_t i = 0; i < key.Length() && i < static_cast<std::int32_t>(slots.size()); ++i) {
    const std::int32_t variable =
        names.specs.DictionaryVars()[static_cast<std::size_t>(slots[static_cast<std::size_t>(i)])];
    const OBS* const value = names.adapter.ObsOfCode(variable, key[i]);
    if (value == nullptr) continue;
    const KORV_Variable& described = names.dataSource.GetVariable(variable);
    words->push_back(fmt::format("{} = {}", described.GetName(),
                                 BpDataValue(described, value, kShowInMessage).FullText()));
  }
}

// A unit without cluster variables is a case, and its key is the case's position from 0.
std::string PlaceText(const FindingNames& names, std::int32_t stage, const Example& example) {
  std::vector<std::int32_t> strata;
  std::vector<std::int32_t> clusters;
  names.specs.CompSettings()->KeyVars(stage, &strata, &clusters);
  std::vector<std::string> words;
  AddValues(names, strata, example.stratum, &words);
  AddValues(names, clusters, example.unit, &words);
  if (clusters.empty() && example.unit.Length() > 0)
    words.push_back(fmt::format("case {}", example.unit[0] + 1));
  return fmt::format("{}", fmt::join(words, ", "));
}

// " (PLACE: VALUES; PLACE: VALUES; and 3 more)". Without any place, as in a stage that is one stratum, only
// the values.
std::string Places(const FindingNames& names, const SVSFinding& finding,
                   std::string (*valuesText)(const Example&)) {
  std::vector<std::string> places;
  for (const Example& example : finding.examples) {
    const std::string place = PlaceText(names, finding.stage, example);
    const std::string values = valuesText(example);
    const char* const between = place.empty() || values.empty() ? "" : ": ";
    if (!place.empty() || !values.empty()) places.push_back(fmt::format("{}{}{}", place, between, values));
  }
  const auto shown = static_cast<std::int64_t>(finding.examples.size());
  if (finding.count > shown && !places.empty())
    places.push_back(fmt::format("and {} more", finding.count - shown));
  return places.empty() ? "" : fmt::format(" ({})", fmt::join(places, "; "));
}

// --- the sentences ---------------------------------------------------------------------------------------

// The sentence of a finding: "stage 1: COUNT ONE|MANY (PLACES): CURE".
struct Wording {
  FindingKind kind;
  const char* one;   // after the number 1
  const char* many;  // after any other
  std::string (*values)(const Example&);
  const char* cure;
};

std::string NoValues(const Example&) {
  return "";
}
std::string OneValue(const Example& example) {
  return Number(example.value);
}
std::string TwoValues(const Example& example) {
  return Number(example.value) + " and " + Number(example.other);
}
std::string AskedAndThere(const Example& example) {
  return fmt::format("{} asked for, {} there", Number(example.value), Number(example.other));
}
std::string RateOfUnits(const Example& example) {
  return Number(example.value) + " of " + Number(example.other);
}
std::string SizeAndLimit(const Example& example) {
  // A draw of two units takes no size of a half.
  const std::string limit = Rounded(example.other);
  return Rounded(example.value) == limit ? fmt::format("{}, must be below {}", Number(example.value), limit)
                                         : fmt::format("{}, limit {}", Number(example.value), limit);
}
std::string DrawnAndAsked(const Example& example) {
  return fmt::format("{} instead of {}", Number(example.value), Number(example.other));
}
std::string CertainAndAsked(const Example& example) {
  return fmt::format("{} certain, {} asked for", Number(example.value), Number(example.other));
}
std::string Hits(const Example& example) {
  return Number(example.value) + " hits";
}

// kHitsNotKept is here for what a draw did. TextOf() words what a strict draw would do, and kStatedProbs.
constexpr Wording kWordings[] = {
    {FindingKind::kNoPreviousWeight,
     "case is left out, because its weight of an earlier sampling isn't above 0",
     "cases are left out, because their weights of an earlier sampling aren't above 0", NoValues, ""},
    {FindingKind::kUnequalSpec, "case has another rate or size than the first case of its stratum",
     "cases have another rate or size than the first case of their stratum", TwoValues,
     "the first one was used; give all cases of a stratum the same"},
    {FindingKind::kUnequalSize, "case has another measure of size than the first case of its unit",
     "cases have another measure of size than the first case of their unit", TwoValues,
     "the first one was used; give all cases of a unit the same"},
    {FindingKind::kUnequalOrder,
     "case has another value in a variable of 'order' than the first case of its unit",
     "cases have another value in a variable of 'order' than the first case of their unit", NoValues,
     "give all cases of a unit the same, or order by another variable"},
    {FindingKind::kMissingSpec, "stratum has no rate or size", "strata have no rate or size", NoValues,
     "give their cases one, or leave them out of the frame"},
    {FindingKind::kRateAboveOne, "stratum has a rate above 1", "strata have rates above 1", OneValue,
     "without replacement all units are taken, and that is all"},
    {FindingKind::kRoundsToNone, "stratum has a rate that comes to no unit",
     "strata have rates that come to no unit", RateOfUnits,
     "none is drawn there, and no weight stands for its units; ask for more, or bound the number of units "
     "from below"},
    {FindingKind::kTooFewUnits, "stratum has fewer units than are asked for",
     "strata have fewer units than are asked for", AskedAndThere,
     "all their units are taken; ask for fewer, or join strata"},
    {FindingKind::kFewerThanLeast, "stratum has fewer units than are asked for",
     "strata have fewer units than are asked for", AskedAndThere,
     "all their units are taken; ask for fewer, or join strata"},
    {FindingKind::kMissingSize, "unit has no measure of size", "units have no measure of size", NoValues,
     "give them one, or leave them out of the frame"},
    {FindingKind::kNegativeSize, "unit has a measure of size below 0", "units have a measure of size below 0",
     OneValue,
     "it lowers the sum of its stratum, so that no probability and no weight there is right; correct it, or "
     "leave the unit out of the frame"},
    {FindingKind::kZeroSize, "unit has a measure of size of 0", "units have a measure of size of 0", NoValues,
     "such a unit is never drawn, and the weights don't stand for it; give it a size, set MinSize in the "
     "plan, or leave it out of the frame"},
    {FindingKind::kNoTotalSize, "stratum has measures of size that don't add up to more than 0",
     "strata have measures of size that don't add up to more than 0", OneValue,
     "nothing can be drawn there in proportion to size; correct the sizes"},
    {FindingKind::kSizeAboveLimit, "unit is too large to be drawn in proportion to its size",
     "units are too large to be drawn in proportion to their size", SizeAndLimit,
     "give each such unit a stratum of its own, ask for fewer units, or set MaxSize in the plan"},
    {FindingKind::kHitsNotKept, "unit was hit more than once", "units were hit more than once", Hits,
     "the sample has such a unit once, with the weight of one hit, so the weights don't add up; ask for "
     "Index "
     "in the plan, and a unit is written once for each hit"},
    {FindingKind::kOtherCount, "stratum gave another number of units than were asked for",
     "strata gave another number of units than were asked for", DrawnAndAsked,
     "the measures of size don't allow the draw to keep its number"},
    {FindingKind::kCertainTakeAll, "stratum has so many units that are certain that no other can be drawn",
     "strata have so many units that are certain that no other can be drawn", CertainAndAsked,
     "ask for more units, or set 'certainty' in the plan to a higher share, or to true"},
};

void ReplaceAll(std::string_view what, std::string_view by, std::string* text) {
  for (std::size_t at = text->find(what); at != std::string::npos; at = text->find(what, at + by.size()))
    text->replace(at, what.size(), by);
}

// A missing value gives way to the first that isn't; a run that draws nothing takes nothing.
std::string FittingCure(const SVSFinding& finding, bool isDrawn, std::string cure) {
  const auto isMissing = [](const SVSFinding::Example& e) { return e.value == MCMV::gMissingValue; };
  if (std::any_of(finding.examples.begin(), finding.examples.end(), isMissing))
    ReplaceAll("the first one was used", "the first that isn't missing was used", &cure);
  if (isDrawn) return cure;
  ReplaceAll("all their units are taken", "all their units would be taken", &cure);
  ReplaceAll("replacement all units are taken", "replacement all units would be taken", &cure);
  ReplaceAll(" was used", " would be used", &cure);
  return cure;
}

// A text with elements of XML plans; for a JSON plan, with the members instead.
std::string InWordsOf(const SVSValidSpecs& specs, std::string text) {
  constexpr std::pair<std::string_view, std::string_view> kMembers[] = {
      {"MinSize", "'min' of 'size'"}, {"MaxSize", "'max' of 'size'"}, {"Index", "'index'"}};
  for (const auto& [element, member] : kMembers) {
    if (specs.IsJsonPlan()) ReplaceAll(element, member, &text);
  }
  return text;
}

std::string WordedText(const SVSFinding& finding, const FindingNames& names, bool isDrawn) {
  for (const Wording& wording : kWordings) {
    if (wording.kind != finding.kind) continue;
    const std::string cure = FittingCure(finding, isDrawn, InWordsOf(names.specs, wording.cure));
    return fmt::format("stage {}: {} {}{}{}{}", finding.stage, finding.count,
                       finding.count == 1 ? wording.one : wording.many,
                       Places(names, finding, wording.values), cure.empty() ? "" : ": ", cure);
  }
  return "";
}

// The first sentence has stood in reports since before the differences were computed.
std::string StatedText(const SVSFinding& finding, const FindingNames& names) {
  const SVMethod& method = MethodOf(names.specs.CompSettings()->GetStage(finding.stage)->methodType());
  std::string text = MethodName(method) + " comes only near the probabilities that it states";
  if (method.statedProbs == StatedProbs::kMetByWholeSizes)
    text += ", since the measure of size has fractions";
  if (!finding.examples.empty()) {
    const Example& worst = finding.examples.front();
    const double difference = std::fabs(worst.value - worst.other);
    const std::string place = PlaceText(names, finding.stage, worst);
    text += difference < kSameProb
                ? ", but meets them in this draw"
                : fmt::format(", in this draw by at most {:.3g} ({}{}stated {:.4g}, true {:.4g})", difference,
                              place, place.empty() ? "" : ": ", worst.value, worst.other);
    if (finding.unknown > 0) text += fmt::format("; not computed for {} of the strata", finding.unknown);
  }
  return text + "; --exact-design draws with exactly these";
}

std::string TextOf(const SVSFinding& finding, const FindingNames& names, bool isDrawn) {
  if (finding.kind == FindingKind::kStatedProbs) return StatedText(finding, names);
  const bool isBeforeDraw =
      finding.kind == FindingKind::kHitsNotKept && finding.examples.front().unit.Length() == 0;
  if (isBeforeDraw) {
    return InWordsOf(
        names.specs,
        fmt::format("stage {} draws with replacement, and its plan has no Index: a unit that is "
                    "hit more than once would be in the sample once, with the weight of one hit; "
                    "ask for Index in the plan",
                    finding.stage));
  }
  return WordedText(finding, names, isDrawn);
}

// "row 3: county = 12, type = public", from an entry of a table's map.
std::string RowText(const FindingNames& names, const SVMatrixSpec& table, const OBS* entry, double row) {
  std::vector<std::string> words;
  for (const std::int32_t variable : *table.variables) {
    const KORV_Variable& described = names.dataSource.GetVariable(variable);
    words.push_back(fmt::format("{} = {}", described.GetName(),
                                BpDataValue(described, entry, kShowInMessage).FullText()));
    entry += ObsCells(described.GetType());
  }
  return fmt::format("row {}: {}", Number(row), fmt::join(words, ", "));
}

// The unused rows of a table, in the order of the plan: their numbers and their entries.
std::vector<std::pair<double, const OBS*>> UnusedRows(const ObsVecMap& map) {
  std::vector<std::pair<double, const OBS*>> unused;
  const std::size_t keyCells = map.CellSize() - SVMatrixSpec::kCells;
  for (const OBS* entry : map.Sort()) {
    const double row = entry[keyCells + SVMatrixSpec::kUnusedRow].number;
    if (row > 0.0) unused.emplace_back(row, entry);
  }
  std::sort(unused.begin(), unused.end());
  return unused;
}

}  // namespace

std::string UnitText(const FindingNames& names, std::int32_t stage, const SVKey& unit) {
  return PlaceText(names, stage, {.stratum = {}, .unit = unit});
}

std::vector<std::string> UnusedRowTexts(const FindingNames& names) {
  std::vector<std::string> texts;
  for (std::int32_t position = 0; position < names.specs.StageCount(); ++position) {
    const SVMatrixSpec& table = *names.specs.MatrixSpec(position);
    if (table.map == nullptr) continue;
    const auto unused = UnusedRows(*table.map);
    if (unused.empty()) continue;
    std::vector<std::string> places;
    for (const auto& [row, entry] : unused) {
      if (places.size() == SVSFindings::kMaxExamples) break;
      places.push_back(RowText(names, table, entry, row));
    }
    if (unused.size() > places.size())
      places.push_back(fmt::format("and {} more", unused.size() - places.size()));
    texts.push_back(
        fmt::format("stage {}: {} of the table {} no case ({}): correct the categories, or leave the row out",
                    names.specs.DesignStages()[static_cast<std::size_t>(position)]->stageNumber(),
                    unused.size() == 1 ? "1 row" : fmt::format("{} rows", unused.size()),
                    unused.size() == 1 ? "matches" : "match", fmt::join(places, "; ")));
  }
  return texts;
}

std::vector<std::string> FindingTexts(const SVSFindings& findings, const FindingNames& names,
                                      const DrawEnd& end) {
  std::vector<std::string> texts;
  for (const SVSFinding& finding : findings.All()) {
    if (finding.kind == FindingKind::kSizeAboveLimit && !end.isEndedBySize) continue;
    texts.push_back(TextOf(finding, names, end.isDrawn));
  }
  return texts;
}
