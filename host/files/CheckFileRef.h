#pragma once

#include <string>

// CheckFileRef resolves a file name as a command gives it: a leading "~/" becomes the user's home folder, a
// relative name stays relative.
class CheckFileRef {
public:
  // `isGeneric` tells a word from a quoted text; both are resolved alike. The last argument is always false.
  CheckFileRef(const std::string& name, bool isGeneric, bool);

  const std::string& Name() const { return fName; }

private:
  std::string fName;
};

// Tests a file and claims it for the session when it can be used: for reading as the plan, for writing as the
// rule file. For reading, `exists` and `valid` must be 1 and `inUse` 0; for writing, `valid` must be 1,
// `readOnly` and `inUse` 0. `status` is 0 when that holds.
void ValidateFileSpecification(const char* path, int length, bool forWrite, int& status, int& exists,
                               int& valid, int& readOnly, int& inUse);
