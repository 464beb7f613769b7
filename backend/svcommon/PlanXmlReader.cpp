#include "backend/svcommon/PlanXmlReader.h"

#include <utility>
#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/sax/SAXParseException.hpp>

#include "backend/svcommon/PlanDomParser.h"
#include "backend/svcommon/PlanElements.h"
#include "backend/svcommon/PlanFileSource.h"
#include "backend/svcommon/PlanReadErrors.h"
#include "host/environment/PathFactory.h"
#include "host/text/NearestWord.h"
#include "host/text/TextConversion.h"

// The parse, and the parts of a plan that belong to the design as a whole. The order of reading is explained
// in the header; stages are in PlanXmlReaderStages.cpp.

namespace SV_XML {

PlanXmlReader::PlanXmlReader(SVPlanSpecs* plan)
    : fpPlan(plan), fpParser(std::make_unique<PlanDomParser>()), fpConverter(KORVMBConverterNew_A(0)) {}

PlanXmlReader::~PlanXmlReader() {
  fpDocument = nullptr;
  fpParser.reset();  // destroys the document too
  BEDepotRepos::BEDepotRemoveInputEntry(fRepositoryPath);
  KORVMBConverterDelete_A(fpConverter);
}

// A document is validated if it has a DOCTYPE, whatever the DOCTYPE says: XmlErrorHandler answers with our
// DTD. Without one it is read as it is, and missing elements show up as codes.
bool PlanXmlReader::parseFile(const std::string& path) {
  fpParser->setValidationScheme(xercesc::XercesDOMParser::Val_Auto);
  fpParser->setIncludeIgnorableWhitespace(false);
  XmlErrorHandler handler;
  fpParser->setErrorHandler(&handler);
  fpParser->setEntityResolver(&handler);
  fPath = path;
  bool isParsed = false;
  try {
    BEDepotRepos::BEDepotGetInputPath(path, fRepositoryPath);
    const std::string& local = fRepositoryPath.empty() ? path : fRepositoryPath;
    std::u16string wide;
    KORVMBGenericToU16(fpConverter, wide, local);
    fpParser->parse(PlanFileSource(local, wide, fpParser.get()));
    fpDocument = fpParser->getDocument();
    isParsed = fpDocument != nullptr;
  } catch (const xercesc::SAXParseException& fault) {
    // A file that couldn't be opened is a fault without a place.
    const PlanPosition place = {.line = fault.getLineNumber(), .column = fault.getColumnNumber()};
    const std::string why = WhyNoXml(fPath);
    fFaults.Add(LineAbout(place, !why.empty()
                                     ? why
                                     : "not well-formed XML here, or not what the plan format has in "
                                       "the element that stands or ends here"));
  } catch (...) {
    // The library throws several unrelated types: its I/O and its memory exceptions, the SAXException of our
    // own bounds. None has a position, and the user gets the same message for all.
    fFaults.Add(LineAbout(PlanPosition(), "the file can't be read, or is larger than a plan may be"));
  }
  fpParser->setErrorHandler(nullptr);
  fpParser->setEntityResolver(nullptr);
  return isParsed;
}

// Inside a sample design, a repeated variable has a message of its own.
int PlanXmlReader::readSamplePlan(std::string path) {
  const int code = ReadPlan(std::move(path), kSampleMode, u"SampleDesign", kPlanNoSampleDesign,
                            &PlanXmlReader::ReadSampleDesign);
  return code == kPlanRepeatedVariable ? kPlanRepeatedInSampleDesign : code;
}

int PlanXmlReader::readAnalysisPlan(std::string path) {
  return ReadPlan(std::move(path), kAnalysisMode, u"AnalysisDesign", kPlanNoAnalysisDesign,
                  &PlanXmlReader::ReadAnalysisDesign);
}

int PlanXmlReader::ReadPlan(std::string path, int mode, const XMLCh* designName, int absent,
                            int (PlanXmlReader::*readDesign)(const Element*)) {
  if (!parseFile(path)) return kPlanInvalidFile;
  try {
    fpPlan->mode = mode;
    fpPlan->file = std::move(path);
    ReadTitle();
    const Element* const design = FindChild(fpDocument->getDocumentElement(), designName);
    if (design != nullptr) return (this->*readDesign)(design);
    return Fault(absent, fpDocument->getDocumentElement(),
                 mode == kSampleMode ? "the plan has no SampleDesign" : "the plan has no AnalysisDesign");
  } catch (...) {
    // Nothing in the walk throws on purpose. What arrives here comes from the XML library or from allocation,
    // and its type says nothing that the user could act on; the records may be half filled.
    return kPlanInvalidFile;
  }
}

// A title has no place of its own in XML. It is carried and never shown.
void PlanXmlReader::ReadTitle() {
  const Element* const annotation =
      FindChild(FindChild(fpDocument->getDocumentElement(), u"Header"), u"Annotation");
  if (annotation != nullptr) KORVMBU16ToGeneric(fpConverter, fpPlan->title, annotation->getTextContent());
}

// The weights are read last, though PreviousWeight comes first in a run: a fault in a stage is reported
// before a fault in a weight.
int PlanXmlReader::ReadSampleDesign(const Element* design) {
  if (IsWord(design, u"wrEstimation", u"yes")) fpPlan->estimation = kSamplingWr;
  int code = ReadSampleStages(design);
  fStage = 0;
  CheckWords(design);
  const std::string word = Text(design, u"wrEstimation");
  if (!word.empty() && word != "yes" && word != "no")
    NoteContradiction(design, "wrEstimation is " + QuotedWord(word) + ", which counts as no");
  code = FirstFault(code, ReadDesignWeight(design, u"PreviousWeight", &fpPlan->previousWeight));
  return FirstFault(code, ReadDesignWeight(design, u"Weight", &fpPlan->weight));
}

int PlanXmlReader::ReadAnalysisDesign(const Element* design) {
  int code = ReadAnalysisStages(design);
  fStage = 0;
  code = FirstFault(code, ReadDesignWeight(design, u"Weight", &fpPlan->weight));
  return code != 0 ? code : ReadSrsEstimator(design);
}

// A weight that is missing is no fault here. The command parser refuses a plan without a final weight.
int PlanXmlReader::ReadDesignWeight(const Element* design, const XMLCh* name, KorvVarName* weight) {
  const Element* const variable = FindChild(FindChild(design, name), u"Variable");
  return variable == nullptr ? 0 : ReadName(variable, weight);
}

// A missing attribute reads as the empty word and keeps the default, without replacement.
int PlanXmlReader::ReadSrsEstimator(const Element* design) {
  constexpr const XMLCh* kName = u"SRSestimator";
  if (IsWord(design, kName, u"wor")) {
    fpPlan->srsEstimator = kSamplingWor;
  } else if (IsWord(design, kName, u"wr")) {
    fpPlan->srsEstimator = kSamplingWr;
  } else if (!IsWord(design, kName, u"")) {
    return Fault(kPlanIllegalSrsEstimator, design,
                 QuotedWord(Text(design, kName)) + " is neither wor nor wr");
  }
  return 0;
}

}  // namespace SV_XML
