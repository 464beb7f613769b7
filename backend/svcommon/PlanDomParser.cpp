#include "backend/svcommon/PlanDomParser.h"

#include <string>
#include <xercesc/framework/XMLAttr.hpp>
#include <xercesc/framework/XMLElementDecl.hpp>
#include <xercesc/framework/XMLEntityDecl.hpp>
#include <xercesc/internal/XMLScanner.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/RefVectorOf.hpp>
#include <xercesc/validators/DTD/DTDEntityDecl.hpp>

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

namespace SV_XML {

namespace {

void RefuseIf(bool isBeyondBound) {
  if (isBeyondBound) throw xercesc::SAXException("the plan is beyond a bound of its reader");
}

}  // namespace

PlanDomParser::PlanDomParser() {
  fSecurity.setEntityExpansionLimit(kMaxExpansions);
  setSecurityManager(&fSecurity);
}

void PlanDomParser::startDocument() {
  fbInSubset = false;
  fNodes = 0;
  fNames.clear();
  if (const XMLCh* id = getScanner()->getLocator()->getSystemId(); id != nullptr) fDocumentId = id;
  XercesDOMParser::startDocument();
}

void PlanDomParser::startElement(const xercesc::XMLElementDecl& declaration, unsigned int uri,
                                 const XMLCh* prefix,
                                 const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes,
                                 XMLSize_t attributeCount, bool isEmpty, bool isRoot) {
  RefuseIf(attributeCount > kMaxAttributes);
  CountNodes(1 + attributeCount);
  CountName(declaration.getFullName());
  for (XMLSize_t i = 0; i < attributeCount; ++i) {
    const xercesc::XMLAttr& attribute = *attributes.elementAt(i);
    CountName(attribute.getQName());
    RefuseIf(std::u16string_view(attribute.getValue()).size() > kMaxAttributeLength);
  }
  XercesDOMParser::startElement(declaration, uri, prefix, attributes, attributeCount, isEmpty, isRoot);
}

void PlanDomParser::docCharacters(const XMLCh* text, XMLSize_t length, bool isCdata) {
  CountNodes(1);
  XercesDOMParser::docCharacters(text, length, isCdata);
}

void PlanDomParser::docComment(const XMLCh* text) {
  CountNodes(1);
  XercesDOMParser::docComment(text);
}

void PlanDomParser::docPI(const XMLCh* target, const XMLCh* data) {
  CountNodes(1);
  CountName(target);
  XercesDOMParser::docPI(target, data);
}

void PlanDomParser::startIntSubset() {
  fbInSubset = true;
  XercesDOMParser::startIntSubset();
}

void PlanDomParser::endIntSubset() {
  fbInSubset = false;
  XercesDOMParser::endIntSubset();
}

void PlanDomParser::elementDecl(const xercesc::DTDElementDecl& declaration, bool isIgnored) {
  RefuseIf(IsInDocument());
  XercesDOMParser::elementDecl(declaration, isIgnored);
}

void PlanDomParser::startAttList(const xercesc::DTDElementDecl& declaration) {
  RefuseIf(IsInDocument());
  XercesDOMParser::startAttList(declaration);
}

void PlanDomParser::entityDecl(const xercesc::DTDEntityDecl& declaration, bool isParameter, bool isIgnored) {
  RefuseIf(isParameter && !declaration.isExternal());
  RefuseIf(declaration.getValueLen() > kMaxEntityLength);
  XercesDOMParser::entityDecl(declaration, isParameter, isIgnored);
}

void PlanDomParser::CountNodes(std::size_t count) {
  fNodes += count;
  RefuseIf(fNodes > kMaxNodes);
}

void PlanDomParser::CountName(std::u16string_view name) {
  if (fNames.contains(name)) return;
  RefuseIf(fNames.size() == kMaxNames);
  fNames.emplace(name);
}

bool PlanDomParser::IsInDocument() const {
  const XMLCh* const id = getScanner()->getLocator()->getSystemId();
  return id == nullptr || fDocumentId == id;
}

}  // namespace SV_XML
