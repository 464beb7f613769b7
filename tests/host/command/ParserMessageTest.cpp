#include "host/command/ParserMessage.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"

TEST(ParserMessage, FillsItemsAndGroup) {
  HostSession session;
  ParserMessage messages;
  EXPECT_LT(messages.GetGroupIndex(), 0);
  messages.SetGroupMsgText("Plan stage ^1...");
  messages.GenericWarning("^2 and ^1, ^3", "a^2", "b");  // an item isn't filled again; a third is missing
  EXPECT_EQ(pvGetCmnGlb()->errorFlag, 0);
  messages.SetGroupIndex(0);
  messages.GenericError("^1 ^5", "a", nullptr, nullptr, nullptr, "e");
  messages.SetGroupIndex(12);
  messages.InvalidSubComName("X");
  messages.SetGroupIndex(-1);
  messages.InvalidSubComName("");
  EXPECT_EQ(pvGetCmnGlb()->errorFlag, 1);

  std::vector<std::string> issued;
  for (const OutputMessage& m : OutputDocument::Current().Messages())
    issued.push_back(m.group + '|' + m.text);
  EXPECT_EQ(issued,
            (std::vector<std::string>{
                "|b and a^2, ^3", "Plan stage 0...|a e", "Plan stage 12...|X is not a valid subcommand name.",
                "|The command has text before its first subcommand, or a slash without a name."}));
}
