#pragma once

#include <unistd.h>

#include <fstream>
#include <string>

// Plans as a person would write them, in pieces, and a file to put one in.

inline const std::string kSizeOf3 = "<InputSampleSize><SingleValue value='3'/></InputSampleSize>";
inline const std::string kByCounty = "<ClusterVarList><Variable name='county'/></ClusterVarList>";
inline const std::string kMosOfPupils = "<MOS fromData='no'><Variable name='pupils'/></MOS>";

inline std::string Stage(const std::string& method, const std::string& inner) {
  return "<SampleStage selectionMethod='" + method + "'>" + inner + "</SampleStage>";
}
inline std::string Rate(const std::string& value, const std::string& bounds = "") {
  return "<InputSampleRate><SingleValue value='" + value + "'/>" + bounds + "</InputSampleRate>";
}
inline std::string Bounds(const std::string& least, const std::string& most) {
  return "<MinSize><SingleValue value='" + least + "'/></MinSize><MaxSize><SingleValue value='" + most +
         "'/></MaxSize>";
}
inline std::string Design(const std::string& inner) {
  return "<KORVSurveyPlans><SampleDesign>" + inner + "</SampleDesign></KORVSurveyPlans>";
}

// A file of the test's own, gone with it.
class PlanFile {
public:
  explicit PlanFile(const std::string& content) {
    close(mkstemp(fPath.data()));
    std::ofstream(fPath, std::ios::binary) << content;
  }
  ~PlanFile() { unlink(fPath.c_str()); }
  PlanFile(const PlanFile&) = delete;
  PlanFile& operator=(const PlanFile&) = delete;
  const std::string& Path() const { return fPath; }

private:
  std::string fPath = "/tmp/plan-XXXXXX";
};
