#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "host/text/VariableNames.h"

class SVPlanSpecs;

// PlanSource is a plan file that is read into the records of SVPlanSpecs, in whatever form it is written.
//
// Use:        OpenPlan(), readSamplePlan() once, then ask.
// Ownership:  borrows the records, which outlive it.
// Failures:   throws nothing but std::bad_alloc.
class PlanSource {
public:
  virtual ~PlanSource() = default;

  // Reads the sample design. 0, or a code of PlanReadErrors: the first fault in the order of reading. The
  // records then hold everything that could be read.
  virtual int readSamplePlan(std::string path) = 0;

  // What is wrong with the plan, a line for each fault in the order of reading: "PLAN, line 12, column 5:
  // stage 2: 'county' is used twice; names ignore case". If the code is 0, faults in what doesn't count.
  virtual std::vector<std::string> Faults() const = 0;

  // Where the plan contradicts itself without being at fault. Lines as above.
  virtual std::vector<std::string> Contradictions() const = 0;

  // Texts that should have been a number and were only partly read as one, each with the value that was used:
  // "2,5" is read as 2. Lines as above, at most kMaxMisread; of equal texts the first.
  static constexpr std::size_t kMaxMisread = 10;
  virtual const std::vector<std::string>& MisreadNumbers() const = 0;

  // For a caller that finds something wrong when it looks the plan up in a frame. The place is that of the
  // first variable with that name; of a row, which counts from 1, of a stage's table; else none.
  // REQUIRES: the plan was read.
  virtual std::string LineAboutName(const KorvVarName& name, const std::string& what) const = 0;
  virtual std::string LineAboutRow(int stage, int row, const std::string& what) const = 0;
};

// The reader for a plan file: of JSON if the first character of the file that isn't a blank begins an object
// or a list, else of XML. What can't be opened is left to the XML reader to report.
// REQUIRES: a HostSession exists.
std::unique_ptr<PlanSource> OpenPlan(const std::string& path, SVPlanSpecs* plan);
