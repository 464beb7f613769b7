#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include "backend/svcommon/PlanLines.h"

// Reading a plan file as XML, safely.
//
// A plan may come from anyone: a colleague, a web page, an attachment. An XML parser left to its defaults
// will read other files and the net on the document's behalf, and can be made to use up all memory by a file
// of a few hundred bytes. So two classes stand between the plan reader and the XML library:
//
//   XmlErrorHandler   turns every complaint of the library into the end of the parse, and answers every
//                     reference to another file with the plan grammar that ships with the product.
//   PlanDomParser     counts what the library builds and stops it at fixed bounds. It also notes where each
//                     element begins, which the library's documents don't know.
//
// A third bound, on the bytes of the file, belongs to PlanFileSource.
//
// Why each bound is there. The library
//   - builds a document at about 250 bytes and a microsecond per node: kMaxNodes;
//   - looks up names, and the attributes of one element, in lists, at a cost that grows with the square of
//     their number: kMaxNames, kMaxAttributes;
//   - expands entities that name other entities, which doubles the text at each level: kMaxExpansions, and
//     kMaxEntityLength for what a single expansion can add;
//   - expands parameter entities, and entities in default values of attributes, without counting them. Both
//     need declarations inside the document, which a plan has no use for, so these are refused altogether;
//   - compiles content models to automata that can grow exponentially; likewise only declarations can do it.
// The values of attributes go into messages and tables, again and again: kMaxAttributeLength.
//
// Every bound is far above what a person or a planning tool would write.

namespace SV_XML {

// XmlErrorHandler makes the XML parser strict and keeps it away from other files: any report of the parser,
// even a warning, ends the parse, and any reference of a document resolves to the product's own plan grammar.
class XmlErrorHandler : public xercesc::HandlerBase {
public:
  // Returns the product's DTD; both identifiers are ignored on purpose. The parser owns the result.
  xercesc::InputSource* resolveEntity(const XMLCh* publicId, const XMLCh* systemId) override;

  // Each throws a copy of the exception, which ends the parse.
  void warning(const xercesc::SAXParseException& exception) override;
  void error(const xercesc::SAXParseException& exception) override;
  void fatalError(const xercesc::SAXParseException& exception) override;
};

// PlanDomParser is the XML library's DOM parser with bounds. No document takes more than a few seconds and a
// fraction of the memory of an office machine.
//
// Use:        as the base class; the counters start afresh with each document.
// Ownership:  owns the document that it builds, as the base class does.
// Threads:    one.
// Failures:   a document beyond a bound ends the parse with an exception that has no position, as opposed to
//             a fault of the document, whose exception says where it is.
class PlanDomParser : public xercesc::XercesDOMParser {
public:
  static constexpr std::size_t kMaxNodes = 2'000'000;  // elements, attributes, texts, comments, instructions
  static constexpr std::size_t kMaxNames = 1000;       // different names of elements and attributes
  static constexpr std::size_t kMaxAttributes = 100;   // of one element
  static constexpr std::size_t kMaxAttributeLength = std::size_t{1} << 20;  // characters
  static constexpr std::size_t kMaxEntityLength = 4096;                     // characters
  static constexpr std::size_t kMaxExpansions = 10'000;                     // of entities, nested ones too

  PlanDomParser();

  // Whether the parser is reading the declarations inside the document, before its root element. The file
  // source asks, to limit their length: see PlanFileSource.
  bool IsInSubset() const { return fbInSubset; }

  // Where an element of the current document begins. REQUIRES: the parser has built it.
  // Cost: a walk over the document up to the element.
  PlanPosition PlaceOf(const xercesc::DOMElement* element) const;

protected:
  void startDocument() override;
  void startElement(const xercesc::XMLElementDecl& declaration, unsigned int uri, const XMLCh* prefix,
                    const xercesc::RefVectorOf<xercesc::XMLAttr>& attributes, XMLSize_t attributeCount,
                    bool isEmpty, bool isRoot) override;
  void endElement(const xercesc::XMLElementDecl& declaration, unsigned int uri, bool isRoot,
                  const XMLCh* prefix) override;
  void docCharacters(const XMLCh* text, XMLSize_t length, bool isCdata) override;
  void ignorableWhitespace(const XMLCh* text, XMLSize_t length, bool isCdata) override;
  void docComment(const XMLCh* text) override;
  void docPI(const XMLCh* target, const XMLCh* data) override;

  void startIntSubset() override;
  void endIntSubset() override;

  // A document may declare general entities, and an external parameter entity, which then resolves to the
  // DTD. Elements and attributes may be declared in the DTD only.
  void elementDecl(const xercesc::DTDElementDecl& declaration, bool isIgnored) override;
  void startAttList(const xercesc::DTDElementDecl& declaration) override;
  void entityDecl(const xercesc::DTDEntityDecl& declaration, bool isParameter, bool isIgnored) override;

private:
  // Lets the set be searched by a view, without a copy of the name.
  struct NameHash : std::hash<std::u16string_view> {
    using is_transparent = void;
  };

  // Line and column in 8 bytes, since a document can have kMaxNodes elements. A plan has fewer than 2^32
  // bytes.
  struct Place {
    std::uint32_t line;
    std::uint32_t column;
  };

  void Arrive();
  void CountNodes(std::size_t count);
  void CountName(std::u16string_view name);
  bool IsInDocument() const;  // the text being read is the document's own, not the DTD's

  xercesc::SecurityManager fSecurity;
  std::u16string fDocumentId;  // system identifier of the document, to tell it from the DTD
  bool fbInSubset = false;
  std::size_t fNodes = 0;
  // Where the last event ended. The parser reports an element only after its start tag; the tag begins where
  // the event before it ended.
  Place fHere = {};
  std::vector<Place> fvPlaces;  // of all elements, in document order
  std::unordered_set<std::u16string, NameHash, std::equal_to<>> fNames;
};

}  // namespace SV_XML
