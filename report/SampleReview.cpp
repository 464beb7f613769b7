#include "report/SampleReview.h"

#include <algorithm>

#include "host/numeric/Obs.h"
#include "host/output/BpText.h"

namespace {

constexpr double kCertain = 1.0 - 1e-12;  // a probability of 1 can be less by rounding

// The value as an interface of the procedure has it.
RowLabel LabelOfCells(const KORV_Variable& variable, double number, std::string_view text) {
  std::vector<OBS> cells(ObsCells(variable.GetType()));
  if (variable.GetType() == 0) {
    cells[0].number = number;
  } else {
    char* const bytes = cells[0].text;
    std::fill_n(bytes, cells.size() * sizeof(OBS), ' ');
    std::copy_n(text.begin(), std::min(text.size(), static_cast<std::size_t>(variable.GetType())), bytes);
  }
  const BpDataValue value(variable, cells.data(), kShowInTable);
  return {value.FullText(), value.ValueKey()};
}

}  // namespace

void NumberRange::Add(double number) {
  smallest = isEmpty ? number : std::min(smallest, number);
  largest = isEmpty ? number : std::max(largest, number);
  isEmpty = false;
}

SampleReviewer::SampleReviewer(const Dictionary& sample, const Dictionary& frame, const std::string& weight,
                               const std::vector<StageVariables>& stages)
    : fSample(sample), fFrame(frame) {
  std::vector<std::size_t> ignored;
  FindAll({weight}, &ignored);
  for (const StageVariables& variables : stages) {
    Stage stage;
    StageReview review{.variables = variables};
    review.hasStrata = FindAll(variables.strata, &stage.strata);
    review.hasUnits = review.hasStrata && FindAll(variables.clusters, &stage.clusters);
    std::vector<std::size_t> probability;
    review.hasProbability = review.hasStrata && !variables.probability.empty() &&
                            FindAll({variables.probability}, &probability) &&
                            fvPlaces[probability[0]].variable.GetType() == 0;
    if (review.hasProbability) stage.probability = probability[0];
    fvStages.push_back(std::move(stage));
    fvReviews.push_back(std::move(review));
  }
}

// Columns of several stages are read once. False if the sample lacks one.
bool SampleReviewer::FindAll(const std::vector<std::string>& names, std::vector<std::size_t>* places) {
  for (const std::string& name : names) {
    const int column = fSample.Find(name);
    if (column < 0) return false;
    const auto known = std::find(fvColumns.begin(), fvColumns.end(), column);
    places->push_back(static_cast<std::size_t>(known - fvColumns.begin()));
    if (known != fvColumns.end()) continue;
    const KORV_Variable& written = fSample.variables[static_cast<std::size_t>(column)];
    const int inFrame = fFrame.Find(name);
    const bool isSame =
        inFrame >= 0 && fFrame.variables[static_cast<std::size_t>(inFrame)].GetType() == written.GetType();
    fvColumns.push_back(column);
    fvPlaces.push_back({isSame ? fFrame.variables[static_cast<std::size_t>(inFrame)] : written});
  }
  return true;
}

void SampleReviewer::Take(CaseCursor& cursor, std::size_t rows) {
  for (std::size_t place = 0; place < fvPlaces.size(); ++place) {
    Place& read = fvPlaces[place];
    if (read.variable.GetType() == 0) {
      read.numbers = cursor.Numbers(place);
    } else {
      read.texts = cursor.Texts(place);
    }
  }
  for (std::size_t row = 0; row < rows; ++row) {
    if (fvPlaces[0].numbers[row] == MCMV::gMissingValue) continue;
    for (std::size_t stage = 0; stage < fvStages.size(); ++stage) TakeRow(stage, row);
  }
}

// A unit is certain or not, however many cases it has.
void SampleReviewer::TakeRow(std::size_t stage, std::size_t row) {
  const StageReview& review = fvReviews[stage];
  if (!review.hasStrata) return;
  StratumReview& stratum = StratumOf(stage, row);
  stratum.weight.Add(fvPlaces[0].numbers[row]);
  const double probability =
      review.hasProbability ? fvPlaces[fvStages[stage].probability].numbers[row] : MCMV::gMissingValue;
  if (probability != MCMV::gMissingValue) stratum.probability.Add(probability);
  if (!review.hasUnits || !IsNewUnit(stage, row)) return;
  ++stratum.units;
  if (probability >= kCertain) ++stratum.certain;
}

// Leaves the key of the stratum in fKey.
StratumReview& SampleReviewer::StratumOf(std::size_t stage, std::size_t row) {
  const Stage& seen = fvStages[stage];
  std::vector<StratumReview>& strata = fvReviews[stage].strata;
  fKey.clear();
  for (const std::size_t place : seen.strata) AddValue(place, row, &fKey);
  const auto [known, isNew] = fvStages[stage].stratumOfKey.emplace(fKey, strata.size());
  if (!isNew) return strata[known->second];
  StratumReview stratum;
  for (const std::size_t place : seen.strata) {
    // As the summary table nests its rows: the value of the last variable is a level of its own.
    const bool isLast = stratum.path.size() + 1 == seen.strata.size();
    const std::string name = BpVariable(fvPlaces[place].variable, kShowInTable).Text() + " =";
    const RowLabel value = ShownValue(place, row);
    stratum.path.push_back(isLast ? RowLabel{name} : RowLabel{name + " " + value.text, value.key});
    if (isLast) stratum.path.push_back(value);
  }
  return strata.emplace_back(std::move(stratum));
}

// REQUIRES: fKey is the key of the row's stratum.
bool SampleReviewer::IsNewUnit(std::size_t stage, std::size_t row) {
  Stage& seen = fvStages[stage];
  if (seen.clusters.empty()) return true;
  for (const std::size_t place : seen.clusters) AddValue(place, row, &fKey);
  if (!seen.unitKeys.insert(fKey).second) return false;
  StageReview& review = fvReviews[stage];
  if (++review.clusterCount > static_cast<std::int64_t>(StageReview::kMostClusterNames)) return true;
  std::string name;
  for (const std::vector<std::size_t>* places : {&seen.strata, &seen.clusters}) {
    for (const std::size_t place : *places) name += (name.empty() ? "" : " / ") + ShownValue(place, row).text;
  }
  review.clusters.push_back(std::move(name));
  return true;
}

// Numbers take eight bytes, texts their length and their bytes, so that no two lists of values look alike.
void SampleReviewer::AddValue(std::size_t place, std::size_t row, std::string* key) const {
  const Place& read = fvPlaces[place];
  if (read.texts != nullptr) {
    *key += std::to_string(read.texts[row].size());
    *key += ':';
    *key += read.texts[row];
    return;
  }
  const double number = read.numbers[row] + 0.0;  // turns -0 into 0
  key->append(reinterpret_cast<const char*>(&number), sizeof number);
}

RowLabel SampleReviewer::ShownValue(std::size_t place, std::size_t row) const {
  const Place& read = fvPlaces[place];
  return read.texts != nullptr ? LabelOfCells(read.variable, 0.0, read.texts[row])
                               : LabelOfCells(read.variable, read.numbers[row], {});
}
