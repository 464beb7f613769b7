#include <rapidcheck/gtest.h>

#include <algorithm>

#include "KeyOf.h"
#include "model_components/surveyplans/common/SVHashtable.h"

namespace {

// The chains as plain lists of keys, grown as the table must grow.
struct ReferenceChains {
  std::vector<std::vector<std::vector<int>>> chains{89};
  std::size_t count = 0, threshold = 66;

  void Put(const std::vector<int>& key) {
    auto& chain = chains[static_cast<std::uint32_t>(KeyOf(key).Hash()) % chains.size()];
    chain.insert(chain.begin(), key);
  }
  bool Insert(const std::vector<int>& key) {
    const auto before = Order();
    if (std::find(before.begin(), before.end(), key) != before.end()) return false;
    if (count + 1 > threshold) {
      chains = std::vector<std::vector<std::vector<int>>>(2 * chains.size() + 1);
      threshold = static_cast<std::size_t>(static_cast<float>(chains.size()) * 0.75F);
      for (const auto& moved : before) Put(moved);
    }
    Put(key);
    ++count;
    return true;
  }
  std::vector<std::vector<int>> Order() const {
    std::vector<std::vector<int>> order;
    for (const auto& chain : chains) order.insert(order.end(), chain.begin(), chain.end());
    return order;
  }
};

// Counts the values alive, so that a leak or a value made for a refused key shows.
struct Counted {
  explicit Counted(int* count) : alive(count) { ++*alive; }
  ~Counted() { --*alive; }
  Counted(const Counted&) = delete;
  int* alive;
};

}  // namespace

// Goal: iteration order through several growths, refusal of equal keys, and keys of any value and length.
RC_GTEST_PROP(SVHashtable, KeepsTheOrderOfItsChains, (unsigned spread)) {
  const int range = 2 + static_cast<int>(spread % 400);
  const auto value = rc::gen::oneOf(rc::gen::inRange(0, range), rc::gen::inRange(1 << 29, (1 << 29) + range));
  const auto key = rc::gen::resize(3, rc::gen::container<std::vector<int>>(value));
  int alive = 0;
  {
    SVHashtable<Counted> table;
    ReferenceChains reference;
    RC_ASSERT(table.begin() == table.end());
    for (const auto& k : *rc::gen::container<std::vector<std::vector<int>>>(300, key)) {
      const auto* entry = table.Insert(KeyOf(k), &alive);
      RC_ASSERT((entry != nullptr) == reference.Insert(k));
      RC_ASSERT(entry == nullptr || table.Find(KeyOf(k)) == entry);
    }
    const auto order = reference.Order();
    const auto isKey = [](const auto& entry, const auto& values) { return entry.key == KeyOf(values); };
    RC_ASSERT(std::equal(table.begin(), table.end(), order.begin(), order.end(), isKey));
    RC_ASSERT(table.Find(KeyOf({-1, -1, -1, -1})) == nullptr);
    RC_ASSERT(table.Count() == static_cast<int>(reference.count) && alive == table.Count());
  }
  RC_ASSERT(alive == 0);
}
