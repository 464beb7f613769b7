#pragma once

#include <cstddef>
#include <string_view>
#include <vector>
#include <xercesc/util/XercesDefs.hpp>

XERCES_CPP_NAMESPACE_BEGIN
class DOMElement;
class DOMNode;
XERCES_CPP_NAMESPACE_END

// Small helpers of the plan reader: finding elements in a document, and combining fault codes.
//
// All of them accept a document that lacks what is looked for: the grammar of plans checks most of what may
// be missing, but a plan without a reference to the grammar is read as well.
namespace SV_XML {

// The first direct child element of that name. Null if it is missing or `parent` is null, so that calls can
// be chained: FindChild(FindChild(design, u"Weight"), u"Variable").
const xercesc::DOMElement* FindChild(const xercesc::DOMNode* parent, const XMLCh* name);

// `node` itself if it is an element, else the next sibling that is one; null at the end. For loops over child
// elements whatever their names.
const xercesc::DOMElement* ElementFrom(const xercesc::DOMNode* node);

// The first `most` elements of that name at any depth below the parent, in document order.
std::vector<const xercesc::DOMElement*> FindAll(const xercesc::DOMElement* parent, const XMLCh* name,
                                                std::size_t most);

// Whether the attribute's value is exactly that word. Words of a plan are case-sensitive, unlike its names.
bool IsWord(const xercesc::DOMElement* element, const XMLCh* attribute, const XMLCh* word);
bool IsWord(const xercesc::DOMElement* element, const XMLCh* attribute, std::string_view asciiWord);

// How fault codes are combined. A plan as a whole reports its first fault, a part of it (a list of variables,
// a table, the measure of size) its last. There is no deeper reason; which message a faulty plan gets depends
// on it, so it stays.
inline int FirstFault(int code, int next) {
  return code != 0 ? code : next;
}
inline int LastFault(int code, int next) {
  return next != 0 ? next : code;
}

}  // namespace SV_XML
