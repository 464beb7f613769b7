#include "host/files/CheckFileRef.h"

#include <cstdlib>

#include "host/files/SessionFiles.h"

CheckFileRef::CheckFileRef(const std::string& name, bool, bool) : fName(name) {
  if (name.compare(0, 2, "~/") != 0) return;
  const char* home = std::getenv("HOME");  // NOLINT(concurrency-mt-unsafe): nothing here sets it
  if (home != nullptr && *home != '\0') fName = home + name.substr(1);
}

void ValidateFileSpecification(const char* path, int length, bool forWrite, int& status, int& exists,
                               int& valid, int& readOnly, int& inUse) {
  PathClaims& claims = SessionFiles::Current().Claims();
  // The session knows more about a plan that can't be read: PathClaims keeps the reason for the program to
  // show.
  const std::string name(path, static_cast<std::size_t>(length));
  int claim = PathClaims::kNone;
  const FileFlags flags = forWrite ? claims.ClaimForWriting(FileRole::kRule, name, name, &claim)
                                   : claims.ClaimForReading(FileRole::kPlan, name);
  const bool usable = forWrite ? flags.CanBeWritten() : flags.CanBeRead();
  status = usable ? 0 : 1;
  exists = flags.exists ? 1 : 0;
  valid = flags.valid ? 1 : 0;
  readOnly = flags.readOnly ? 1 : 0;
  inUse = flags.inUse ? 1 : 0;
}
