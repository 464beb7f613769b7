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
#include "host/text/TextConversion.h"

namespace SV_XML {

PlanXmlReader::PlanXmlReader(SVPlanSpecs* plan)
    : fpPlan(plan), fpParser(std::make_unique<PlanDomParser>()), fpConverter(KORVMBConverterNew_A(0)) {}

PlanXmlReader::~PlanXmlReader() {
  fpDocument = nullptr;
  fpParser.reset();  // and with it the document
  BEDepotRepos::BEDepotRemoveInputEntry(fRepositoryPath);
  KORVMBConverterDelete_A(fpConverter);
}

bool PlanXmlReader::parseFile(const std::string& path) {
  fpParser->setValidationScheme(xercesc::XercesDOMParser::Val_Auto);
  fpParser->setIncludeIgnorableWhitespace(false);
  XmlErrorHandler handler;
  fpParser->setErrorHandler(&handler);
  fpParser->setEntityResolver(&handler);
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
    fFaultPosition = {.line = fault.getLineNumber(), .column = fault.getColumnNumber()};
  } catch (...) {  // of whatever type: the library throws several, its own want of memory among them
    fFaultPosition = {};
  }
  fpParser->setErrorHandler(nullptr);
  fpParser->setEntityResolver(nullptr);
  return isParsed;
}

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
    const Element* const design = FindChild(fpDocument->getDocumentElement(), designName);
    return design == nullptr ? absent : (this->*readDesign)(design);
  } catch (...) {  // a document that can't be walked for want of memory
    return kPlanInvalidFile;
  }
}

int PlanXmlReader::ReadSampleDesign(const Element* design) {
  if (IsWord(design, u"wrEstimation", u"yes")) fpPlan->estimation = kSamplingWr;
  int code = ReadSampleStages(design);
  code = FirstFault(code, ReadDesignWeight(design, u"PreviousWeight", &fpPlan->previousWeight));
  return FirstFault(code, ReadDesignWeight(design, u"Weight", &fpPlan->weight));
}

int PlanXmlReader::ReadAnalysisDesign(const Element* design) {
  int code = ReadAnalysisStages(design);
  code = FirstFault(code, ReadDesignWeight(design, u"Weight", &fpPlan->weight));
  return code != 0 ? code : ReadSrsEstimator(design);
}

int PlanXmlReader::ReadDesignWeight(const Element* design, const XMLCh* name, KorvVarName* weight) {
  const Element* const variable = FindChild(FindChild(design, name), u"Variable");
  return variable == nullptr ? 0 : ReadName(variable, weight);
}

int PlanXmlReader::ReadSrsEstimator(const Element* design) {
  constexpr const XMLCh* kName = u"SRSestimator";
  if (IsWord(design, kName, u"wor")) {
    fpPlan->srsEstimator = kSamplingWor;
  } else if (IsWord(design, kName, u"wr")) {
    fpPlan->srsEstimator = kSamplingWr;
  } else if (!IsWord(design, kName, u"")) {
    return kPlanIllegalSrsEstimator;
  }
  return 0;
}

}  // namespace SV_XML
