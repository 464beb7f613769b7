#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <xercesc/framework/LocalFileInputSource.hpp>

namespace SV_XML {

class PlanDomParser;

// Opens a file of a plan to read: a regular file, and nothing else, so that a folder or a device fails at once
// and a pipe without a writer can't block the run. Null if it isn't one or can't be opened; else the caller
// closes it.
std::FILE* OpenPlanFile(const std::string& path);

// PlanFileSource gives the XML parser a local file.
//
// It replaces the library's own file source for three reasons. The library converts the path to the locale's
// encoding and back, which loses the name of a file written in another encoding; here the file is opened by
// the bytes of its path. The library opens anything; here only regular files are read. And the library reads
// to the end; here a file larger than kMaxBytes isn't opened at all, since a single attribute that fills the file takes
// ten times its size in memory.
//
// Use:        pass to PlanDomParser::parse(), which calls makeStream().
// Ownership:  owns its path; borrows the parser.
// Failures:   a file that can't be opened gives no stream, which the parser reports as a file not found.
class PlanFileSource : public xercesc::LocalFileInputSource {
public:
  static constexpr long long kMaxBytes = 128LL << 20;
  static constexpr std::size_t kMaxSubsetBytes = std::size_t{1} << 18;

  // `wide` is the same path in UTF-16; the parser identifies the source by it.
  //
  // If `parser` is given, the file appears to end once the declarations inside the document are longer than
  // kMaxSubsetBytes. The bounds of PlanDomParser come too late there: the library stores every name of a
  // content model before it reports the declaration.
  // REQUIRES: the parser outlives the streams.
  PlanFileSource(std::string path, const std::u16string& wide, const PlanDomParser* parser = nullptr);

  // A new stream, owned by the parser; null if the file can't be read.
  xercesc::BinInputStream* makeStream() const override;

private:
  std::string fPath;
  const PlanDomParser* fpParser;  // borrowed; null for a file that isn't a plan
};

// Why the file can't be XML at all: it can't be read, is empty, or begins with something else. Empty if it may be.
std::string WhyNoXml(const std::string& path);

}  // namespace SV_XML
