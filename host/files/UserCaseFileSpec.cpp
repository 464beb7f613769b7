#include "host/files/UserCaseFileSpec.h"

#include <filesystem>

#include "host/files/CheckFileRef.h"
#include "host/files/SessionFiles.h"

// Like every constructor and method that the procedure calls, it finds the session by itself.
void UserCaseFileSpec::Init(const std::string& name, bool isLiteral, bool) {
  PathClaims& claims = SessionFiles::Current().Claims();
  claims.Release(fClaim);  // first, else the same name given twice would be in use by itself
  const std::filesystem::path given(name);
  // Only the last part of a path counts, and a name such as ".csv" has no extension either.
  const bool isBare = given.has_filename() && !given.has_extension() && !claims.IsInMemory(name);
  fWritten = isBare ? name + ".sav" : name;
  fPath = CheckFileRef(fWritten, !isLiteral, false).Name();
  // The spelling that is compared with other names of the command is the user's own, without our extension.
  fFlags = claims.ClaimForWriting(fRole, name, fPath, &fClaim);
  fbInit = true;
}
