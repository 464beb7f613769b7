#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "backend/svcommon/JsonTree.h"
#include "backend/svcommon/PlanLines.h"
#include "backend/svcommon/PlanRules.h"
#include "backend/svcommon/PlanSource.h"
#include "backend/svcommon/SVPlanSpecs.h"
#include "host/read/TextForm.h"

// Reading a plan in JSON. A small plan, which draws four schools in each region with probability proportional
// to their number of cases:
//
//   { "svselect_plan": 1,
//     "stages": [
//       { "label": "schools", "method": "pps_wor", "strata": ["region"], "clusters": ["school"],
//         "n": 4, "size": "cases", "write": {"probability": "p1"} } ],
//     "weight": "w" }
//
// Members are rows of tables (PlanJsonMembers.cpp): the name, what the value may be, whether the member is
// required, and the function that reads it. The members of an object may come in any order, and are read in
// the order of their table. Adding a member is a row and a function here, a line in the two writers
// (PlanAsJson.cpp, PlanAsXml.cpp), and one in data/svselect-plan-1.schema.json, which a test compares with the
// tables.
//
// The reader is strict: an unknown member, a wrong type, a member that is there twice or has no effect is a
// fault, and so is everything without which nothing can be drawn. Nothing is guessed, so that there are no
// misread numbers and no contradictions. Rules that don't depend on the form of a plan are in PlanRules.h.
//
// The numbers of a stage's table may be in a CSV file in the plan's folder or below it. Its first line has the
// names of `by` and a name for the numbers; each further line is a row. The path can't lead out of the folder,
// so that a plan of a stranger doesn't open other files.
//
// The source is split in three: PlanJsonReader.cpp has the file, the faults and the design as a whole,
// PlanJsonReaderStages.cpp the stages, PlanJsonReaderTables.cpp sizes and rates.
class PlanJsonReader : public PlanSource {
public:
  explicit PlanJsonReader(SVPlanSpecs* plan) : fpPlan(plan) {}

  static constexpr int kVersion = 1;                       // of the form, in "svselect_plan"
  static constexpr std::size_t kMaxTableRows = 1'000'000;  // of a CSV file
  static constexpr long kMaxTableBytes = 64L << 20;        // likewise

  int readSamplePlan(std::string path) override;
  std::vector<std::string> Faults() const override { return fFaults.All(); }
  std::vector<std::string> Contradictions() const override { return {}; }
  const std::vector<std::string>& MisreadNumbers() const override { return fvNoMisread; }
  std::string LineAboutName(const KorvVarName& name, const std::string& what) const override;
  std::string LineAboutRow(int stage, int row, const std::string& what) const override;

  // The names of the members of each kind of object, for tests: "plan", "stage", "request" (a size or rate),
  // "size" (the measure of size), "write".
  static std::map<std::string, std::vector<std::string>> MemberNames();

private:
  using Index = JsonTree::Index;

  // A row of a table of members. `forms` are the kinds of value that it may have, and `inWords` says the same
  // in a message. A member without a function is read by its object.
  struct Member {
    std::string_view name;
    std::vector<JsonKind> forms;
    const char* inWords;
    bool isRequired = false;
    void (PlanJsonReader::*read)(Index value) = nullptr;
  };
  using Members = std::span<const Member>;
  // The values of an object's members in the order of their table; 0, the root, for one that is missing.
  using Values = std::vector<Index>;

  static Members PlanMembers();
  static Members StageMembers();
  static Members RequestMembers();
  static Members SizeMembers();
  static Members WriteMembers();

  // Checks names and kinds, and that nothing is missing or there twice. `of` is what the object is.
  Values FindMembers(Index object, Members members, const char* of);
  void FaultUnknown(Index name, const std::vector<std::string>& known, const char* of);
  void ReadMembers(Index object, Members members, const char* of);
  static bool IsForm(const Member& member, JsonKind kind);
  bool HasMember(Index object, std::string_view name) const;  // right or wrong

  // The plan as a whole.
  bool ReadFile(const std::string& path);
  void ReadVersion(Index value);
  void ReadSchema(Index) {}  // for editors
  void ReadTitle(Index value);
  void ReadStages(Index value);
  void ReadPreviousWeight(Index value) { ReadName(value, &fpPlan->previousWeight); }
  void ReadWeight(Index value) { ReadName(value, &fpPlan->weight); }
  void ReadEstimation(Index value);
  void CheckClusters(const std::vector<Index>& stages);

  // The stage that is being read.
  SVPlanStageSpecs& Stage() { return *fpPlan->getStage(fStage); }
  void ReadLabel(Index value);
  void ReadMethod(Index value);
  void ReadStrata(Index value);
  void ReadClusters(Index value);
  void ReadSize(Index value);
  void ReadRate(Index value);
  void ReadLeast(Index value);
  void ReadMost(Index value);
  void ReadMeasure(Index value);
  void ReadOrder(Index list);
  void ReadSerpentine(Index value);
  void ReadCertainty(Index value);
  void ReadCertain(Index value);
  void ReadWrite(Index value);
  void CheckStage(Index stage);
  void CheckBounds(Index stage);
  void ReadNames(Index list, std::vector<KorvVarName>* names);
  void ReadName(Index value, KorvVarName* name);
  template <KorvVarName SVPlanStageSpecs::*kName>
  void ReadOutput(Index value) {
    ReadName(value, &(Stage().*kName));
  }

  // The measure of size.
  void ReadMeasureCases(Index value);
  void ReadMeasureVariable(Index value) { ReadName(value, &fpPlan->mosVariable); }
  void ReadMeasureLeast(Index value) { ReadPositive(value, &fpPlan->mosMin); }
  void ReadMeasureMost(Index value) { ReadPositive(value, &fpPlan->mosMax); }
  void ReadPositive(Index value, double* bound);

  // A size or rate, whose kind has been set.
  void ReadRequest(Index value);
  void ReadTable(Index by, Index rows, Index file);
  bool ReadTableVariables(Index by);
  void ReadRow(Index row);
  bool ReadCategory(Index value, std::string* category);
  void CheckRepeatedRows();
  // A CSV file; faults are about its lines. Throws DataError if it can't be read.
  void ReadTableFile(Index at, const std::string& path);
  struct TableDelimiter {
    char character;
    bool hasOwnLine;  // the first line only names it
  };
  static TextForm TableForm(const std::string& path);
  static TableDelimiter DelimiterOf(const std::string& path, const TextForm& form);
  void ReadTableLines(const std::string& path, const TextForm& form, TableDelimiter delimiter);
  std::string CheckTablePath(std::string_view path) const;

  // What is wrong, and where. The first code of a plan counts.
  void Fault(int code, Index at, const std::string& what);
  void Fault(const PlanFault& fault, Index at);
  void FaultInTable(int code, std::int64_t line, const std::string& what);
  std::string Line(const std::string& file, SV_XML::PlanPosition at, const std::string& what) const;
  void NoteUse(Index value) { NoteUse(value, std::string(fJson.Text(value))); }
  void NoteUse(Index value, const std::string& name);

  // Where the rows of a stage's table are: values of the plan, or lines of a file.
  struct TablePlaces {
    std::string file;  // empty for the plan
    std::vector<std::int64_t> rows;
  };

  SVPlanSpecs* fpPlan;  // borrowed, never null
  JsonTree fJson;
  std::string fPath;  // as the caller named it
  int fStage = 0;     // the stage that is being read; 0 outside the stages
  int fCode = 0;
  SV_XML::PlanLines fFaults;
  std::vector<TablePlaces> fvTables;        // of the stages
  std::map<std::string, Index> fFirstUses;  // of names of variables, in upper case
  std::vector<std::string> fvNoMisread;
};
