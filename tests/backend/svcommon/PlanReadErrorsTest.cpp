#include "backend/svcommon/PlanReadErrors.h"

#include "host/environment/CommonBlocks.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"

TEST(PlanReadErrors, IssuesOneErrorPerCode) {
  const HostSession session;
  for (int code = -1; code <= 26; ++code) SV_XML::PlanReadErrors().report(code);
  const std::vector<OutputMessage>& messages = OutputDocument::Current().Messages();
  ASSERT_EQ(messages.size(), 24U);
  for (const OutputMessage& message : messages) EXPECT_EQ(message.level, 3) << message.text;
  EXPECT_EQ(messages[0].text, "Invalid plan file...");
  EXPECT_EQ(messages[9].text, "The plan cannot have more than 3 stages...");
  EXPECT_EQ(messages[21].text, "Variable is repeated more than once in sample design...");
  EXPECT_EQ(messages[23].text, "Illegal SRS estimator method...");
  EXPECT_NE(pvGetCmnGlb()->errorFlag, 0);
}
