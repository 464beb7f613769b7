#include "host/environment/PathFactory.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace {

// How far up DataFolder() looks. Enough for <prefix>/lib/<architecture>, the deepest place for a library.
constexpr int kFoldersAbove = 3;

// An address in this library, by which dladdr() finds the file that the code was loaded from.
const char gAnchor = 0;

}  // namespace

PathFinder::~PathFinder() = default;

std::string PathFinder::LibraryFolder() {
  Dl_info info{};
  std::error_code error;
  fs::path file;
  if (dladdr(&gAnchor, &info) != 0 && info.dli_fname != nullptr) file = fs::canonical(info.dli_fname, error);
  // Code is loaded from here: where the loader has no answer, never from the current folder.
  return file.empty() ? "/" : (file.parent_path() / "").string();
}

std::string PathFinder::DataFolder() {
  const char* const chosen =
      std::getenv("SVSELECT_DATADIR");  // NOLINT(concurrency-mt-unsafe): nothing here sets it
  if (chosen != nullptr && *chosen != '\0') return (fs::path(chosen) / "").string();
  const fs::path below = fs::path("share") / "svselect" / "";
  fs::path folder = fs::path(LibraryFolder()).parent_path();
  for (int up = 0; up < kFoldersAbove; ++up) {
    folder = folder.parent_path();
    std::error_code error;
    if (fs::is_directory(folder / below, error)) return (folder / below).string();
  }
  return (fs::path(LibraryFolder()).parent_path().parent_path() / below).string();
}

PathFinder* PathFactory::getPathInstance(int kind) {
  static PathFinder finder;
  return kind == kApplicationData ? &finder : nullptr;
}

void BEDepotRepos::BEDepotGetInputPath(const std::string&, std::string& local) {
  local.clear();
}

void BEDepotRepos::BEDepotRemoveInputEntry(const std::string&) {}
