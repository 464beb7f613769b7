#pragma once

#include <string>

#include "host/files/PathClaims.h"

// UserCaseFileSpec is the name of a data file that a user wants written, and the claim that the session has
// on its path from Init() on. The claim outlives the object; another Init() gives it up.
class UserCaseFileSpec {
public:
  // The role tells the session's report what the file is.
  explicit UserCaseFileSpec(FileRole role = FileRole::kSample) : fRole(role) {}
  UserCaseFileSpec(const UserCaseFileSpec&) = delete;
  UserCaseFileSpec& operator=(const UserCaseFileSpec&) = delete;

  // A name without an extension gets ".sav". An empty name is initialised, and not valid. `isLiteral` tells a
  // quoted text from a word; the last argument is always true.
  void Init(const std::string& name, bool isLiteral, bool forWrite);

  bool IsInit() const { return fbInit; }
  bool IsValid() const { return fFlags.valid; }
  bool IsInUse() const { return fFlags.inUse; }
  bool IsReadOnly() const { return fFlags.readOnly; }
  // Why it can't be written, in words that follow its name; empty when it can.
  const std::string& WhyNotWritten() const { return fFlags.why; }

  // The name as the user wrote it, with the extension that it got.
  const std::string& DocumentationString() const { return fWritten; }
  // Where the file goes.
  const std::string& Path() const { return fPath; }
  FileRole Role() const { return fRole; }

private:
  FileRole fRole;
  std::string fWritten;
  std::string fPath;
  FileFlags fFlags;
  int fClaim = PathClaims::kNone;
  bool fbInit = false;
};
