#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>
#include <xercesc/util/SecurityManager.hpp>

namespace SV_XML {

// XmlErrorHandler makes the XML parser strict and keeps it at home: whatever it reports, a warning too, ends
// the parse, and whatever a document refers to is the plans' DTD of the product, nothing else on disk or net.
class XmlErrorHandler : public xercesc::HandlerBase {
public:
  // The product's DTD. Neither identifier is looked at. The parser owns the result.
  xercesc::InputSource* resolveEntity(const XMLCh* publicId, const XMLCh* systemId) override;

  // Each throws a copy of the exception.
  void warning(const xercesc::SAXParseException& exception) override;
  void error(const xercesc::SAXParseException& exception) override;
  void fatalError(const xercesc::SAXParseException& exception) override;
};

}  // namespace SV_XML

namespace SV_XML {

// PlanDomParser is the XML library's DOM parser with bounds, so that no document, whatever its author had in
// mind, takes more than a few seconds and a fraction of the memory of an office machine. The library builds a
// document at about 250 bytes and a microsecond per node; names, and the attributes of one element, it looks
// up in ways whose cost grows with the square of their number; parameter entities, and the entities in
// default values of attributes, it expands without a limit, and content models can grow exponentially. What
// an attribute says goes into messages and tables, time and again. A document beyond a bound ends the parse
// with an exception, as any fault does.
class PlanDomParser : public xercesc::XercesDOMParser {
public:
  static constexpr std::size_t kMaxNodes = 2'000'000;  // elements, attributes, texts, comments, instructions
  static constexpr std::size_t kMaxNames = 1000;       // different names of elements and attributes
  static constexpr std::size_t kMaxAttributes = 100;   // of one element
  static constexpr std::size_t kMaxAttributeLength = std::size_t{1} << 20;  // characters
  static constexpr std::size_t kMaxEntityLength = 4096;                     // characters
  static constexpr std::size_t kMaxExpansions = 10'000;                     // of entities, nested ones too

  PlanDomParser();

  // The parser is reading the declarations in the document itself.
  bool IsInSubset() const { return fbInSubset; }

protected:
  void startDocument() override;
  void startElement(const xercesc::XMLElementDecl& declaration, unsigned int uri, const XMLCh* prefix,
                    const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t attributeCount,
                    bool isEmpty, bool isRoot) override;
  void docCharacters(const XMLCh* text, XMLSize_t length, bool isCdata) override;
  void docComment(const XMLCh* text) override;
  void docPI(const XMLCh* target, const XMLCh* data) override;

  void startIntSubset() override;
  void endIntSubset() override;

  // A document may declare entities: general ones, and parameter entities that stand for the DTD. What is
  // declared about elements and attributes stands in the DTD alone.
  void elementDecl(const xercesc::DTDElementDecl& declaration, bool isIgnored) override;
  void startAttList(const xercesc::DTDElementDecl& declaration) override;
  void entityDecl(const xercesc::DTDEntityDecl& declaration, bool isParameter, bool isIgnored) override;

private:
  // Compares names without copying them.
  struct NameHash : std::hash<std::u16string_view> {
    using is_transparent = void;
  };

  void CountNodes(std::size_t count);
  void CountName(std::u16string_view name);
  bool IsInDocument() const;  // what is being read stands in the document itself, not in the DTD

  xercesc::SecurityManager fSecurity;
  std::u16string fDocumentId;
  bool fbInSubset = false;
  std::size_t fNodes = 0;
  std::unordered_set<std::u16string, NameHash, std::equal_to<>> fNames;
};

}  // namespace SV_XML
