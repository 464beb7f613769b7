#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>
#include <xercesc/util/XercesDefs.hpp>

#include "backend/svcommon/SVPlanSpecs.h"

struct KORVMBConverter;

XERCES_CPP_NAMESPACE_BEGIN
class DOMDocument;
class DOMElement;
class DOMNode;
XERCES_CPP_NAMESPACE_END

namespace SV_XML {

class PlanDomParser;

// A place in a plan file, both counted from 1; 0 where there is none.
struct PlanPosition {
  std::uint64_t line = 0;
  std::uint64_t column = 0;
};

// PlanXmlReader fills the records of a plan from a plan file, and checks it on the way.
//
// Use:        construct on an empty SVPlanSpecs, read once, destroy. The XML library must have been
//             initialised, as it is while a HostSession lives.
// Ownership:  owns parser, document and converter; borrows the records, which keep nothing of the document.
// Results:    0, or a code of PlanReadErrors. A read goes on to the end of the plan whatever it finds, and
//             the fault told is the first in the order of reading; the records hold all that was read.
// Failures:   throws nothing. What can't be parsed is code 1, and so is a document that lacks an element
//             which a valid one has, where no other code tells it.
// Bounds:     those of PlanDomParser and PlanFileSource. Of a plan that has more stages than it may have, no
//             more than kMaxStagesRead are read. A list or a table of more than kMaxListVariables variables
//             is code 1.
// Threads:    one.
class PlanXmlReader {
public:
  explicit PlanXmlReader(SVPlanSpecs* plan);
  ~PlanXmlReader();
  PlanXmlReader(const PlanXmlReader&) = delete;
  PlanXmlReader& operator=(const PlanXmlReader&) = delete;

  static constexpr std::size_t kMaxStagesRead = 20;
  static constexpr std::size_t kMaxListVariables = 10'000;

  // Reads the sample design of the plan file.
  int readSamplePlan(std::string path);

  // Reads its analysis design.
  int readAnalysisPlan(std::string path);

  // Parses the file; true when the document stands.
  bool parseFile(const std::string& path);

  // Where the parser gave the document up. An element that is misplaced or missing in another shows where
  // that one ends. No place if the file couldn't be read or went beyond a bound.
  PlanPosition FaultPosition() const { return fFaultPosition; }

  // Texts that stand where a number is wanted and aren't one as a whole, each with what was read: "2,5" is
  // read as 2. No more than kMaxMisread.
  static constexpr std::size_t kMaxMisread = 10;
  const std::vector<std::string>& MisreadNumbers() const { return fvMisread; }

private:
  using Element = xercesc::DOMElement;

  // The body of both reads: `readDesign` reads the child `designName` of the root, whose absence is `absent`.
  int ReadPlan(std::string path, int mode, const XMLCh* designName, int absent,
               int (PlanXmlReader::*readDesign)(const Element*));
  int ReadSampleDesign(const Element* design);
  int ReadAnalysisDesign(const Element* design);
  int ReadDesignWeight(const Element* design, const XMLCh* name, KorvVarName* weight);
  int ReadSrsEstimator(const Element* design);

  // Stages, numbered from 1. What takes a running code gives it back, or its own first fault in place of 0.
  int MakeStages(std::size_t count);
  int ReadSampleStages(const Element* design);
  int ReadAnalysisStages(const Element* design);
  int ReadSampleStage(const Element* element, int number, int runningCode);
  int ReadAnalysisStage(const Element* element, int number, int runningCode);
  void ReadStageHead(const Element* element, SVPlanStageSpecs* stage);
  int ReadSelectionMethod(const Element* element, int number, SVPlanStageSpecs* stage) const;
  int ReadEstimationMethod(const Element* element, int number, SVPlanStageSpecs* stage) const;
  int ReadSizeOrRate(const Element* element, int number, int runningCode);
  int ReadRateBounds(const Element* rate, SVPlanStageSpecs* stage, int runningCode);
  int ReadMos(const Element* stage);
  int ReadOutputs(const Element* element, SVPlanStageSpecs* stage);
  int CheckOnlyStage() const;
  int CheckClusters() const;

  // Parts of a stage.
  int ReadStrata(const Element* element, int number);
  int ReadClusters(const Element* element, int number);
  int ReadVariableList(const Element* list, std::vector<KorvVarName>* names);
  int ReadHolder(const Element* holder, int number);
  int ReadMatrix(const Element* matrix, int number);
  int ReadMatrixVariables(const Element* matrix, int number);
  int ReadMatrixRow(const Element* row, SVPlanStageSpecs* stage);
  int ReadName(const Element* variable, KorvVarName* name);
  int ReadBound(const Element* parent, const XMLCh* name, double* bound);

  // Texts and numbers of attributes. What an attribute lacks reads as the empty text, or 0; a number is read
  // as a stream reads it, so that 12abc is 12.
  std::string Text(const Element* element, const XMLCh* name) const;
  int Integer(const Element* element, const XMLCh* name);
  double Number(const Element* element, const XMLCh* name);
  template <class Value>
  Value Extract(const std::string& text);

  const xercesc::DOMDocument* fpDocument = nullptr;  // borrowed from the parser; null until one is parsed
  SVPlanSpecs* fpPlan;                               // borrowed, never null
  std::unique_ptr<PlanDomParser> fpParser;
  KORVMBConverter* fpConverter;  // owned
  PlanPosition fFaultPosition;
  std::vector<std::string> fvMisread;
  std::string fRepositoryPath;  // empty unless the repository holds the plan
};

}  // namespace SV_XML
