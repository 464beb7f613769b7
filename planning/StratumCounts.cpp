#include "planning/StratumCounts.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string_view>
#include <tuple>
#include <unordered_map>

#include "host/engine/CaseEngine.h"
#include "host/environment/MCStopProcessor.h"
#include "host/model/Dictionary.h"
#include "host/model/Values.h"
#include "host/numeric/Obs.h"

namespace {

// Mean and sum of squared deviations, updated value by value: B. P. Welford (1962), Note on a method for
// calculating corrected sums of squares and products, Technometrics 4, 419-420.
struct Moments {
  std::int64_t count = 0;
  double mean = 0.0;
  double squares = 0.0;

  void Add(double value) {
    ++count;
    const double step = value - mean;
    mean += step / static_cast<double>(count);
    squares += step * (value - mean);
  }
};

// The values of one column in the block of a cursor.
class ColumnReader {
public:
  ColumnReader(const KORV_Variable& variable, std::size_t place) : fpVariable(&variable), fPlace(place) {}

  bool IsNumeric() const { return fpVariable->GetType() == 0; }

  void Move(CaseCursor& cursor) {
    if (IsNumeric()) {
      fpNumbers = cursor.Numbers(fPlace);
    } else {
      fpTexts = cursor.Texts(fPlace);
    }
  }

  // REQUIRES: the column is numeric, or isn't.
  double Number(std::size_t row) const { return fpNumbers[row]; }
  std::string_view Text(std::size_t row) const { return fpTexts[row]; }

  bool IsMissing(std::size_t row) const {
    if (IsNumeric() && Number(row) == MCMV::gMissingValue) return true;
    return std::any_of(fpVariable->MissingValues().begin(), fpVariable->MissingValues().end(),
                       [&](const DictionaryValue& missing) {
                         return IsNumeric() ? missing.number == Number(row) : missing.text == Text(row);
                       });
  }

  // Appends bytes that are the same for the same value and for no other sequence of values.
  void AppendKey(std::size_t row, std::string* key) const {
    if (IsNumeric()) {
      const double number = Number(row) + 0.0;  // makes -0 a 0, the same value to a draw
      char bytes[sizeof number];
      std::memcpy(bytes, &number, sizeof number);
      key->append(bytes, sizeof bytes);
    } else {
      const auto length = static_cast<std::uint32_t>(Text(row).size());
      char bytes[sizeof length];
      std::memcpy(bytes, &length, sizeof length);
      key->append(bytes, sizeof bytes).append(Text(row));
    }
  }

private:
  const KORV_Variable* fpVariable;  // borrowed, never null
  std::size_t fPlace;
  const double* fpNumbers = nullptr;          // owned by the cursor
  const std::string_view* fpTexts = nullptr;  // likewise
};

// The strata while they are being counted.
class Counter {
public:
  Counter(const Dictionary& dictionary, const StratumColumns& columns) {
    std::size_t place = 0;
    const auto reader = [&](int column) {
      return ColumnReader(dictionary.variables[static_cast<std::size_t>(column)], place++);
    };
    for (const int column : columns.strata) fvStrata.push_back(reader(column));
    for (const int column : columns.clusters) fvClusters.push_back(reader(column));
    if (columns.variable >= 0) fpVariable = std::make_unique<ColumnReader>(reader(columns.variable));
  }

  void AddBlock(CaseCursor& cursor, std::size_t rows) {
    for (ColumnReader& column : fvStrata) column.Move(cursor);
    for (ColumnReader& column : fvClusters) column.Move(cursor);
    if (fpVariable != nullptr) fpVariable->Move(cursor);
    for (std::size_t row = 0; row < rows; ++row) AddCase(row);
  }

  StratumCounts Finish();

private:
  struct Value {  // of a stratum variable
    double number = 0.0;
    std::string text;
    bool operator<(const Value& other) const {
      return std::tie(number, text) < std::tie(other.number, other.text);
    }
  };
  struct Stratum {
    std::vector<Value> values;
    std::int64_t units = 0;
    Moments moments;
  };
  struct Unit {
    std::size_t stratum = 0;
    double sum = 0.0;
    bool hasValue = false;
  };

  static bool AnyMissing(const std::vector<ColumnReader>& columns, std::size_t row) {
    return std::any_of(columns.begin(), columns.end(),
                       [&](const ColumnReader& column) { return column.IsMissing(row); });
  }

  void AddCase(std::size_t row);
  std::size_t StratumOf(std::size_t row);
  Unit& UnitOf(std::size_t stratum, std::size_t row);

  std::vector<ColumnReader> fvStrata;
  std::vector<ColumnReader> fvClusters;
  std::unique_ptr<ColumnReader> fpVariable;  // null without a variable
  std::unordered_map<std::string, std::size_t> fStratumNumbers;
  std::unordered_map<std::string, Unit> fUnits;  // of clusters
  std::vector<Stratum> fvCounts;
  std::int64_t fLeftOut = 0;
  std::string fKey;
};

void Counter::AddCase(std::size_t row) {
  if (AnyMissing(fvStrata, row) || AnyMissing(fvClusters, row)) {
    ++fLeftOut;
    return;
  }
  const std::size_t stratum = StratumOf(row);
  const bool hasValue = fpVariable != nullptr && !fpVariable->IsMissing(row);
  if (fvClusters.empty()) {
    ++fvCounts[stratum].units;
    if (hasValue) fvCounts[stratum].moments.Add(fpVariable->Number(row));
    return;
  }
  Unit& unit = UnitOf(stratum, row);
  unit.hasValue = unit.hasValue || hasValue;
  if (hasValue) unit.sum += fpVariable->Number(row);
}

// Leaves the stratum's key in fKey.
std::size_t Counter::StratumOf(std::size_t row) {
  fKey.clear();
  for (const ColumnReader& column : fvStrata) column.AppendKey(row, &fKey);
  const auto [found, isNew] = fStratumNumbers.try_emplace(fKey, fvCounts.size());
  if (!isNew) return found->second;
  Stratum& stratum = fvCounts.emplace_back();
  for (const ColumnReader& column : fvStrata) {
    Value& value = stratum.values.emplace_back();
    if (column.IsNumeric()) {
      value.number = column.Number(row) + 0.0;
    } else {
      value.text = column.Text(row);
    }
  }
  return found->second;
}

// REQUIRES: StratumOf() was called for the row.
Counter::Unit& Counter::UnitOf(std::size_t stratum, std::size_t row) {
  for (const ColumnReader& column : fvClusters) column.AppendKey(row, &fKey);
  const auto [found, isNew] = fUnits.try_emplace(fKey, Unit{.stratum = stratum});
  if (isNew) ++fvCounts[stratum].units;
  return found->second;
}

// The moments of clusters depend on the order in which they are added, by rounding; the order of a hash table
// isn't the same everywhere, so the sums are put in order first.
StratumCounts Counter::Finish() {
  std::vector<std::pair<std::size_t, double>> sums;
  for (const auto& [key, unit] : fUnits) {
    if (unit.hasValue) sums.emplace_back(unit.stratum, unit.sum);
  }
  std::sort(sums.begin(), sums.end());
  for (const auto& [stratum, sum] : sums) fvCounts[stratum].moments.Add(sum);
  std::sort(fvCounts.begin(), fvCounts.end(),
            [](const Stratum& a, const Stratum& b) { return a.values < b.values; });
  StratumCounts counts{.strata = {}, .leftOut = fLeftOut};
  for (const Stratum& stratum : fvCounts) {
    StratumCount& count = counts.strata.emplace_back();
    for (std::size_t i = 0; i < fvStrata.size(); ++i) {
      const Value& value = stratum.values[i];
      count.categories.push_back(fvStrata[i].IsNumeric() ? NumberText(value.number) : value.text);
    }
    count.units = stratum.units;
    count.unitsWithValue = stratum.moments.count;
    count.mean = stratum.moments.mean;
    if (stratum.moments.count > 1)
      count.deviation = std::sqrt(stratum.moments.squares / static_cast<double>(stratum.moments.count - 1));
  }
  return counts;
}

}  // namespace

StratumCounts CountStrata(CaseEngine& engine, const Dictionary& dictionary, const StratumColumns& columns) {
  std::vector<int> all = columns.strata;
  all.insert(all.end(), columns.clusters.begin(), columns.clusters.end());
  if (columns.variable >= 0) all.push_back(columns.variable);
  const std::unique_ptr<CaseCursor> cursor = engine.Open(all, 0);
  Counter counter(dictionary, columns);
  while (const std::size_t rows = cursor->NextBlock()) {
    if (StopRequested()) break;
    counter.AddBlock(*cursor, rows);
  }
  return counter.Finish();
}
