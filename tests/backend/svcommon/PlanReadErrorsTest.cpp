#include "backend/svcommon/PlanReadErrors.h"
#include "host/environment/CommonBlocks.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"

TEST(PlanReadErrors, IssuesOneErrorPerCode) {
  const HostSession session;
  for (int code = -1; code <= 26; ++code) SV_XML::PlanReadErrors().report(code);
  const std::vector<std::string> kTexts = {
      "Invalid plan file...",
      "Variable is not a valid KORV variable...",
      "Variable is repeated more than once...",
      "Illegal estimation method for this stage...",
      "Population size value is incorrect...",
      "Inclusion probability value is incorrect...",
      "Cluster variables are required for non-final stages...",
      "Matrix variable is invalid...",
      "Matrix category list does not match the matrix variable list...",
      "The plan cannot have more than 3 stages...",
      "AnalysisDesign is missing in plan file...",
      "Sample size values are not positive...",
      "Sample rate values are not positive...",
      "SampleDesign is missing in plan file...",
      "Illegal selection method at second or third stage...",
      "Sample size or rate is not specified...",
      "MOS missing when PPS selection method specified...",
      "MOS variable or source is not specified...",
      "Minimum MOS value is greater than maximum MOS value...",
      "Minimum or maximum MOS values are not positive...",
      "Cluster variable is missing in the last stage...",
      "Variable is repeated more than once in sample design...",
      "The parser cannot get plan file specifications...",
      "Illegal SRS estimator method...",
  };
  std::vector<std::string> told;
  for (const OutputMessage& message : OutputDocument::Current().Messages()) {
    EXPECT_EQ(message.level, 3) << message.text;
    told.push_back(message.text);
  }
  EXPECT_EQ(told, kTexts);
  EXPECT_NE(pvGetCmnGlb()->errorFlag, 0);
}
