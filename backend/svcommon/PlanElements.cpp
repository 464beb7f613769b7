#include "backend/svcommon/PlanElements.h"

#include <algorithm>
#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMNodeList.hpp>
#include <xercesc/util/XMLString.hpp>

namespace SV_XML {

const xercesc::DOMElement* ElementFrom(const xercesc::DOMNode* node) {
  while (node != nullptr && node->getNodeType() != xercesc::DOMNode::ELEMENT_NODE) {
    node = node->getNextSibling();
  }
  return static_cast<const xercesc::DOMElement*>(node);
}

const xercesc::DOMElement* FindChild(const xercesc::DOMNode* parent, const XMLCh* name) {
  if (parent == nullptr) return nullptr;
  const xercesc::DOMElement* child = ElementFrom(parent->getFirstChild());
  while (child != nullptr && !xercesc::XMLString::equals(child->getNodeName(), name)) {
    child = ElementFrom(child->getNextSibling());
  }
  return child;
}

std::vector<const xercesc::DOMElement*> FindAll(const xercesc::DOMElement* parent, const XMLCh* name,
                                                std::size_t most) {
  // This is one walk over the tree, not one per item: the list remembers the item that was asked for last and
  // searches on from there. Asking for its length first would undo that.
  const xercesc::DOMNodeList* const list = parent->getElementsByTagName(name);
  std::vector<const xercesc::DOMElement*> found;
  while (found.size() < most) {
    const xercesc::DOMNode* const item = list->item(found.size());
    if (item == nullptr) break;
    found.push_back(static_cast<const xercesc::DOMElement*>(item));
  }
  return found;
}

bool IsWord(const xercesc::DOMElement* element, const XMLCh* attribute, const XMLCh* word) {
  return xercesc::XMLString::equals(element->getAttribute(attribute), word);
}

bool IsWord(const xercesc::DOMElement* element, const XMLCh* attribute, std::string_view asciiWord) {
  const std::u16string_view text = element->getAttribute(attribute);
  return std::equal(text.begin(), text.end(), asciiWord.begin(), asciiWord.end());
}

}  // namespace SV_XML
