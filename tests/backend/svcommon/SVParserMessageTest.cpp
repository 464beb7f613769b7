#include "backend/svcommon/SVParserMessage.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"

// The texts that no command and no plan can bring about, since something else refuses what they tell; the
// forms of a message by the names that are known; the groups.
TEST(SVParserMessage, ChoosesFormAndGroup) {
  HostSession session;
  SVParserMessage messages;
  messages.SetCommandName("SVSELECT");
  messages.NoSubcommandInformation();
  messages.ParenthesisNotAllowed("");
  messages.VariableNotFound("v", "", "S");
  messages.VariableNotFound("v", "", "");
  messages.VariableNotNumeric("v", "P", "S");
  messages.VariableNotNumeric("v", nullptr, "S");
  messages.VariableNotNumeric("v", nullptr, nullptr);
  messages.SetGroup(0);
  messages.NoPlanSpecifications();
  messages.NoStageInformation();
  messages.SetGroup(2);
  messages.VariableRepeated("v", "P", nullptr);
  messages.VariableNotFor("v", "P", "TABLE");
  messages.SetGroup(-1);
  messages.VariableNotFor("v", "P", "TABLE");

  std::vector<std::string> told;
  for (const OutputMessage& message : OutputDocument::Current().Messages())
    told.push_back(message.group + '|' + message.text);
  EXPECT_EQ(told,
            (std::vector<std::string>{
                "|The parser cannot get information for the current subcommand...",
                "|Parenthesis not allowed in global subcommand...",
                "|Variable v for subcommand S is not found in the dictionary...",
                "|Variable v for variable list SVSELECT is not found in the dictionary...",
                "|Variable v for parameter P of subcommand S is not numeric...",
                "|Variable v for subcommand S is not numeric...",
                "|Variable v for variable list SVSELECT is not numeric...",
                "|The parser cannot get plan file specifications...",
                "Global plan stage...|Parser cannot get information for the current stage...",
                "Plan stage 2...|Variable v for parameter P already occured...",
                "Plan stage 2...|Plan variable name v for parameter P cannot be used for parameter TABLE...",
                "|Variable name v for parameter P cannot be used for parameter TABLE...",
            }));
}
