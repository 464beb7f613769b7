#include "backend/svcommon/PlanFileSource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>
#include <system_error>
#include <utility>
#include <xercesc/util/BinFileInputStream.hpp>

#include "backend/svcommon/PlanDomParser.h"

namespace SV_XML {

namespace {

constexpr std::size_t kLookBytes = 4096;  // far more blanks than anyone puts before a plan

// Reads the file in the library's way, and pretends that it ends where the declarations get too long.
class PlanFileStream : public xercesc::BinFileInputStream {
public:
  PlanFileStream(std::FILE* file, const PlanDomParser* parser)
      : BinFileInputStream(file, xercesc::XMLPlatformUtils::fgMemoryManager), fpParser(parser) {}

  // The parser reads ahead in blocks, so the limit holds to within a block.
  XMLSize_t readBytes(XMLByte* to, XMLSize_t most) override {
    const XMLSize_t count = BinFileInputStream::readBytes(to, most);
    if (fpParser != nullptr && fpParser->IsInSubset()) fSubsetBytes += count;
    return fSubsetBytes > PlanFileSource::kMaxSubsetBytes ? 0 : count;
  }

private:
  const PlanDomParser* fpParser;  // borrowed, may be null
  std::size_t fSubsetBytes = 0;   // read while the parser was inside the declarations
};

}  // namespace

PlanFileSource::PlanFileSource(std::string path, const std::u16string& wide, const PlanDomParser* parser)
    : LocalFileInputSource(wide.c_str()), fPath(std::move(path)), fpParser(parser) {}

std::FILE* OpenPlanFile(const std::string& path) {
  // O_NONBLOCK: opening a pipe would wait for its writer. O_NOCTTY: a terminal mustn't become ours. What was
  // opened is tested afterwards, on the descriptor, so that it can't be exchanged in between.
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0) return nullptr;
  struct stat status {};
  const bool isReadable = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
  std::FILE* const stream = isReadable ? fdopen(file, "rb") : nullptr;
  if (stream == nullptr) close(file);
  return stream;
}

std::string WhyNoXml(const std::string& path) {
  errno = 0;
  std::FILE* const file = OpenPlanFile(path);
  if (file == nullptr)
    return errno == 0 ? "no plan: a folder, pipe or device"
                      : "the file can't be read: " + std::system_category().message(errno);
  char bytes[kLookBytes];
  std::string_view text(bytes, std::fread(bytes, 1, sizeof bytes, file));
  std::fclose(file);
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return text.size() < kLookBytes - 3 ? "the file is empty" : "";
  const char begin = text[first];
  const bool isWide = begin == '\0' || begin == '\xFF' || begin == '\xFE';  // UTF-16
  if (begin == '<' || isWide) return "";
  return "not well-formed XML here: a plan begins with < (XML) or { (JSON)";
}

xercesc::BinInputStream* PlanFileSource::makeStream() const {
  std::FILE* const stream = OpenPlanFile(fPath);
  if (stream == nullptr) return nullptr;
  struct stat status {};
  if (fstat(fileno(stream), &status) == 0 && status.st_size <= kMaxBytes)
    return new PlanFileStream(stream, fpParser);
  std::fclose(stream);
  return nullptr;
}

}  // namespace SV_XML
