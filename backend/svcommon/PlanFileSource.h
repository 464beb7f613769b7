#pragma once

#include <string>
#include <xercesc/framework/LocalFileInputSource.hpp>

namespace SV_XML {

// PlanFileSource is a local file for the XML parser. It opens the file by the very bytes of its path, in
// whatever locale, and reads regular files only, so that a folder or a device is an error at once and a pipe
// without a writer doesn't hold the run. A file of more than kMaxBytes isn't opened.
class PlanFileSource : public xercesc::LocalFileInputSource {
public:
  static constexpr long long kMaxBytes = 256LL << 20;

  // `wide` is the same path in UTF-16; the parser names the source by it.
  PlanFileSource(std::string path, const std::u16string& wide);

  // A new stream, null when the file can't be read. The parser owns it.
  xercesc::BinInputStream* makeStream() const override;

private:
  std::string fPath;
};

}  // namespace SV_XML
