#include "session/ProcedureLibrary.h"

#include <cxxabi.h>
#include <dlfcn.h>

#include <cstdlib>
#include <exception>
#include <memory>
#include <new>
#include <typeinfo>

#include "host/environment/PathFactory.h"

// RTLD_LOCAL keeps the procedure's symbols to itself: a caller may have other versions of the same libraries
// in its process. RTLD_NOW makes a missing symbol an error here, with a reason, and not a crash in the draw.

namespace {

std::string LoaderReason() {
  const char* reason = dlerror();  // NOLINT(concurrency-mt-unsafe): one run at a time loads the library
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

std::string CaughtException() {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return "out of memory";
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    // Not a standard exception. Its type is all that can be found out about it.
    const std::type_info* const type = abi::__cxa_current_exception_type();
    if (type == nullptr) return "an exception of another language";
    const std::unique_ptr<char, decltype(&std::free)> name(
        abi::__cxa_demangle(type->name(), nullptr, nullptr, nullptr), &std::free);
    return std::string("an exception of type ") + (name == nullptr ? type->name() : name.get());
  }
}

std::string CallProcedure(ProcedureEntry entry) {
  try {
    entry();
    return "";
  } catch (const std::bad_alloc&) {
    return CaughtException();  // memory may have run out anywhere: the procedure isn't to blame
  } catch (...) {
    return "the procedure failed: " + CaughtException();
  }
}

std::string RunProcedure() {
  std::string why;
  const ProcedureEntry entry = LoadProcedure(&why);
  return entry == nullptr ? "the procedure can't be loaded: " + why : CallProcedure(entry);
}
