#pragma once

#include <xercesc/sax/HandlerBase.hpp>

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
