#include <set>

#include "backend/svcommon/design/MethodTable.h"

namespace {

// Goal: the two numberings part at the last four methods.
TEST(MethodTable, FindsMethodsByTheirNumbers) {
  std::vector<int> codes;
  for (int type = -1; type <= 17; ++type) codes.push_back(MethodOfType(type).code);
  EXPECT_EQ(codes, (std::vector<int>{0, 0, 1, 2, 3, 4, 5, 6, 7, 9, 10, 11, 8, 0, 0, 0, 0, 0, 0}));
}

// Goal: a row that was copied and not quite filled in.
TEST(MethodTable, TellsMethodsApart) {
  std::set<std::string_view> words, texts;
  for (const SVMethod& method : kMethods) {
    EXPECT_TRUE(words.insert(method.word).second) << method.word;
    for (const std::string_view text : {method.inWords, method.text, method.title}) {
      EXPECT_TRUE(texts.insert(text).second) << method.word << ": " << text;
    }
    EXPECT_FALSE(method.word.empty() || method.estimator.empty()) << method.word;
  }
}

// Goal: the assumption that a sample's documents tell about its method; it decides how variances are
// estimated.
TEST(MethodTable, TellsTheEstimatorsOfMethodsWithoutReplacement) {
  std::string equal, unequal;
  for (const SVMethod& method : kMethods) {
    if (method.estimator == MethodTexts::kEqualWor) equal += std::string(method.word) + ' ';
    if (method.estimator == MethodTexts::kUnequalWor) unequal += std::string(method.word) + ' ';
  }
  EXPECT_EQ(equal, "simple_wor ");
  EXPECT_EQ(unequal, "pps_wor pps_brewer pps_murthy pps_sampford ");
}

}  // namespace
