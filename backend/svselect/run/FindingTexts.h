#pragma once

#include <cstdint>
#include <string>
#include <vector>

class ProcedureDataSource;
class SVKey;
class SVSFindings;
class SVSInputAdapter;
class SVSValidSpecs;

// What findings are translated with: codes into values, variables into names. Borrowed.
struct FindingNames {
  const SVSValidSpecs& specs;
  const SVSInputAdapter& adapter;
  ProcedureDataSource& dataSource;
};

// How far a draw went.
struct DrawEnd {
  bool isDrawn = false;        // there is a sample
  bool isEndedBySize = false;  // a size above the limit is what ends it
};

// One sentence for each finding: the stage, how often, where (at most SVSFindings::kMaxExamples places with
// their values, and how many more), what it means, and what to do about it.
//
// Sizes above the limit are left out unless the draw ends by one: a size at the very limit is noted although a
// draw may accept it.
std::vector<std::string> FindingTexts(const SVSFindings& findings, const FindingNames& names,
                                      const DrawEnd& end);

// A unit of a stage: "county = 12"; "case 17" where the units are cases.
std::string UnitText(const FindingNames& names, std::int32_t stage, const SVKey& unit);

// One sentence for each table with rows that no case of the frame has used: their categories, as above.
// REQUIRES: the first pass is over.
std::vector<std::string> UnusedRowTexts(const FindingNames& names);

// One sentence for each rate, size or table for which cases were refused: where, as above, and what is allowed.
std::vector<std::string> RefusedTexts(const FindingNames& names);

// One sentence about the cases that were left out because they lack a value, with all reasons why cases were left
// out; empty if none lacks a value.
// REQUIRES: the first pass is over.
std::string LeftOutText(const FindingNames& names);
