#include <rapidcheck/gtest.h>

#include <cstring>
#include <map>

#include "host/model/Dictionary.h"
#include "host/model/KORV_DataSource.h"
#include "host/model/ObsVecMap.h"

namespace {

// The cells of a text, padded with blanks, and a number in front of them.
std::vector<OBS> Key(double number, const std::string& text, int width) {
  std::vector<OBS> key(1 + ObsCells(width));
  std::memset(key.data(), ' ', key.size() * sizeof(OBS));
  key[0].number = number;
  std::memcpy(&key[1], text.data(), text.size());
  return key;
}

struct Source : KORV_DataSource {
  explicit Source(const std::vector<int>& types) : KORV_DataSource(std::make_shared<Dictionary>()) {
    for (const int type : types) GetDictionary().variables.emplace_back("V", type);
  }
};

}  // namespace

TEST(ObsVecMap, LayoutFollowsTheDictionary) {
  const Source source({0, 8, 9, 17, 40000});
  const ObsVecMap::KeySpec spec = ObsVecMap::MakeKeySpec(source, {2, 0, 3, 1});
  EXPECT_EQ(spec, (ObsVecMap::KeySpec{9, 0, 17, 8}));
  EXPECT_EQ(ObsVecMap(spec, 4).CellSize(), 2u + 1 + 3 + 1 + 4);
  // A column of long texts: the last byte still tells two values apart.
  ObsVecMap wide(ObsVecMap::MakeKeySpec(source, {4}), 1);
  std::vector<OBS> key = Key(0, "", 40000);
  wide.Insert(&key[1]);
  key.back().text[7] = 'x';
  EXPECT_EQ(wide.Contains(&key[1]), nullptr);
}

TEST(ObsVecMap, ComparesNumbersAsNumbersAndStringsAsBytes) {
  ObsVecMap map({0, 10}, 1);
  const OBS* entry = map.Insert(Key(0.0, "abcdefghij", 10).data());
  EXPECT_EQ(map.Contains(Key(-0.0, "abcdefghij", 10).data()), entry);
  EXPECT_EQ(map.Contains(Key(0.0, "abcdefghik", 10).data()), nullptr);
  EXPECT_EQ(map.Contains(Key(0.0, "ABCDEFGHIJ", 10).data()), nullptr);
  EXPECT_EQ(map.Contains(Key(5e-324, "abcdefghij", 10).data()), nullptr);
  // The eight bytes of -0 are a text other than that of 0.
  ObsVecMap texts({8}, 1);
  const OBS zero = {.number = 0.0}, minusZero = {.number = -0.0};
  texts.Insert(&zero);
  EXPECT_EQ(texts.Contains(&minusZero), nullptr);
}

// Against a map of the standard library, past several growths: entries never move, and their key stands
// before; sorted by number, then by unsigned bytes.
RC_GTEST_PROP(ObsVecMap, BehavesAsAnOrderedMapAndKeepsAddresses, (const std::vector<std::int16_t>& numbers)) {
  ObsVecMap map({0, 12}, 2);
  std::map<std::pair<double, std::string>, OBS*> expected;
  for (const std::int16_t number : numbers) {
    for (int variant = 0; variant < 50; ++variant) {
      const double value = number / 4.0;
      const std::string text = std::to_string(variant % 37) + (variant % 3 == 0 ? "\xc3" : "");
      const std::vector<OBS> key = Key(value, text, 12);
      OBS* found = map.Contains(key.data());
      const auto [place, isNew] = expected.try_emplace({value, text}, nullptr);
      RC_ASSERT((found == nullptr) == isNew);
      if (isNew) place->second = found = map.Insert(key.data());
      RC_ASSERT(found == place->second);
      RC_ASSERT(std::memcmp(found - 3, key.data(), 3 * sizeof(OBS)) == 0);
    }
  }
  RC_ASSERT(map.Size() == expected.size());
  const std::vector<OBS*> sorted = map.Sort();
  std::size_t i = 0;
  for (const auto& [key, value] : expected) RC_ASSERT(sorted[i++] + 3 == value);
}
