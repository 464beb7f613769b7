#include "backend/svcommon/PlanFileSource.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <utility>
#include <xercesc/util/BinFileInputStream.hpp>

namespace SV_XML {

PlanFileSource::PlanFileSource(std::string path, const std::u16string& wide)
    : LocalFileInputSource(wide.c_str()), fPath(std::move(path)) {}

xercesc::BinInputStream* PlanFileSource::makeStream() const {
  // Not blocking: else the open would wait for a pipe's writer.
  const int file = open(fPath.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (file < 0) return nullptr;
  struct stat status {};
  const bool isReadable = fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= kMaxBytes;
  std::FILE* const stream = isReadable ? fdopen(file, "rb") : nullptr;
  if (stream == nullptr) {
    close(file);
    return nullptr;
  }
  return new xercesc::BinFileInputStream(stream, xercesc::XMLPlatformUtils::fgMemoryManager);
}

}  // namespace SV_XML
