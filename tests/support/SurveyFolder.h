#pragma once

#include <string>

#include "PlanText.h"
#include "session/RunSurvey.h"

// A folder with a frame, f.csv, and a plan that draws s.csv from it.
struct SurveyFolder : TestFolder {
  SurveyFolder(const std::string& csv, const std::string& stages) {
    Write("f.csv", csv);
    Write("p.xml", Design(stages + Out("Weight", "w")));
  }
  // `rest` comes behind /PLAN; in it "@" is the folder.
  RunRequest Request(const std::string& rest) const {
    RunRequest request;
    request.frame.path = Path("f.csv");
    request.command = Replace("SVSELECT /PLAN FILE='@/p.xml' " + rest, "@", path);
    return request;
  }
};

inline const std::string kSampleFile = "/SAMPLEFILE OUTFILE='@/s.csv' ";
