#include <sstream>

#include "host/environment/CommonBlocks.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/output/BpProcedure.h"
#include "host/output/BpText.h"
#include "host/output/OutputDocument.h"
#include "host/output/RunOutcome.h"
#include "host/render/JsonReport.h"
#include "host/render/TextRenderer.h"

namespace {

void Issue(const std::string& text, int level, int times = 1) {
  for (int i = 0; i < times; ++i) BpError(BpString(text, true), 2, level);
}
std::string MessagesAsText() {
  std::ostringstream out;
  RenderMessages(OutputDocument::Current(), out);
  return out.str();
}

}  // namespace

TEST(OutputDocument, KeepsTheOrderAndRaisesTheFlag) {
  HostSession session;
  OutputDocument& document = OutputDocument::Current();
  Issue("careful", kWarningLevel);
  IssueHostMessage("a.csv, line 3: bad\nbytes", kWarningLevel);
  EXPECT_EQ(pvGetCmnGlb()->errorFlag, 0);
  document.AddMessage(kErrorLevel, "wrong", "Plan stage 2...");
  EXPECT_EQ(pvGetCmnGlb()->errorFlag, 1);
  EXPECT_EQ(MessagesAsText(),
            "Warning: careful\nWarning: a.csv, line 3: bad bytes\nError: Plan stage 2... wrong\n");
  document.DropErrors();
  EXPECT_EQ(MessagesAsText(), "Warning: careful\nWarning: a.csv, line 3: bad bytes\n");
}

TEST(OutputDocument, BoundsTheMessages) {
  HostSession session;
  OutputDocument& document = OutputDocument::Current();
  // A hundred of each text, level and group; further ones are counted there.
  Issue("same", kWarningLevel, 103);
  Issue("same", kErrorLevel, 100);
  for (int i = 0; i < 100; ++i) document.AddMessage(kWarningLevel, "same", "group");
  EXPECT_EQ(document.Messages().front().repeats, 3);
  EXPECT_EQ(MessagesAsText(),
            "Warning: same (103 times)\nError: same (100 times)\nWarning: group same (100 times)\n");
  for (int i = 0; i < 9700; ++i) Issue(std::to_string(i), kWarningLevel);
  EXPECT_EQ(document.FurtherMessages(), 0);
  Issue("new", kErrorLevel);
  Issue("0", kWarningLevel);  // not yet a hundred of these
  Issue("same", kWarningLevel, 4);
  EXPECT_EQ(document.Messages().size(), 10000U);
  EXPECT_EQ(document.FurtherMessages(), 2);
  EXPECT_EQ(document.Messages().front().repeats, 7);
  EXPECT_EQ(pvGetCmnGlb()->errorFlag, 1);
  EXPECT_TRUE(MessagesAsText().ends_with("Warning: 9699\nError: ... and 2 more messages\n"));
  std::ostringstream out;
  WriteJsonReport({RunStatus::kError, &document}, out);
  EXPECT_NE(out.str().find(R"({"level":"error","text":"... and 2 more messages","group":"","repeats":0}],)"),
            std::string::npos);
  document.DropErrors();
  EXPECT_EQ(document.AllMessages().size(), 9901U);
  EXPECT_EQ(document.AllMessages().back().level, kWarningLevel);
}
