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
}

TEST(OutputDocument, CountsRepeatsBeyondAHundred) {
  HostSession session;
  OutputDocument& document = OutputDocument::Current();
  Issue("first", kWarningLevel);
  for (int i = 0; i < 103; ++i) {
    Issue("same", kWarningLevel);
    Issue("same", kErrorLevel, i < 100 ? 1 : 0);
    if (i < 100) document.AddMessage(kWarningLevel, "same", "group");
  }
  EXPECT_EQ(document.Messages().size(), 301U);
  std::int64_t repeats = 0;
  for (const OutputMessage& m : document.Messages()) repeats += m.repeats;
  EXPECT_EQ(repeats, 3);
  EXPECT_EQ(document.Messages()[1].repeats, 3);
  const std::string text = MessagesAsText();
  EXPECT_TRUE(text.ends_with("Warning: same\n  ... and 3 more\nError: same\nWarning: group same\n"));
}

TEST(OutputDocument, BoundsTheMessages) {
  HostSession session;
  OutputDocument& document = OutputDocument::Current();
  Issue("again", kWarningLevel, 100);
  for (int i = 0; i < 9900; ++i) Issue(std::to_string(i), kWarningLevel);
  EXPECT_EQ(document.FurtherMessages(), 0);
  Issue("new", kErrorLevel);
  Issue("0", kWarningLevel);  // not yet a hundred of these
  Issue("again", kWarningLevel, 7);
  EXPECT_EQ(document.Messages().size(), 10000U);
  EXPECT_EQ(document.FurtherMessages(), 2);
  EXPECT_EQ(document.Messages().front().repeats, 7);
  EXPECT_EQ(pvGetCmnGlb()->errorFlag, 1);
  EXPECT_TRUE(MessagesAsText().ends_with("Warning: 9899\n... and 2 more messages\n"));
  std::ostringstream out;
  WriteJsonReport(document, {"error", {}}, out);
  EXPECT_NE(out.str().find(R"({"level":"error","text":"... and 2 more messages","group":"","repeats":0}],)"),
            std::string::npos);
  document.DropErrors();
  EXPECT_EQ(document.AllMessages().size(), 10001U);
  EXPECT_EQ(document.AllMessages().back().level, kWarningLevel);
}

TEST(OutputDocument, ShowsNotesByGroup) {
  HostSession session;
  OutputDocument& document = OutputDocument::Current();
  document.SetProcedure("SVSelect");
  document.AddNote({2, "b", "1"});
  document.AddNote({1, "a label", "2"});
  document.AddNote({2, "c", "3"});
  std::ostringstream out;
  RenderText(document, kDefaultTextWidth, out);
  EXPECT_EQ(out.str(), "SVSelect\n\na label  2\n\nb        1\nc        3\n");
}

TEST(OutputDocument, KeepsWarningsWhenErrorsAreDropped) {
  HostSession session;
  Issue("careful", kWarningLevel);
  Issue("s.parquet can't be written: Interrupted!", kErrorLevel);
  Issue("again", kWarningLevel);
  OutputDocument::Current().DropErrors();
  EXPECT_EQ(MessagesAsText(), "Warning: careful\nWarning: again\n");
}
