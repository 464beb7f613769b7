#include "SlowDraw.h"

#include <algorithm>
#include <map>

#include "host/numeric/MCRandomTwister.h"
#include "host/numeric/MissingValue.h"

namespace {

using Key = std::vector<int>;

Key Values(const std::vector<double>& record, const std::vector<int>& variables) {
  Key key;
  for (const int variable : variables)
    key.push_back(static_cast<int>(record[static_cast<std::size_t>(variable)]));
  return key;
}

std::size_t Hash(const Key& key) {
  const int primes[] = {3, 5, 7, 11, 13, 17, 19};
  int hash = 0;
  for (std::size_t i = 0; i < key.size(); ++i) hash ^= primes[i] * key[i];
  return static_cast<std::size_t>(hash);
}

// The order in which a chained table walks its keys: newest first in a bucket, 89 buckets, three quarters
// full.
std::vector<Key> TableOrder(const std::vector<Key>& keys) {
  std::vector<std::vector<Key>> buckets(89);
  std::size_t limit = 66;
  for (std::size_t count = 0; count < keys.size(); ++count) {
    if (count + 1 > limit) {
      std::vector<std::vector<Key>> grown(2 * buckets.size() + 1);
      for (const auto& chain : buckets)
        for (const Key& key : chain)
          grown[Hash(key) % grown.size()].insert(grown[Hash(key) % grown.size()].begin(), key);
      buckets = grown;
      limit = static_cast<std::size_t>(static_cast<double>(buckets.size()) * 0.75);
    }
    auto& chain = buckets[Hash(keys[count]) % buckets.size()];
    chain.insert(chain.begin(), keys[count]);
  }
  std::vector<Key> order;
  for (const auto& chain : buckets) order.insert(order.end(), chain.begin(), chain.end());
  return order;
}

}  // namespace

std::vector<SlowCase> SlowDraw(const std::vector<std::vector<double>>& records,
                               const std::vector<SlowStage>& stages, int first, int weightVar,
                               std::uint32_t seed) {
  MCCommonMath::MCRandomTwister random;
  random.Initialize(seed);
  std::vector<SlowCase> cases(records.size());
  std::vector<double> weights(records.size(), 1.0);  // carried to the next stage; 0 is out
  for (std::size_t i = 0; i < records.size() && weightVar >= 0; ++i) {
    weights[i] = records[i][static_cast<std::size_t>(weightVar)];
  }
  std::vector<int> strataVars;
  for (std::size_t s = 0; s < stages.size(); ++s) {
    strataVars.insert(strataVars.end(), stages[s].strata.begin(), stages[s].strata.end());
    if (static_cast<int>(s) + 1 >= first) {
      const int caseId = static_cast<int>(records[0].size()) - 1;
      const std::vector<int> unitVars =
          stages[s].clusters.empty() ? std::vector<int>{caseId} : stages[s].clusters;
      std::vector<Key> strata;
      std::map<Key, std::vector<Key>> units;
      for (std::size_t i = 0; i < records.size(); ++i) {
        if (weights[i] == 0.0) continue;
        const Key stratum = Values(records[i], strataVars), unit = Values(records[i], unitVars);
        if (units.count(stratum) == 0) strata.push_back(stratum);
        std::vector<Key>& list = units[stratum];
        if (std::find(list.begin(), list.end(), unit) == list.end()) list.push_back(unit);
      }
      std::map<Key, std::vector<Key>> drawn;
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
        std::vector<double> values(7, MCMV::gMissingValue);
        if (weights[i] != 0.0) {
          const Key stratum = Values(records[i], strataVars), unit = Values(records[i], unitVars);
          const std::vector<Key>& hits = drawn[stratum];
          const double all = static_cast<double>(units[stratum].size()), n = static_cast<double>(hits.size());
          values[3] = all, values[4] = n, values[5] = n / all;
          const bool in = std::find(hits.begin(), hits.end(), unit) != hits.end();
          if (in)
            values[0] = n / all, values[6] = all / n, values[2] = 1.0, values[1] = values[6] * weights[i];
          weights[i] = in ? values[1] : 0.0;
        }
        cases[i].stages.push_back(values);
      }
    }
    strataVars.insert(strataVars.end(), stages[s].clusters.begin(), stages[s].clusters.end());
  }
  for (std::size_t i = 0; i < records.size(); ++i)
    cases[i].finalWeight = weights[i] != 0.0 ? weights[i] : MCMV::gMissingValue;
  return cases;
}
