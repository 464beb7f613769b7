#pragma once

#include <string>
#include <vector>

#include "TestFolder.h"

// Plans as a person would write them, in pieces, and a file to put one in.

inline std::string In(const std::string& element, const std::string& inner) {
  return "<" + element + ">" + inner + "</" + element + ">";
}
inline std::string Var(const std::string& name) {
  return "<Variable name='" + name + "'/>";
}
// An output variable.
inline std::string Out(const std::string& element, const std::string& name) {
  return In(element, Var(name));
}
inline std::string StrataOf(const std::string& variables) {
  return In("StrataVarList", variables);
}
inline std::string ClustersOf(const std::string& variables) {
  return In("ClusterVarList", variables);
}
inline std::string Size(const std::string& value) {
  return In("InputSampleSize", "<SingleValue value='" + value + "'/>");
}
inline std::string Rate(const std::string& value, const std::string& bounds = "") {
  return In("InputSampleRate", "<SingleValue value='" + value + "'/>" + bounds);
}
inline std::string Bounds(const std::string& least, const std::string& most) {
  return "<MinSize><SingleValue value='" + least + "'/></MinSize><MaxSize><SingleValue value='" + most +
         "'/></MaxSize>";
}
// A table of sizes that tells `count` rows, and a row of one.
inline std::string Table(const std::string& variables, const std::string& rows, int count = 1) {
  return "<InputSampleSize><Matrix numberOfValues='" + std::to_string(count) + "'>" +
         In("MatrixVarList", variables) + rows + "</Matrix></InputSampleSize>";
}
inline std::string Row(const std::string& value, const std::vector<std::string>& categories = {"E"}) {
  std::string row = "<MatrixValue sizeValue='" + value + "'>";
  for (const std::string& category : categories) row += "<Category value='" + category + "'/>";
  return row + "</MatrixValue>";
}
inline std::string Stage(const std::string& method, const std::string& inner) {
  return "<SampleStage selectionMethod='" + method + "'>" + inner + "</SampleStage>";
}
// A stage that is drawn at random without replacement.
inline std::string Wor(const std::string& inner) {
  return Stage("simple_wor", inner);
}
inline std::string Design(const std::string& inner) {
  return In("KORVSurveyPlans", In("SampleDesign", inner));
}

inline const std::string kSizeOf3 = Size("3");
inline const std::string kByCounty = ClustersOf(Var("county"));
inline const std::string kMosOfPupils = "<MOS fromData='no'><Variable name='pupils'/></MOS>";

// `text` with every `what` replaced; "@" is usually the folder of a test.
inline std::string Replace(std::string text, const std::string& what, const std::string& by) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
  return text;
}

// A plan in a file, gone with it.
class PlanFile {
public:
  explicit PlanFile(const std::string& content) : fPath(fFolder.Write("plan.xml", content)) {}
  const std::string& Path() const { return fPath; }

private:
  TestFolder fFolder;
  std::string fPath;
};
