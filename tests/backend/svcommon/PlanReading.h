#pragma once

#include <string>
#include <vector>

#include "PlanText.h"
#include "backend/svcommon/PlanReadErrors.h"
#include "backend/svcommon/PlanXmlReader.h"
#include "host/environment/HostErrors.h"
#include "host/environment/HostSession.h"
#include "host/output/OutputDocument.h"

// What reading a plan gives; "P" is its path.
struct PlanReading {
  explicit PlanReading(const std::string& text, bool isAnalysis = false) {
    const PlanFile file(text);
    SV_XML::PlanXmlReader reader(&plan);
    code = isAnalysis ? reader.readAnalysisPlan(file.Path()) : reader.readSamplePlan(file.Path());
    for (const std::string& line : reader.Faults()) faults.push_back(Replace(line, file.Path(), "P"));
    for (const std::string& line : reader.Contradictions())
      contradictions.push_back(Replace(line, file.Path(), "P"));
    SV_XML::PlanReadErrors().report(code);
    for (const OutputMessage& issued : OutputDocument::Current().Messages())
      message += (issued.level == kErrorLevel ? "" : "no error: ") + issued.text;
  }

  HostSession session;
  SVPlanSpecs plan;
  int code;
  std::string message;  // the one for the code
  std::vector<std::string> faults;
  std::vector<std::string> contradictions;
};
