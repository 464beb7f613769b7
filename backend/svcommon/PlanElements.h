#pragma once

#include <cstddef>
#include <string_view>
#include <vector>
#include <xercesc/util/XercesDefs.hpp>

XERCES_CPP_NAMESPACE_BEGIN
class DOMElement;
class DOMNode;
XERCES_CPP_NAMESPACE_END

// How the plan reader finds its way in a document, and joins the codes of what it finds.
namespace SV_XML {

// The first direct child element of that name, null when there is none or no parent.
const xercesc::DOMElement* FindChild(const xercesc::DOMNode* parent, const XMLCh* name);

// The next element after `node` among its siblings, itself included; null at the end. For walks over the
// child elements of whatever name.
const xercesc::DOMElement* ElementFrom(const xercesc::DOMNode* node);

// The elements of that name at any depth below the parent, in document order, the first `most` of them.
std::vector<const xercesc::DOMElement*> FindAll(const xercesc::DOMElement* parent, const XMLCh* name,
                                                std::size_t most);

// Whether the attribute has exactly that text.
bool IsWord(const xercesc::DOMElement* element, const XMLCh* attribute, const XMLCh* word);
bool IsWord(const xercesc::DOMElement* element, const XMLCh* attribute, std::string_view asciiWord);

// The running code of a plan keeps its first fault; a part of a plan tells its last.
inline int FirstFault(int code, int next) {
  return code != 0 ? code : next;
}
inline int LastFault(int code, int next) {
  return next != 0 ? next : code;
}

}  // namespace SV_XML
