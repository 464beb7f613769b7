#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>
#include <xercesc/util/XercesDefs.hpp>

#include "backend/svcommon/PlanLines.h"
#include "backend/svcommon/PlanSource.h"
#include "backend/svcommon/SVPlanSpecs.h"

struct KORVMBConverter;
struct PlanFault;

XERCES_CPP_NAMESPACE_BEGIN
class DOMDocument;
class DOMElement;
class DOMNode;
XERCES_CPP_NAMESPACE_END

// Reading a plan: from an XML file to the records of SVPlanSpecs. A small plan, which draws four schools in
// each region with probability proportional to their number of cases:
//
//   <KORVSurveyPlans>
//     <SampleDesign>
//       <SampleStage label="schools" selectionMethod="pps_wor">
//         <StrataVarList><Variable name="region"/></StrataVarList>
//         <ClusterVarList><Variable name="school"/></ClusterVarList>
//         <InputSampleSize><SingleValue value="4"/></InputSampleSize>
//         <MOS fromData="yes"/>
//         <IncProb><Variable name="p1"/></IncProb>
//       </SampleStage>
//       <Weight><Variable name="w"/></Weight>
//     </SampleDesign>
//   </KORVSurveyPlans>
//
// The steps. parseFile() has the XML library build the document, within the bounds of PlanDomParser.h. The
// DTD settles which element may be where; the reader settles everything else, since the grammar leaves what
// an attribute may hold to it. readSamplePlan() then walks the document once, in a fixed order: for each
// stage its method, strata, clusters, size or rate, measure of size and output names, then the rules that
// concern several stages, then the weights.
//
// How words become a design. selectionMethod="pps_wor" and its like are looked up in a table of words and
// give the stage's type. A quantity (a size, a rate) has three forms, of which each may come from the plan or
// the data: a single value, the name of a variable, or a table with one number for each combination of
// categories. All names stay texts here. The command parser looks them up in the active file later, so a plan
// can be read and shown without any data.
//
// The order of checks is the order of reading. A plan with several faults gets one message, and which one it
// is depends on this order, so it is part of the behaviour. Reading goes on after a fault, to fill the
// records for a caller that shows the plan. Two rules combine the codes, FirstFault() and LastFault(); see
// PlanElements.h. The message of a code is fixed and has no place. So whatever returns a code also says what
// it found, by Fault(), and Faults() has all of it, with the place of each.
//
// Numbers are read as C++ streams read them in the classic locale: leading blanks are skipped, reading stops
// at the first character that doesn't belong to a number, and a text without a number is 0. "12abc" is
// therefore 12, and "2,5" is 2. Such a text is accepted, but noted in MisreadNumbers().
//
// The source is split in five: PlanXmlReader.cpp has the parse and the design as a whole,
// PlanXmlReaderStages.cpp the stages, PlanXmlReaderParts.cpp what stages are made of, PlanXmlReaderLines.cpp
// what is said about a plan, PlanXmlWords.cpp the words that nothing reads.

namespace SV_XML {

class PlanDomParser;

// PlanXmlReader fills the records of a plan from a plan file and checks it on the way.
//
// Use:        construct on an empty SVPlanSpecs, read once, destroy. The XML library must be initialised,
//             which it is while a HostSession exists.
// Ownership:  owns parser, document and converter; borrows the records, which keep no reference to the
//             document.
// Results:    0, or a code of PlanReadErrors: the first fault in the order of reading. The records then hold
//             everything that could be read.
// Failures:   throws nothing. A file that can't be parsed is code 1. So is a document that lacks an element
//             that a valid one has, if no other code fits.
// Bounds:     those of PlanDomParser and PlanFileSource. A plan with too many stages is read up to
//             kMaxStagesRead of them. A list or table of more than kMaxPlanListVariables variables is code 1.
// Threads:    one.
class PlanXmlReader : public PlanSource {
public:
  explicit PlanXmlReader(SVPlanSpecs* plan);
  ~PlanXmlReader() override;
  PlanXmlReader(const PlanXmlReader&) = delete;
  PlanXmlReader& operator=(const PlanXmlReader&) = delete;

  static constexpr std::size_t kMaxStagesRead = 20;

  // Reads the sample design of the plan file.
  int readSamplePlan(std::string path) override;

  // Reads the analysis design, for procedures that estimate from a sample. No command of this program does.
  int readAnalysisPlan(std::string path);

  // Parses the file. True if there is a document; it is replaced by the next parse.
  bool parseFile(const std::string& path);

  // An element that is misplaced, or missing from another, ends the parse, and its place is the end of the
  // element around it. There is no place if the file couldn't be read or exceeded a bound.
  std::vector<std::string> Faults() const override { return fFaults.All(); }

  // A number of stages, variables or rows that isn't theirs, rows of a table with the same categories, names
  // that aren't the grammar's, what is there twice or beside something that counts instead.
  std::vector<std::string> Contradictions() const override { return fContradictions.All(); }

  std::string LineAboutName(const KorvVarName& name, const std::string& what) const override;
  std::string LineAboutRow(int stage, int row, const std::string& what) const override;

  const std::vector<std::string>& MisreadNumbers() const override { return fvMisread; }

private:
  using Element = xercesc::DOMElement;

  // What both reads share: `readDesign` reads the child `designName` of the root; `absent` is the code if
  // that child is missing.
  int ReadPlan(std::string path, int mode, const XMLCh* designName, int absent,
               int (PlanXmlReader::*readDesign)(const Element*));
  void ReadTitle();
  int ReadSampleDesign(const Element* design);
  int ReadAnalysisDesign(const Element* design);
  int ReadDesignWeight(const Element* design, const XMLCh* name, KorvVarName* weight);
  int ReadSrsEstimator(const Element* design);

  // Stages, numbered from 1. A function that takes the running code returns it unchanged if it isn't 0, else
  // its own first fault.
  int MakeStages(const std::vector<const Element*>& elements);
  int ReadSampleStages(const Element* design);
  int ReadAnalysisStages(const Element* design);
  int ReadSampleStage(const Element* element, int number, int runningCode);
  int ReadAnalysisStage(const Element* element, int number, int runningCode);
  void ReadStageHead(const Element* element, SVPlanStageSpecs* stage);
  int ReadSelectionMethod(const Element* element, int number, SVPlanStageSpecs* stage);
  int ReadEstimationMethod(const Element* element, int number, SVPlanStageSpecs* stage);
  int ReadSizeOrRate(const Element* element, int number, int runningCode);
  int ReadRateBounds(const Element* rate, SVPlanStageSpecs* stage, int runningCode);
  int ReadMos(const Element* stage);
  int ReadOutputs(const Element* element, SVPlanStageSpecs* stage);
  int CheckOnlyStage(const Element* element);
  int CheckClusters(const std::vector<const Element*>& elements);

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
  int CheckValue(const Element* element, const XMLCh* attribute, std::int32_t paramKind, double value);
  int CheckCrossedBounds(const Element* parent, double least, double most);
  void CheckRepeatedRows(const Element* matrix, const VarCatList& table);

  // Texts and numbers of attributes. A missing attribute reads as the empty text, or as 0.
  std::string Text(const Element* element, const XMLCh* name) const;
  int Integer(const Element* element, const XMLCh* name);
  double Number(const Element* element, const XMLCh* name);
  template <class Value>
  Value Extract(const Element* element, const std::string& text);

  // Words of a sample design that nothing reads. REQUIRES: the element is one of the grammar's.
  void CheckWords(const Element* element);
  void CheckAttributes(const Element* element, const std::vector<std::string>& known);
  void CheckStageWords(const Element* stage, int number);
  void CheckForms(const Element* holder);
  void NoteUnknownWord(const Element* at, const std::string& what, const std::string& name,
                       const std::vector<std::string>& known);
  std::string NameOf(const xercesc::DOMNode* node) const;

  // What is wrong, and where. Fault() returns the code.
  int Fault(int code, const Element* at, const std::string& what);
  int Fault(const PlanFault& fault, const Element* at);
  void NoteContradiction(const Element* at, const std::string& what);
  void CheckTwoUnits(const Element* request, const SVPlanStageSpecs& stage);
  void CheckCount(const Element* element, const XMLCh* attribute, std::size_t count, const char* ofWhat);
  std::string LineAbout(PlanPosition at, const std::string& what) const;
  std::string LineAbout(const Element* at, const std::string& what) const;

  const xercesc::DOMDocument* fpDocument = nullptr;  // owned by the parser; null until a file was parsed
  SVPlanSpecs* fpPlan;                               // borrowed, never null
  std::unique_ptr<PlanDomParser> fpParser;
  KORVMBConverter* fpConverter;  // owned
  std::string fPath;             // as the caller named it
  int fStage = 0;                // the stage that is being read, for the lines; 0 outside the stages
  PlanLines fFaults;
  PlanLines fContradictions;
  std::vector<std::string> fvMisread;
  // The plan's path in the host's repository of shared files. This host has no repository, so it stays empty.
  std::string fRepositoryPath;
};

}  // namespace SV_XML
