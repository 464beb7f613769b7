#include <cstdlib>
#include <filesystem>

#include "host/environment/MessageCatalogue.h"
#include "host/environment/PathFactory.h"

TEST(PathFactory, FindsTheDataFolder) {
  EXPECT_EQ(PathFactory::getPathInstance(2), nullptr);
  PathFinder* const finder = PathFactory::getPathInstance(3);
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path("/");
  EXPECT_TRUE(std::filesystem::exists(finder->DataFolder() + "korv-survey-plans-1.0.dtd"));
  std::filesystem::current_path(before);
  setenv("SVSELECT_DATADIR", "/some/where", 1);
  EXPECT_EQ(finder->DataFolder(), "/some/where/");
  unsetenv("SVSELECT_DATADIR");
}

TEST(MessageCatalogue, FillsTheInsertion) {
  char text[kCatalogueTextSize];
  GETTXM(11903, "2", text);
  EXPECT_STREQ(text, "Number of selections or copy in stage 2");
  ERRTXN(11908, text);
  EXPECT_STREQ(text, "Final sampling weight");
  GETTXM(11901, std::string(500, '7').c_str(), text);
  EXPECT_EQ(std::string(text).size(), kCatalogueTextSize - 1);
  ERRTXN(11909, text);
  EXPECT_STREQ(text, "");
}
