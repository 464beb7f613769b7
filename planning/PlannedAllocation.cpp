#include "planning/PlannedAllocation.h"

#include <fmt/format.h>

#include <cmath>
#include <unordered_map>

#include "backend/svcommon/SVPlanSpecs.h"
#include "host/environment/HostErrors.h"
#include "host/model/Dictionary.h"
#include "host/model/Values.h"
#include "host/text/NearestWord.h"
#include "planning/StratumTable.h"

namespace {

// Finds a stratum by its categories, whatever the way in which a number is written.
class StratumFinder {
public:
  StratumFinder(const std::vector<std::string>& by, const Dictionary* dictionary) {
    for (const std::string& name : by) {
      const int column = dictionary == nullptr ? -1 : dictionary->Find(name);
      fvIsNumeric.push_back(column >= 0 &&
                            dictionary->variables[static_cast<std::size_t>(column)].GetType() == 0);
    }
  }

  // Whether the categories are new.
  bool Add(const std::vector<std::string>& categories, std::size_t stratum) {
    return fNumbers.try_emplace(Key(categories), stratum).second;
  }

  // -1 if there is no such stratum.
  std::ptrdiff_t Find(const std::vector<std::string>& categories) const {
    const auto found = fNumbers.find(Key(categories));
    return found == fNumbers.end() ? -1 : static_cast<std::ptrdiff_t>(found->second);
  }

  std::string Key(const std::vector<std::string>& categories) const {
    std::string key;
    for (std::size_t i = 0; i < categories.size(); ++i) {
      double number = 0.0;
      const bool isNumber = fvIsNumeric[i] && ParseNumber(categories[i], &number);
      const std::string text = isNumber ? NumberText(number + 0.0) : std::string(TrimRight(categories[i]));
      key += fmt::format("{}:{}", text.size(), text);
    }
    return key;
  }

private:
  std::vector<bool> fvIsNumeric;
  std::unordered_map<std::string, std::size_t> fNumbers;
};

// "region=N, type=E"
std::string StratumName(const std::vector<std::string>& by, const std::vector<std::string>& categories) {
  std::string name;
  for (std::size_t i = 0; i < by.size(); ++i)
    name += fmt::format("{}{}={}", i == 0 ? "" : ", ", by[i], QuotedWord(categories[i]));
  return name;
}

// Fills the strata of one allocation from counts and tables. Errors: DataError of a table.
class StratumFiller {
public:
  StratumFiller(const AllocationWords& words, const Dictionary* dictionary, PlannedAllocation* planned)
      : fWords(words), fpPlanned(planned), fFinder(words.by, dictionary) {}

  void TakeCounts(const StratumCounts& counts);
  void TakeUnits();
  void TakeNumbers();

private:
  // How a number of a stratum is named and where it goes.
  struct Kind {
    const char* word;
    void (*set)(AllocationStratum* stratum, double number);
    bool isWhole = false;
  };
  static const Kind kKinds[];

  AllocationStratum* AddStratum(const std::vector<std::string>& categories, double units);
  void TakeTable(const Kind& kind, const std::string& path);
  void TakeNumber(const Kind& kind, AllocationStratum* stratum, double number);

  const AllocationWords& fWords;
  PlannedAllocation* fpPlanned;  // borrowed, never null
  StratumFinder fFinder;
};

const StratumFiller::Kind StratumFiller::kKinds[] = {
    {"sd", [](AllocationStratum* stratum, double number) { stratum->deviation = number; }},
    {"cost", [](AllocationStratum* stratum, double number) { stratum->cost = number; }},
    {"size", [](AllocationStratum* stratum, double number) { stratum->size = number; }},
    {"cv", [](AllocationStratum* stratum, double number) { stratum->variation = number; }},
    {"min",
     [](AllocationStratum* stratum, double number) { stratum->least = static_cast<std::int64_t>(number); },
     true},
    {"max",
     [](AllocationStratum* stratum, double number) { stratum->most = static_cast<std::int64_t>(number); },
     true},
};

// Null, after a problem, if the categories are there already. A stratum's size for the rule power is its
// number of units where nothing better is known.
AllocationStratum* StratumFiller::AddStratum(const std::vector<std::string>& categories, double units) {
  if (!fFinder.Add(categories, fpPlanned->strata.size())) return nullptr;
  fpPlanned->categories.push_back(categories);
  AllocationStratum& stratum = fpPlanned->strata.emplace_back();
  stratum.name = StratumName(fWords.by, categories);
  stratum.units = units;
  stratum.size = units;
  return &stratum;
}

void StratumFiller::TakeCounts(const StratumCounts& counts) {
  for (const StratumCount& count : counts.strata) {
    AllocationStratum* const stratum = AddStratum(count.categories, static_cast<double>(count.units));
    if (stratum == nullptr || fWords.variable.empty()) continue;
    const double mean = std::abs(count.mean);
    stratum->deviation = count.deviation;
    stratum->size = mean * stratum->units;
    stratum->variation = count.deviation / mean;
    if (count.unitsWithValue < 2) {
      fpPlanned->problems.push_back(fmt::format(
          "stratum {} has no standard deviation of {}: {} of its units have a value, and two are needed",
          stratum->name, fWords.variable, count.unitsWithValue));
    }
  }
}

void StratumFiller::TakeUnits() {
  const std::string& path = fWords.numbers.at("units").path;
  for (const StratumTable::Row& row : ReadStratumTable(path, fWords.by).rows) {
    if (AddStratum(row.categories, row.number) == nullptr) {
      fpPlanned->problems.push_back(fmt::format("{}, line {}: {} is there twice", path, row.line,
                                                StratumName(fWords.by, row.categories)));
    }
  }
}

// A number that a table lacks is unknown; only bounds may be.
void StratumFiller::TakeNumbers() {
  for (const Kind& kind : kKinds) {
    if (!fWords.Has(kind.word)) continue;
    const StratumNumbers& numbers = fWords.numbers.at(kind.word);
    for (AllocationStratum& stratum : fpPlanned->strata) {
      if (numbers.same) {
        TakeNumber(kind, &stratum, *numbers.same);
      } else if (!kind.isWhole) {
        kind.set(&stratum, AllocationStratum::kUnknown);
      }
    }
    if (!numbers.path.empty()) TakeTable(kind, numbers.path);
  }
}

void StratumFiller::TakeTable(const Kind& kind, const std::string& path) {
  std::vector<bool> isTaken(fpPlanned->strata.size());
  for (const StratumTable::Row& row : ReadStratumTable(path, fWords.by).rows) {
    const std::ptrdiff_t found = fFinder.Find(row.categories);
    const std::string name = StratumName(fWords.by, row.categories);
    if (found < 0) {
      fpPlanned->remarks.push_back(fmt::format("{}, line {}: there is no stratum {}", path, row.line, name));
      continue;
    }
    const auto stratum = static_cast<std::size_t>(found);
    if (isTaken[stratum])
      fpPlanned->problems.push_back(fmt::format("{}, line {}: {} is there twice", path, row.line, name));
    isTaken[stratum] = true;
    TakeNumber(kind, &fpPlanned->strata[stratum], row.number);
  }
}

void StratumFiller::TakeNumber(const Kind& kind, AllocationStratum* stratum, double number) {
  constexpr double kMost = 2147483647.0;
  if (kind.isWhole && !(number == std::floor(number) && number >= 0.0 && number <= kMost)) {
    fpPlanned->problems.push_back(
        fmt::format("stratum {} has the {} {}, which isn't a whole number of 0 or more", stratum->name,
                    kind.word, number));
    return;
  }
  kind.set(stratum, number);
}

}  // namespace

PlannedAllocation PlanAllocation(const AllocationWords& words, const Dictionary* dictionary,
                                 const StratumCounts* counts, bool isWithReplacement) {
  PlannedAllocation planned{.by = words.by, .isWithReplacement = isWithReplacement};
  try {
    StratumFiller filler(words, dictionary, &planned);
    if (counts != nullptr) {
      filler.TakeCounts(*counts);
    } else {
      filler.TakeUnits();
    }
    filler.TakeNumbers();
  } catch (const DataError& error) {
    planned.problems.emplace_back(error.what());
  }
  if (!planned.problems.empty()) return planned;
  const Allocation allocation = Allocate(
      {.rule = words.rule, .n = words.n, .exponent = words.exponent, .isWithReplacement = isWithReplacement},
      planned.strata);
  if (!allocation.problem.empty()) planned.problems.push_back(allocation.problem);
  planned.remarks.insert(planned.remarks.end(), allocation.remarks.begin(), allocation.remarks.end());
  planned.sizes = allocation.sizes;
  return planned;
}

void SetSizes(const PlannedAllocation& allocation, SVPlanStageSpecs* stage) {
  stage->paramKind = kParamSize;
  stage->paramSource = kParamByVarCatList;
  for (const std::string& name : allocation.by) stage->paramMatrix.addVarName(name);
  for (std::size_t h = 0; h < allocation.sizes.size(); ++h)
    stage->paramMatrix.addCatList(allocation.categories[h], static_cast<double>(allocation.sizes[h]));
}
