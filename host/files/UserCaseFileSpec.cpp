#include "host/files/UserCaseFileSpec.h"

#include <filesystem>

#include "host/files/CheckFileRef.h"
#include "host/files/SessionFiles.h"

void UserCaseFileSpec::Init(const std::string& name, bool isLiteral, bool) {
  PathClaims& claims = SessionFiles::Current().Claims();
  claims.Release(fClaim);
  const std::filesystem::path given(name);
  const bool isBare = given.has_filename() && !given.has_extension();
  fWritten = isBare ? name + ".sav" : name;
  fPath = CheckFileRef(fWritten, !isLiteral, false).Name();
  fFlags = claims.ClaimForWriting(fRole, name, fPath, &fClaim);
  fbInit = true;
}
