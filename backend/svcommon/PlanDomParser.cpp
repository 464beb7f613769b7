#include "backend/svcommon/PlanDomParser.h"

#include <string>
#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMElement.hpp>
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

namespace {

// The one way to end a parse at a bound. The text is never shown: the plan reader reports an invalid file.
void RefuseIf(bool isBeyondBound) {
  if (isBeyondBound) throw xercesc::SAXException("the plan is beyond a bound of its reader");
}

// The node after `node` in document order; null at the end. A loop, since documents can be deep.
const xercesc::DOMNode* NextNode(const xercesc::DOMNode* node) {
  if (node->getFirstChild() != nullptr) return node->getFirstChild();
  while (node != nullptr && node->getNextSibling() == nullptr) node = node->getParentNode();
  return node == nullptr ? nullptr : node->getNextSibling();
}

}  // namespace

// --- XmlErrorHandler --------------------------------------------------------------------------------------

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

// --- PlanDomParser ----------------------------------------------------------------------------------------

// The library counts expansions of general entities itself; all other counts are kept here.
PlanDomParser::PlanDomParser() {
  fSecurity.setEntityExpansionLimit(kMaxExpansions);
  setSecurityManager(&fSecurity);
}

void PlanDomParser::startDocument() {
  fbInSubset = false;
  fNodes = 0;
  fNames.clear();
  fvPlaces.clear();
  fHere = {.line = 1, .column = 1};
  if (const XMLCh* id = getScanner()->getLocator()->getSystemId(); id != nullptr) fDocumentId = id;
  XercesDOMParser::startDocument();
}

// The bounds are tested before the base class builds anything of the element.
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
  fvPlaces.push_back(fHere);
  XercesDOMParser::startElement(declaration, uri, prefix, attributes, attributeCount, isEmpty, isRoot);
  Arrive();
}

// An empty element ends within startElement().
void PlanDomParser::endElement(const xercesc::XMLElementDecl& declaration, unsigned int uri, bool isRoot,
                               const XMLCh* prefix) {
  XercesDOMParser::endElement(declaration, uri, isRoot, prefix);
  Arrive();
}

// The library hands over a text in pieces, each of which becomes a node or part of one; counting pieces is on
// the safe side.
void PlanDomParser::docCharacters(const XMLCh* text, XMLSize_t length, bool isCdata) {
  CountNodes(1);
  XercesDOMParser::docCharacters(text, length, isCdata);
  Arrive();
}

void PlanDomParser::ignorableWhitespace(const XMLCh* text, XMLSize_t length, bool isCdata) {
  XercesDOMParser::ignorableWhitespace(text, length, isCdata);
  Arrive();
}

void PlanDomParser::docComment(const XMLCh* text) {
  CountNodes(1);
  XercesDOMParser::docComment(text);
  Arrive();
}

void PlanDomParser::docPI(const XMLCh* target, const XMLCh* data) {
  CountNodes(1);
  CountName(target);
  XercesDOMParser::docPI(target, data);
  Arrive();
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

// An internal parameter entity is replacement text for declarations: the classic way to blow a document up.
// An external one can only resolve to the product's DTD, so it does no harm.
void PlanDomParser::entityDecl(const xercesc::DTDEntityDecl& declaration, bool isParameter, bool isIgnored) {
  RefuseIf(isParameter && !declaration.isExternal());
  RefuseIf(declaration.getValueLen() > kMaxEntityLength);
  XercesDOMParser::entityDecl(declaration, isParameter, isIgnored);
}

// The library builds elements in the order in which it reports them, so the number of an element in document
// order is its index here.
PlanPosition PlanDomParser::PlaceOf(const xercesc::DOMElement* element) const {
  const xercesc::DOMNode* node = element->getOwnerDocument()->getDocumentElement();
  std::size_t index = 0;
  for (; node != nullptr && node != element; node = NextNode(node)) {
    if (node->getNodeType() == xercesc::DOMNode::ELEMENT_NODE) ++index;
  }
  if (node == nullptr || index >= fvPlaces.size()) return {};
  return {.line = fvPlaces[index].line, .column = fvPlaces[index].column};
}

// Notes where the parser is. Within an entity that is where the plan refers to it.
void PlanDomParser::Arrive() {
  const xercesc::Locator* const locator = getScanner()->getLocator();
  fHere = {.line = static_cast<std::uint32_t>(locator->getLineNumber()),
           .column = static_cast<std::uint32_t>(locator->getColumnNumber())};
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

// Compares system identifiers, since the parser gives no other way to tell one input from another. Without an
// identifier the text counts as the document's, which refuses more, not less.
bool PlanDomParser::IsInDocument() const {
  const XMLCh* const id = getScanner()->getLocator()->getSystemId();
  return id == nullptr || fDocumentId == id;
}

}  // namespace SV_XML
