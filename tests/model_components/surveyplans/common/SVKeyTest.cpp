#include <rapidcheck/gtest.h>

#include <numeric>

#include "KeyOf.h"
#include "model_components/surveyplans/common/SVKey.h"

// Goal: hashes worked by hand, with the multipliers' wrap at 50 values and the products' wrap at 32 bits.
TEST(SVKey, Hashes) {
  std::vector<int> ones(50, 0);
  ones[48] = ones[49] = 1;
  const struct {
    std::vector<int> values;
    int hash;
  } kCases[] = {{{}, 0}, {{1, 2}, 9}, {{2, 1}, 3}, {{7}, 21}, {ones, 229 ^ 3}, {{1 << 30}, -(1 << 30)}};
  for (const auto& c : kCases) EXPECT_EQ(KeyOf(c.values).Hash(), c.hash) << testing::PrintToString(c.values);
  static_assert(229LL * SVKey::MaxValue() < (1LL << 31) && 229LL * (SVKey::MaxValue() + 1) >= (1LL << 31));
}

// Goal: order and equality are those of (length, values), and copies are deep for inline and for heap keys.
RC_GTEST_PROP(SVKey, OrdersAndCopiesAsItsValues, ()) {
  const auto list = rc::gen::container<std::vector<int>>(rc::gen::inRange(-2, 3));
  const std::vector<int> a = *rc::gen::resize(5, list);
  const std::vector<int> b = *rc::gen::resize(5, list);
  RC_ASSERT((KeyOf(a) < KeyOf(b)) == (std::pair(a.size(), a) < std::pair(b.size(), b)));
  RC_ASSERT((KeyOf(a) == KeyOf(b)) == (a == b));
  SVKey key = KeyOf(a);
  const SVKey copy(key);
  key = KeyOf(b);
  RC_ASSERT(copy == KeyOf(a) && key == KeyOf(b));
}
