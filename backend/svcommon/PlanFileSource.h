#pragma once

#include <cstddef>
#include <string>
#include <xercesc/framework/LocalFileInputSource.hpp>

namespace SV_XML {

class PlanDomParser;

// PlanFileSource is a local file for the XML parser. It opens the file by the very bytes of its path, in
// whatever locale, and reads regular files only, so that a folder or a device is an error at once and a pipe
// without a writer doesn't hold the run. A file of more than kMaxBytes isn't opened: an attribute that fills
// one takes ten times its size.
class PlanFileSource : public xercesc::LocalFileInputSource {
public:
  static constexpr long long kMaxBytes = 128LL << 20;
  static constexpr std::size_t kMaxSubsetBytes = std::size_t{1} << 18;

  // `wide` is the same path in UTF-16; the parser names the source by it. With a parser, the file of a plan
  // ends when its own declarations go on for more than kMaxSubsetBytes: the parser keeps each name that a
  // content model holds before it can be asked whether it wants to.
  // REQUIRES: the parser outlives the streams.
  PlanFileSource(std::string path, const std::u16string& wide, const PlanDomParser* parser = nullptr);

  // A new stream, null when the file can't be read. The parser owns it.
  xercesc::BinInputStream* makeStream() const override;

private:
  std::string fPath;
  const PlanDomParser* fpParser;  // borrowed; null for a file that isn't a plan
};

}  // namespace SV_XML
