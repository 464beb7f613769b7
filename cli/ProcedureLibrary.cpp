#include "cli/ProcedureLibrary.h"

#include <dlfcn.h>

#include "host/environment/PathFactory.h"

namespace {

std::string LoaderReason() {
  const char* reason = dlerror();  // NOLINT(concurrency-mt-unsafe): the program loads on one thread
  return reason == nullptr ? "unknown reason" : reason;
}
}  // namespace

ProcedureEntry LoadProcedure(std::string* why) {
  const std::string path =
      PathFactory::getPathInstance(PathFactory::kApplicationData)->LibraryFolder() + "libsvselect.so";
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  void* entry = library == nullptr ? nullptr : dlsym(library, "SVSELECT");
  if (entry == nullptr) {
    *why = LoaderReason();
    return nullptr;
  }
  return reinterpret_cast<ProcedureEntry>(entry);
}
