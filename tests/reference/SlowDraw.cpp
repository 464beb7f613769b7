#include <algorithm>
#include <map>

#include "KeyOf.h"
#include "SlowDraw.h"
#include "host/numeric/MCRandomTwister.h"
#include "host/numeric/Obs.h"
#include "model_components/surveyplans/common/SVHashtable.h"

namespace {

using Key = std::vector<int>;
constexpr double kMissing = MCMV::gMissingValue;

Key Values(const std::vector<double>& record, const std::vector<int>& variables) {
  Key key;
  for (const int variable : variables)
    key.push_back(static_cast<int>(record[static_cast<std::size_t>(variable)]));
  return key;
}

bool Holds(const std::vector<Key>& keys, const Key& key) {
  return std::find(keys.begin(), keys.end(), key) != keys.end();
}

// The order in which the strata are drawn, that of their table.
std::vector<Key> TableOrder(const std::vector<Key>& keys) {
  SVHashtable<Key> table;
  for (const Key& key : keys) table.Insert(KeyOf(key), key);
  std::vector<Key> order;
  for (const auto& entry : table) order.push_back(entry.value);
  return order;
}

}  // namespace

std::vector<SlowCase> SlowDraw(const std::vector<std::vector<double>>& records,
                               const std::vector<SlowStage>& stages, int first, int weightVar,
                               std::uint32_t seed) {
  MCCommonMath::MCRandomTwister random;
  random.Initialize(seed);
  const int caseId = static_cast<int>(records[0].size()) - 1;
  std::vector<SlowCase> cases(records.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    cases[i].finalWeight = weightVar < 0 ? 1.0 : records[i][static_cast<std::size_t>(weightVar)];
  }
  std::vector<int> strataVars;
  for (std::size_t s = 0; s < stages.size(); ++s) {
    strataVars.insert(strataVars.end(), stages[s].strata.begin(), stages[s].strata.end());
    const std::vector<int> keyVars = strataVars;
    strataVars.insert(strataVars.end(), stages[s].clusters.begin(), stages[s].clusters.end());
    if (static_cast<int>(s) + 1 < first) continue;
    const std::vector<int> unitVars =
        stages[s].clusters.empty() ? std::vector<int>{caseId} : stages[s].clusters;
    std::vector<Key> strata;
    std::map<Key, std::vector<Key>> units, drawn;
    for (std::size_t i = 0; i < records.size(); ++i) {
      if (cases[i].finalWeight == kMissing) continue;
      const Key stratum = Values(records[i], keyVars), unit = Values(records[i], unitVars);
      if (units.count(stratum) == 0) strata.push_back(stratum);
      if (!Holds(units[stratum], unit)) units[stratum].push_back(unit);
    }
    for (const Key& stratum : TableOrder(strata)) {
      const std::size_t all = units[stratum].size();
      std::size_t open = std::min(all, static_cast<std::size_t>(stages[s].size));
      for (std::size_t i = 0; i < all && open > 0; ++i) {
        if (static_cast<double>(open) / static_cast<double>(all - i) <= random.GetRealOpen()) continue;
        drawn[stratum].push_back(units[stratum][i]);
        --open;
      }
    }
    for (std::size_t i = 0; i < records.size(); ++i) {
      std::vector<double> values(8, kMissing);
      if (cases[i].finalWeight != kMissing) {
        const Key stratum = Values(records[i], keyVars);
        const double all = static_cast<double>(units[stratum].size());
        const double n = static_cast<double>(drawn[stratum].size());
        values[3] = all, values[4] = n, values[5] = n / all;
        if (Holds(drawn[stratum], Values(records[i], unitVars))) {
          values[0] = n / all, values[6] = all / n, values[2] = 1.0, values[7] = 0.0;
          values[1] = values[6] * cases[i].finalWeight;
        }
      }
      cases[i].finalWeight = values[1];
      cases[i].stages.push_back(values);
    }
  }
  return cases;
}
