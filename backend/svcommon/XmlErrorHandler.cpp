#include "backend/svcommon/XmlErrorHandler.h"

#include <string>
#include <xercesc/sax/SAXParseException.hpp>

#include "backend/svcommon/PlanFileSource.h"
#include "host/environment/PathFactory.h"
#include "host/text/TextConversion.h"

namespace SV_XML {

xercesc::InputSource* XmlErrorHandler::resolveEntity(const XMLCh*, const XMLCh*) {
  PathFinder* const finder = PathFactory::getPathInstance(PathFactory::kApplicationData);
  const std::string path = finder->DataFolder() + "korv-survey-plans-1.0.dtd";
  char16_t* const wide = KORVMBTranscodeGeneric(path);
  const std::u16string systemId = wide;
  KORVMBRelease(wide);
  return new PlanFileSource(path, systemId);
}

void XmlErrorHandler::warning(const xercesc::SAXParseException& exception) {
  throw xercesc::SAXParseException(exception);
}

void XmlErrorHandler::error(const xercesc::SAXParseException& exception) {
  throw xercesc::SAXParseException(exception);
}

void XmlErrorHandler::fatalError(const xercesc::SAXParseException& exception) {
  throw xercesc::SAXParseException(exception);
}

}  // namespace SV_XML
