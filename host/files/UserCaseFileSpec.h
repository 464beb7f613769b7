#pragma once

#include <string>

#include "host/files/PathClaims.h"

// Names of the tables that a session keeps in memory if its caller asks for them. The first two are named in the
// command, the last one is made unasked.
inline constexpr const char* kSampleTable = "sample.arrow";
inline constexpr const char* kJointTable = "joint.arrow";
inline constexpr const char* kStrataTable = "strata.arrow";

// UserCaseFileSpec is the name of a data file that a user wants written. Init() tests the name and claims its
// path for the living session, so that no other output goes there and nothing that is read is overwritten.
//
// Use:        construct, Init(), ask. UserOutputCaseFile opens the file.
// Ownership:  the claim belongs to the session and outlives the object. Another Init() gives it up: the last
//             name that a command gives counts.
// Failures:   flags and WhyNotWritten(). A name that can't be used is the user's error, reported by the
// caller.
class UserCaseFileSpec {
public:
  // `role` is what the file is in the report of the session.
  explicit UserCaseFileSpec(FileRole role = FileRole::kSample) : fRole(role) {}
  UserCaseFileSpec(const UserCaseFileSpec&) = delete;
  UserCaseFileSpec& operator=(const UserCaseFileSpec&) = delete;

  // A name without an extension gets ".sav". An empty name is initialised but not valid. `isLiteral`: it was
  // a quoted text, not a word. The last argument is always true.
  void Init(const std::string& name, bool isLiteral, bool forWrite);

  bool IsInit() const { return fbInit; }
  bool IsValid() const { return fFlags.valid; }
  bool IsInUse() const { return fFlags.inUse; }
  bool IsReadOnly() const { return fFlags.readOnly; }
  // Why it can't be written, worded to follow "name: "; empty when it can.
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
