#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "backend/svcommon/SVPlanSpecs.h"
#include "planning/OptionWords.h"

// Reads the stages of a plan that are given in words, one text for each stage:
//
//   strata=region clusters=county method=pps_sampford n=4 size=cases write=probability:p1
//   strata=type rate=E:0.05,M:0.1,H:0.2 min=2 max=40
//
//   label         any text
//   strata        variables
//   clusters      variables
//   method        as in a plan; simple_wor if it isn't given
//   n, rate       a number, a variable, CATEGORY:NUMBER for each row of a table, or a table in a .csv file
//   by            the variables of that table; the strata if it isn't given. A row has a category for each
//   min, max      bounds of the number of units that a rate gives
//   size          cases, or a variable: the measure of size
//   size_min, size_max  bounds of it
//   write         output variables, as KIND:NAME
//
// The model keeps every rule that a plan file must keep; a plan that comes out without a problem can be
// written and read again.
class StageWords {
public:
  // `allocates` says that the sizes of the first stage come from an allocation, and not from its words.
  // REQUIRES: `plan` is empty, and outlives the reader.
  StageWords(SVPlanSpecs* plan, bool allocates) : fpPlan(plan), fbAllocates(allocates) {}

  // Reads all stages. To be called once.
  void Read(const std::vector<std::string>& stages);

  // What is wrong, one line for each fault: "stage 2: 'metod' is no word of a stage; did you mean method?"
  const std::vector<std::string>& Problems() const { return fvProblems; }

  // Every key, in the order of the list above.
  static std::vector<std::string> Keys();

private:
  using Reader = void (StageWords::*)(const std::string& value);
  struct Key {
    std::string_view name;
    Reader read;
  };
  static const Key kKeys[];

  SVPlanStageSpecs& Stage() { return *fpPlan->getStage(fNumber); }
  void ReadStage(const std::string& text);
  void CheckStage();
  void CheckRequest();
  void CheckMeasure();
  void CheckPlan();

  void ReadLabel(const std::string& value);
  void ReadMethod(const std::string& value);
  void ReadStrata(const std::string& value);
  void ReadClusters(const std::string& value);
  void ReadBy(const std::string& value);
  void ReadSize(const std::string& value);
  void ReadRate(const std::string& value);
  void ReadLeast(const std::string& value);
  void ReadMost(const std::string& value);
  void ReadMeasure(const std::string& value);
  bool DrawsBySize();
  void ReadMeasureLeast(const std::string& value);
  void ReadMeasureMost(const std::string& value);
  void ReadWrite(const std::string& value);

  void ReadRequest(std::int32_t kind, const char* key, const std::string& value);
  void ReadRow(const char* key, const std::string& row);
  void ReadTableFile(const std::string& path);
  void ReadBound(const char* key, const std::string& value, bool isWhole, double* bound);
  void ReadNames(const std::string& value, std::vector<KorvVarName>* names);
  void ReadName(const std::string& text, KorvVarName* name);

  void Problem(const std::string& what);

  SVPlanSpecs* fpPlan;  // borrowed, never null
  bool fbAllocates;
  int fNumber = 0;  // the stage that is being read, from 1
  std::vector<std::string> fvBy;
  std::vector<std::string> fvProblems;
};
